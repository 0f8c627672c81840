// What the tests of the server's endpoint share: a temporary directory of each test's own, children that use it
// in a registry mode, and peers. Mode and temporary directory are settled once in a process, so the test program
// itself never asks for them.
#ifndef KELVANE_TESTS_REGSERVER_ENDPOINT_H
#define KELVANE_TESTS_REGSERVER_ENDPOINT_H

#include <gtest/gtest.h>
#include <kelvane/registry_server.h>
#include <sched.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/support/child.h"

namespace kvtest {

inline std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}
inline void write_file(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}
inline unsigned mode_of(const std::string& file) {
  struct stat status;
  return stat(file.c_str(), &status) == 0 ? status.st_mode & 07777u : 0;
}
inline bool exists(const std::string& file) { return access(file.c_str(), F_OK) == 0; }
inline std::string text(const char* name) { return name != nullptr ? name : "none"; }

// Makes the next call of fstat in this process fail.
bool& fstat_fails();

// Another process with an endpoint of its own, which does one thing at a time:
//   s, c  makes the endpoint of a server, of a client     d  releases it
//   l     takes the lock    u, v  releases it, v with verification
//   a     alive?            r     registers               x  removes the pid file
class Peer {
 public:
  explicit Peer(const std::string& error_file = "/dev/null") {
    int asked[2], answered[2];
    if (pipe2(asked, O_CLOEXEC) != 0 || pipe2(answered, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
    child_ = fork();
    if (child_ == 0) {
      close(asked[1]);
      close(answered[0]);
      dup2(open(error_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDERR_FILENO);
      serve(asked[0], answered[1]);
    }
    close(asked[0]);
    close(answered[1]);
    asks_ = asked[1];
    answers_ = answered[0];
  }
  ~Peer() {
    close(asks_);
    close(answers_);
    waitpid(child_, nullptr, 0);
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  pid_t pid() const { return child_; }
  void send(char command) { EXPECT_EQ(write(asks_, &command, 1), 1); }
  // What the command sent last answers; -99 when the peer is gone.
  int answer() {
    int result = -99;
    return read(answers_, &result, sizeof result) == sizeof result ? result : -99;
  }
  int ask(char command) {
    send(command);
    return answer();
  }

  // Returns when the peer waits for a lock.
  void wait_until_blocked() const {
    const std::string waiter = " " + std::to_string(child_) + " ";
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (std::chrono::steady_clock::now() < end) {
      std::ifstream locks("/proc/locks");
      for (std::string line; std::getline(locks, line);)
        if (line.find("->") != line.npos && line.find(waiter) != line.npos) return;
      sched_yield();
    }
    ADD_FAILURE() << "the peer does not wait for a lock";
  }

 private:
  [[noreturn]] static void serve(int asked, int answered) {
    char command = 0;
    while (read(asked, &command, 1) == 1) {
      const int result = obey(command);
      if (write(answered, &result, sizeof result) != sizeof result) break;
    }
    _exit(0);
  }
  static int obey(char command) {
    switch (command) {
      case 's':
        return KvCreateRegConnectData(1);
      case 'c':
        return KvCreateRegConnectData(0);
      case 'd':
        KvDestroyRegConnectData();
        return 0;
      case 'l':
        return KvLockRegServerFile();
      case 'u':
        return KvUnlockRegServerFile(0);
      case 'v':
        return KvUnlockRegServerFile(1);
      case 'a':
        return KvIsRegssAlive();
      case 'r':
        return KvRegisterRegss();
      default:
        return KvUnlinkRegServerFile();
    }
  }

  pid_t child_ = -1;
  int asks_ = -1;
  int answers_ = -1;
};

class Endpoint : public testing::Test {
 protected:
  Endpoint() { use_mode("0"); }
  ~Endpoint() override { setenv("TMPDIR", folder.path().substr(0, folder.path().rfind('/')).c_str(), 1); }

  // For children and peers made from here on.
  void use_mode(const char* mode) {
    setenv("TMPDIR", folder.path().c_str(), 1);
    setenv("KVREGISTRY_MODE", mode, 1);
    setenv("KVREGISTRY", (folder / "hklm.bin").c_str(), 1);
    setenv("KVCORE_PRIVATE_DATA", (folder / "core").c_str(), 1);
    unsetenv("KVADM_UTILITY");
  }
  void make_pid_file(const std::string& content) {
    mkdir((folder / "kv").c_str(), 0755);
    write_file(pid_file, content);
  }

  Temp_Folder folder;
  const std::string pid_file = folder / "kv/regss.pid";
  const std::string endpoint_file = folder / "kv/regss";
};

}  // namespace kvtest

#endif
