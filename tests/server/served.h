// A server in a process of its own, over hives in a folder of the test's.
#pragma once

#include <signal.h>
#include <sys/wait.h>

#include <functional>

#include "hive/registry.h"
#include "impl/server/server.h"
#include "tests/server/client.h"
#include "tests/support/child.h"
#include "tests/support/ordinary_user.h"

namespace servertest {

class Test_Locations : public hive::Locations {
 public:
  Test_Locations(std::string folder, bool all_users) : folder_(std::move(folder)), all_users_(all_users) {}
  std::string machine_hive() override { return folder_ + "/machine"; }
  std::string user_hive() override { return folder_ + "/hkcu.hive"; }
  std::string user_image() override { return folder_ + "/hkcu.bin"; }
  mode_t machine_mask() override { return 002; }
  bool serves_all_users() override { return all_users_; }
  std::string users_hive() override { return folder_ + "/users"; }

 private:
  const std::string folder_;
  const bool all_users_;
};

enum class For { one_user, machine };

class Served {
 public:
  // prepare is called in the server's process.
  explicit Served(
      For whom = For::machine, unsigned idle_seconds = 0, std::function<void()> prepare = [] {})
      : whom_(whom), idle_seconds_(idle_seconds), prepare_(std::move(prepare)) {
    listener_ = wire::Unique_Fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    address_.name.sun_family = AF_UNIX;
    auto* const name = reinterpret_cast<sockaddr*>(&address_.name);
    EXPECT_EQ(bind(listener_.get(), name, sizeof address_.name.sun_family), 0);
    EXPECT_EQ(getsockname(listener_.get(), name, &address_.size), 0);
    EXPECT_EQ(listen(listener_.get(), 4096), 0);
    start();
  }
  ~Served() { stop(); }
  Served(const Served&) = delete;
  Served& operator=(const Served&) = delete;

  // A server on the same socket and the same hives.
  void start() {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    fflush(nullptr);
    process_ = fork();
    ASSERT_GE(process_, 0);
    if (process_ == 0) {
      close(ends[1]);
      _exit(serve(ends[0]));
    }
    close(ends[0]);
    stop_ = wire::Unique_Fd(ends[1]);
  }
  // Ends it as SIGTERM does; what it ended with.
  int stop() {
    stop_ = wire::Unique_Fd();
    return wait();
  }
  int kill() {
    ::kill(process_, SIGKILL);
    return wait();
  }
  // Its exit status, or minus the signal that ended it.
  int wait() {
    if (process_ <= 0) return 0;
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  pid_t process() const { return process_; }
  const Address& address() const { return address_; }
  const std::string& folder() const { return folder_.path(); }

 private:
  int serve(int stop) {
    prepare_();
    hive::Registry registry(std::make_unique<Test_Locations>(folder_.path(), whom_ == For::machine),
                            [](const std::string& line) { fprintf(stderr, "%s\n", line.c_str()); });
    const int listener = listener_.get();
    const Regss_Options options{.sockets = &listener,
                                .socket_count = 1,
                                .machine_wide = whom_ == For::machine,
                                .data_folder = folder_.path().c_str(),
                                .idle_seconds = idle_seconds_,
                                .stop = stop,
                                .ready = nullptr,
                                .say = nullptr,
                                .context = nullptr};
    const int result = impl::server::Server(registry, options).run();
    registry.note_orderly_end();
    return result;
  }

  const For whom_;
  const unsigned idle_seconds_;
  const std::function<void()> prepare_;
  kvtest::Temp_Folder folder_;
  wire::Unique_Fd listener_;
  Address address_;
  wire::Unique_Fd stop_;
  pid_t process_ = 0;
};

// What a client of another user does, in a process of its own: 0 or the line where it went wrong.
inline int as_user(unsigned user, unsigned group, const std::function<int()>& act) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) _exit(kvtest::become_user(user, group) ? act() : 255);
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

inline int as_ordinary_user(const std::function<int()>& act) {
  return as_user(kvtest::ordinary_id, kvtest::ordinary_id, act);
}

}  // namespace servertest

// Within as_ordinary_user.
#define CHECK_OR_LINE(condition)                 \
  do {                                           \
    if (!(condition)) return __LINE__ % 250 + 1; \
  } while (false)
