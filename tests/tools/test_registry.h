// The registry of one test, in folders of its own: in the process of each program, or, when KVTEST_MODE is 0 or 3,
// behind a server of the machine or of the user, which is this test's alone and is ended with it.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/child.h"

class Test_Registry {
 public:
  Test_Registry() {
    mkdir(temporary().c_str(), 0777);
    // Programs of other users reach a server of the machine, too.
    for (const std::string& folder : {home_.path(), files_.path()}) chmod(folder.c_str(), 0755);
    chmod(temporary().c_str(), 01777);
    if (mode() == '0') start_server();
  }
  ~Test_Registry() {
    const std::vector<pid_t> all = servers();
    // The file is the server's to make.
    const bool was_used = mode() == '3' && std::filesystem::exists(machine_file());
    EXPECT_TRUE(!was_used || !all.empty()) << "no server has served";
    for (const pid_t server : all) end_server(server);
  }
  Test_Registry(const Test_Registry&) = delete;
  Test_Registry& operator=(const Test_Registry&) = delete;

  // '0', '1' or '3'.
  static char mode() {
    const char* const named = std::getenv("KVTEST_MODE");
    return named == nullptr ? '1' : named[0];
  }

  std::vector<std::string> environment() const {
    std::vector<std::string> all = {"HOME=" + home_.path(), "LANG=C.UTF-8", "TZ=UTC"};
    if (mode() != '0') all.push_back("KVREGISTRY=" + machine_file());
    if (mode() == '1') return all;
    all.insert(all.end(), {"TMPDIR=" + temporary(), std::string("KVREGISTRY_MODE=") + mode()});
    all.push_back("KVREGSS_PATH=" KVTEST_REGSS);
    return all;
  }
  std::string machine_file() const {
    return mode() == '0' ? core_data() + "/registry/hklm.bin" : files_ / "machine.hive";
  }
  std::string file(const std::string& name) const { return files_ / name; }

  // Asks it to end and waits until it has.
  static void end_server(pid_t pid) {
    constexpr int patience = 120'000;
    const int process = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    if (process < 0) return;
    kill(pid, SIGTERM);
    pollfd ended = {process, POLLIN, 0};
    EXPECT_EQ(poll(&ended, 1, patience), 1) << "server " << pid << " does not end";
    close(process);
  }

 private:
  std::string temporary() const { return files_ / "tmp"; }
  std::string core_data() const { return files_ / "machine"; }

  void start_server() const {
    mkdir(core_data().c_str(), 0755);
    const kvtest::Child_Result result =
        kvtest::run_program({KVTEST_REGSS, "--machine", "--core-data", core_data(), "--background"}, environment());
    EXPECT_EQ(result.exit_status, 0) << result.err;
  }

  // The processes that the pid files in the temporary directory name.
  std::vector<pid_t> servers() const {
    std::vector<pid_t> found;
    for (const std::string& folder : {temporary(), temporary() + "/kv"}) {
      std::error_code none;
      for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
        pid_t pid = 0;
        if (entry.path().extension() == ".pid" && std::ifstream(entry.path()) >> pid && is_server(pid))
          found.push_back(pid);
      }
    }
    return found;
  }
  static bool is_server(pid_t pid) {
    std::error_code gone;
    return std::filesystem::equivalent("/proc/" + std::to_string(pid) + "/exe", KVTEST_REGSS, gone);
  }
  kvtest::Temp_Folder home_;
  kvtest::Temp_Folder files_;
};
