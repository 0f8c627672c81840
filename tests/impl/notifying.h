// Processes that ask and report over the implementation library, each with its own board below a folder of the test's.
#ifndef KELVANE_TESTS_IMPL_NOTIFYING_H
#define KELVANE_TESTS_IMPL_NOTIFYING_H

#include <kelvane/notify.h>

#include <atomic>
#include <set>

#include "tests/impl/module.h"
#include "tests/support/child.h"
#include "tests/support/side_process.h"

namespace kvtest {

// Says each notification: its kind as a digit, then its first byte, '.' for none.
class Saying_Handler : public NotifOp {
 public:
  explicit Saying_Handler(const Talk& talk) : talk_(talk) {}

  int operator()(int pid, int kind, char* data, int length) override {
    last_pid = pid;
    last_data.assign(data == nullptr ? "" : data, static_cast<std::size_t>(length));
    was_null = data == nullptr;
    talk_.say(static_cast<char>('0' + kind));
    talk_.say(data == nullptr ? '.' : data[0]);
    return 0;
  }

  std::atomic<int> last_pid = 0;
  std::string last_data;
  bool was_null = false;

 private:
  Talk talk_;
};

inline int ask(int pid, int kind, int mode = 1) { return entries().KvIRequestNotification(pid, kind, mode); }
inline int report(int kind, std::string data) {
  return entries().KvIReportNotification(kind, data.empty() ? nullptr : data.data(), static_cast<int>(data.size()));
}

// What a process is told, one letter each, with the pid of another process where one is needed:
//   r: report kind 1 with the next letter as data     R: report kind 0 with it
//   a: ask the other for kind 1                       A: ask it for kind 0
//   w: take the request for kind 1 back
//   s, S: answer kind 1 at once from now on, or no more
//   e: end as a process ends                          x: end
// It answers with '1' or '0' as the entry does.
inline int obey(const Talk& talk, pid_t other) {
  for (char word = talk.hear(); word != 'x' && word != '\0'; word = talk.hear()) {
    int result = -1;
    if (word == 'r') result = report(1, std::string(1, talk.hear()));
    if (word == 'R') result = report(0, std::string(1, talk.hear()));
    if (word == 'a') result = ask(other, 1);
    if (word == 'A') result = ask(other, 0);
    if (word == 'w') result = ask(other, 1, 0);
    if (word == 's') result = entries().KvIAutoReportNotification(1, 1);
    if (word == 'S') result = entries().KvIAutoReportNotification(1, 0);
    if (word == 'e') {
      BYTE* image = nullptr;
      int size = 0;
      result = entries().KvIRegProcessEnding(&image, &size, 0) == ERROR_SUCCESS ? 1 : 0;
    }
    talk.say(static_cast<char>('0' + result));
  }
  return 0;
}

class Notifying : public testing::Test {
 protected:
  using Act = std::function<int(const Talk&)>;

  // A process with the library, bound to the test's folder.
  Act with_library(Act act) {
    return [this, act](const Talk& talk) {
      put_hives_into(folder.path());
      entries();
      return act(talk);
    };
  }
  // One that does as it is told and reports.
  Act reporter() {
    return with_library([](const Talk& talk) { return obey(talk, 0); });
  }
  // One that has handlers that say what they get, and does as it is told.
  Act asker(pid_t other) {
    return with_library([other](const Talk& talk) {
      Saying_Handler handler(talk);
      KvRegisterNotificationHandler(0, &handler);
      KvRegisterNotificationHandler(1, &handler);
      obey(talk, other);
      _exit(0);
      return 0;
    });
  }

  // Tells a process something and gives its answer.
  static char tell(const Side_Process& process, const std::string& words) {
    for (char word : words) process.say(word);
    return process.hear();
  }
  static std::string heard(const Side_Process& process) {
    const char kind = process.hear();
    return {kind, process.hear()};
  }

  // Everything on the board, without the folders that are always there.
  std::set<std::string> board_files() const {
    std::set<std::string> names;
    const std::string board = notifications_folder();
    if (board.empty()) return names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(board)) {
      names.insert(std::filesystem::relative(entry.path(), board).string());
    }
    for (const char* fixed : {"mail", "requests", "standing"}) names.erase(fixed);
    return names;
  }
  // "" when there is none.
  std::string notifications_folder() const {
    if (!std::filesystem::exists(folder / "core")) return "";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder / "core")) {
      if (entry.path().filename() == "notifications") return entry.path().string();
    }
    return "";
  }

  Temp_Folder folder;
};

}  // namespace kvtest

#endif
