// Processes that wait for each other through the real implementation of the registry.
#include <gtest/gtest.h>
#include <kelvane/advapi32.h>
#include <kelvane/notify.h>
#include <windows.h>

#include <filesystem>
#include <set>
#include <thread>

#include "tests/support/side_process.h"

namespace kvtest {
namespace {

HANDLE open_process(pid_t pid) { return OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid)); }

char letter_of(DWORD result) {
  return result == WAIT_OBJECT_0 ? 'i' : result == WAIT_TIMEOUT ? 't' : result == WAIT_FAILED ? 'f' : '?';
}

DWORD wait_for(pid_t pid, unsigned milliseconds) {
  const HANDLE process = open_process(pid);
  const DWORD result = AdvWaitForInputIdle(process, milliseconds);
  CloseHandle(process);
  return result;
}

// Hears the other's id, then does as it is told until the end, which is an orderly one:
//   w: waits for the other, says 'w' before and the result after    n: the same, without time
//   i: declares itself idle    r: only reports    p: waits in a thread of its own    x: ends
int obey(const Talk& talk) {
  pid_t other = 0;
  for (int shift = 0; shift < 32; shift += 8) other |= static_cast<unsigned char>(talk.hear()) << shift;
  std::thread waiter;
  for (char word = talk.hear(); word != 'x' && word != '\0'; word = talk.hear()) {
    if (word == 'w') {
      talk.say('w');
      talk.say(letter_of(wait_for(other, INFINITE)));
    }
    if (word == 'n') talk.say(letter_of(wait_for(other, 0)));
    if (word == 'i') talk.say(AdvFlagWaitForInputIdle() == 1 ? 'd' : '?');
    if (word == 'r') talk.say(KvReportNotification(0, nullptr, 0) == 1 ? 'd' : '?');
    if (word == 'p') waiter = std::thread([&] { talk.say(letter_of(wait_for(other, INFINITE))); });
  }
  if (waiter.joinable()) waiter.join();
  exit(0);
}

void tell_id(const Side_Process& process, pid_t other) {
  for (int shift = 0; shift < 32; shift += 8) process.say(static_cast<char>(other >> shift));
}

// What is left on the disk of events and notifications, but for the folders that stay.
std::set<std::string> leftovers() {
  std::set<std::string> found;
  const std::string events = "kv-events-" + std::to_string(geteuid());
  for (const char* root : {"HOME", "TMPDIR"}) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(getenv(root))) {
      const std::string path = entry.path().string();
      const bool ours = path.find("/notifications/") != path.npos || path.find(events + "/") != path.npos;
      if (ours && !entry.is_directory()) found.insert(entry.path().filename().string());
    }
  }
  found.erase(".lock");
  return found;
}

class Real_Processes : public testing::Test {
 protected:
  Real_Processes() {
    tell_id(first, second.pid());
    tell_id(second, first.pid());
  }
  void end_both() {
    for (Side_Process* each : {&first, &second}) {
      each->say('x');
      EXPECT_EQ(each->status(), 0);
    }
  }
  Side_Process first{obey}, second{obey};
};

TEST_F(Real_Processes, WaitUntilTheOtherIsIdle) {
  first.say('w');
  EXPECT_EQ(first.hear(), 'w');
  second.say('i');
  EXPECT_EQ(second.hear(), 'd');
  EXPECT_EQ(first.hear(), 'i');
  first.say('n');
  EXPECT_EQ(first.hear(), 'i');
  first.say('x');
  EXPECT_EQ(first.status(), 0);
  second.say('x');
  EXPECT_EQ(second.status(), 0);
  // The target's event goes with the next process that makes one.
  EXPECT_LE(leftovers().size(), 1u);
}

TEST_F(Real_Processes, SeeATimeOutAndTheOthersEnd) {
  first.say('n');
  EXPECT_EQ(first.hear(), 't');
  first.say('w');
  EXPECT_EQ(first.hear(), 'w');
  second.say('x');
  EXPECT_EQ(first.hear(), 'f');
  first.say('x');
  EXPECT_EQ(first.status(), 0);
}

// The other never sets its event. A report that finds the wait not yet begun is lost, so it reports again.
TEST_F(Real_Processes, AreWokenByAReportAlone) {
  first.say('p');
  while (!first.talk().has_word()) {
    second.say('r');
    ASSERT_EQ(second.hear(), 'd');
  }
  EXPECT_EQ(first.hear(), 'i');
  end_both();
  EXPECT_EQ(leftovers(), std::set<std::string>());
}

// The first's event wakes the second, whose answer wakes the first; then there is silence.
TEST_F(Real_Processes, ThatWaitForEachOtherBothGoOn) {
  first.say('p');
  second.say('p');
  first.say('i');
  std::string said{first.hear()};
  EXPECT_EQ(said, "d");
  EXPECT_EQ(second.hear(), 'i');
  second.say('i');
  EXPECT_EQ(second.hear(), 'd');
  EXPECT_EQ(first.hear(), 'i');
  end_both();
}

TEST_F(Real_Processes, ManyTimesLeaveNoDescriptorBehind) {
  first.say('n');
  EXPECT_EQ(first.hear(), 't');
  const std::string descriptors = "/proc/" + std::to_string(first.pid()) + "/fd";
  const auto count = [&] {
    const std::filesystem::directory_iterator all(descriptors);
    return std::distance(begin(all), end(all));
  };
  const auto before = count();
  int failed = 0;
  for (int i = 0; i < 1000; ++i) {
    first.say('n');
    failed += first.hear() == 't' ? 0 : 1;
  }
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(count(), before);
  end_both();
}

// As a program has one of its own.
class Progress_Handler : public NotifOp {
 public:
  explicit Progress_Handler(const Talk& talk) : talk_(talk) {}
  int operator()(int pid, int kind, char* data, int length) override {
    const bool good = pid == other && kind == 1 && std::string(data, static_cast<std::size_t>(length)) == "half";
    talk_.say(good ? 'g' : '?');
    return 0;
  }
  pid_t other = 0;

 private:
  Talk talk_;
};

TEST(Handlers, OfAProgramsOwnHearOtherProcesses) {
  Side_Process worker([](const Talk& talk) {
    talk.hear();
    char data[] = "half";
    talk.say(KvReportNotification(1, data, 4) == 1 ? 'd' : '?');
    exit(0);
    return 0;
  });
  Side_Process watcher([pid = worker.pid()](const Talk& talk) {
    static Progress_Handler handler(talk);
    handler.other = pid;
    KvRegisterNotificationHandler(1, &handler);
    talk.say(KvRequestNotification(pid, 1, 1) == 1 ? 'a' : '?');
    talk.hear();
    exit(0);
    return 0;
  });
  EXPECT_EQ(watcher.hear(), 'a');
  worker.say('n');
  EXPECT_EQ(worker.hear(), 'd');
  EXPECT_EQ(watcher.hear(), 'g');
  watcher.say('x');
  EXPECT_EQ(watcher.status(), 0);
  EXPECT_EQ(worker.status(), 0);
}

}  // namespace
}  // namespace kvtest
