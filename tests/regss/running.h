// What the tests of regss share: a host of their own (home, temporary directory, core data), servers as real processes
// that are waited for by what they tell a service manager, and clients that ask which server they have reached.
#ifndef KELVANE_TESTS_REGSS_RUNNING_H
#define KELVANE_TESTS_REGSS_RUNNING_H

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "impl/server/start_port.h"
#include "tests/support/child.h"

namespace kvtest {

// Only a net: everything here is waited for by an event.
constexpr int patience = 60000;

inline std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}
inline void write_file(const std::string& file, const std::string& content) {
  std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
}
inline bool exists(const std::string& file) {
  struct stat status;
  return lstat(file.c_str(), &status) == 0;
}
inline unsigned mode_of(const std::string& file) {
  struct stat status;
  return lstat(file.c_str(), &status) == 0 ? status.st_mode & 07777u : 0;
}
inline bool can_be_read(int descriptor) {
  pollfd ready = {descriptor, POLLIN, 0};
  return poll(&ready, 1, patience) == 1;
}

using Words = std::vector<std::string>;

// Where a service manager would be told.
class Manager {
 public:
  explicit Manager(const std::string& path) : path_(path), socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(socket_.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
      throw std::runtime_error("bind " + path);
  }
  const std::string& path() const { return path_; }
  int descriptor() const { return socket_.number(); }
  // The next message.
  std::string next() {
    if (!can_be_read(socket_.number())) return "nothing";
    char text[4096];
    const ssize_t size = recv(socket_.number(), text, sizeof text, 0);
    return size > 0 ? std::string(text, static_cast<size_t>(size)) : "";
  }

 private:
  std::string path_;
  impl::Descriptor socket_;
};

// A program in the background; ended by force when the test is over.
class Running {
 public:
  Running(const Words& words, const Words& environment, const std::string& output) : output_(output) {
    fflush(nullptr);
    pid_ = fork();
    if (pid_ == 0) become(words, environment);
    pidfd_ = impl::Descriptor(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
  }
  ~Running() {
    if (!ended_) send(SIGKILL);
    status();
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  pid_t pid() const { return pid_; }
  std::string number() const { return std::to_string(pid_); }
  void send(int signal) const { kill(pid_, signal); }
  int end_descriptor() const { return pidfd_.number(); }
  bool has_ended() const {
    pollfd end = {pidfd_.number(), POLLIN, 0};
    return poll(&end, 1, 0) != 0;
  }
  // Its exit status, or minus the signal that ended it; waits for the end.
  int status() {
    if (ended_) return status_;
    if (!can_be_read(pidfd_.number())) {
      ADD_FAILURE() << "process " << pid_ << " does not end: " << said();
      send(SIGKILL);
    }
    int status = 0;
    waitpid(pid_, &status, 0);
    ended_ = true;
    return status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }
  // What it has written on standard output and standard error.
  std::string said() const { return content_of(output_); }

 private:
  [[noreturn]] void become(const Words& words, const Words& environment) const {
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int out = open(output_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    dup2(nothing, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(out, STDERR_FILENO);
    detail::change_environment(environment);
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(127);
  }

  std::string output_;
  pid_t pid_ = -1;
  impl::Descriptor pidfd_;
  int status_ = 0;
  bool ended_ = false;
};

// A connection to a server: the stand-in tells its process's number at once.
class Client {
 public:
  explicit Client(const std::string& port) : connection_(impl::connect_to_port(port)) {}
  // The number of the server's process; "" when nobody answers.
  std::string server() const {
    char pid[16];
    if (!connection_ || !can_be_read(connection_.number())) return "";
    const ssize_t size = read(connection_.number(), pid, sizeof pid);
    return size > 0 ? std::string(pid, static_cast<size_t>(size)) : "";
  }
  void ask_for_the_end() const { EXPECT_EQ(send(connection_.number(), "q", 1, MSG_NOSIGNAL), 1); }

 private:
  impl::Descriptor connection_;
};

class Regss : public testing::Test {
 protected:
  Regss() {
    for (const char* name : {"home", "tmp", "core"}) mkdir((folder / name).c_str(), 0700);
    chmod((folder / "tmp").c_str(), 01777);
  }

  // What every process of the test's host has in its environment.
  Words environment(const Words& more = {}) const {
    Words all = {"HOME=" + folder / "home",
                 "TMPDIR=" + folder / "tmp",
                 "KVMODULE_PATH=" KVTEST_STAND_IN,
                 "KVREGISTRY=" + folder / "home/hklm.bin",
                 "KVREGSS_PATH=" KVTEST_REGSS,
                 "KVREGISTRY_MODE",
                 "KVCORE_PRIVATE_DATA",
                 "KVADM_UTILITY",
                 "NOTIFY_SOCKET",
                 "JOURNAL_STREAM"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }
  Words machine(const Words& more = {}) const {
    Words all = {KVTEST_REGSS, "--machine", "--core-data", folder / "core"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }
  static Words user(const Words& more = {}) {
    Words all = {KVTEST_REGSS, "--user"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  // A server that has been started; nothing is waited for.
  std::unique_ptr<Running> begin(const Words& words, Words more = {}) {
    managers_.push_back(std::make_unique<Manager>(folder / ("m" + std::to_string(managers_.size()))));
    more.push_back("NOTIFY_SOCKET=" + managers_.back()->path());
    return std::make_unique<Running>(words, environment(more), folder / ("said" + std::to_string(managers_.size())));
  }
  // One that answers; null, with a failure of the test, when it ended instead.
  std::unique_ptr<Running> serve(const Words& words, const Words& more = {}) {
    std::unique_ptr<Running> server = begin(words, more);
    if (has_become_ready(*server, manager())) return server;
    ADD_FAILURE() << "no server: " << server->status() << " " << server->said();
    return nullptr;
  }
  // Whether the server tells that it is ready before it ends.
  static bool has_become_ready(const Running& server, Manager& manager) {
    for (;;) {
      pollfd ready[2] = {{manager.descriptor(), POLLIN, 0}, {server.end_descriptor(), POLLIN, 0}};
      if (poll(ready, 2, patience) <= 0 || ready[0].revents == 0) return false;
      if (manager.next().find("READY=1") != std::string::npos) return true;
    }
  }
  // Runs to its end.
  Child_Result run(const Words& words, const Words& more = {}) const { return run_program(words, environment(more)); }

  // Of the server that was begun last.
  Manager& manager() { return *managers_.back(); }

  // The per-user files, whose names have the identity of the core data folder.
  std::string user_endpoint_file() const {
    struct stat core_data;
    char host[64] = {};
    gethostname(host, sizeof host - 1);
    const std::string core = folder / "home/.kv/core_data/professional/" + host;
    std::filesystem::create_directories(core);
    if (stat(core.c_str(), &core_data) != 0) return "";
    char name[128];
    snprintf(name, sizeof name, "/tmp/regss%lx:%lld", static_cast<unsigned long>(core_data.st_dev),
             static_cast<long long>(core_data.st_ino));
    return folder.path() + name;
  }
  std::string user_pid_file() const { return user_endpoint_file() + ".pid"; }
  // Which server clients of the endpoint file meet.
  static std::string server_of(const std::string& endpoint_file) { return Client(content_of(endpoint_file)).server(); }

  void make_kv_folder() const {
    mkdir((folder / "tmp/kv").c_str(), 0755);
    chmod((folder / "tmp/kv").c_str(), 0755);
  }

  Temp_Folder folder;
  const std::string endpoint_file = folder / "tmp/kv/regss";
  const std::string pid_file = folder / "tmp/kv/regss.pid";

 private:
  std::vector<std::unique_ptr<Manager>> managers_;
};

}  // namespace kvtest

#endif
