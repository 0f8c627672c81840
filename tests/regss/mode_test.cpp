// Programs of the modes that a server serves, over the real libraries: what one writes another reads, whoever starts
// the server and however often it dies.
#include <windows.h>

#include "tests/regss/running.h"

namespace kvtest {
namespace {

class Modes : public Regss {
 protected:
  // Ends the server of the user, if there is one.
  ~Modes() override {
    const std::string pid = content_of(user_pid_file());
    if (pid.empty() || pid == std::to_string(getpid())) return;
    const impl::Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, std::stoi(pid), 0)));
    if (!end) return;
    syscall(SYS_pidfd_send_signal, end.number(), SIGTERM, nullptr, 0);
    can_be_read(end.number());
  }
  // A ported program of the mode; with the real server library, not the tests' own.
  Child_Result program(const char* mode, const Words& words) const {
    Words all = {KVTEST_PROGRAM};
    all.insert(all.end(), words.begin(), words.end());
    return run(all, {std::string("KVREGISTRY_MODE=") + mode, "KVMODULE_PATH"});
  }
  std::string count(const char* mode, const char* root) const {
    const Child_Result result = program(mode, {root});
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  void kill_the_users_server() const {
    const pid_t pid = std::stoi("0" + content_of(user_pid_file()));
    ASSERT_GT(pid, 1);
    const impl::Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    kill(pid, SIGKILL);
    ASSERT_TRUE(can_be_read(end.number()));
  }
};

TEST_F(Modes, AProgramOfMode3StartsItsServer) {
  EXPECT_EQ(count("3", "machine"), "1\n");
  const std::string pid = content_of(user_pid_file());
  EXPECT_EQ(std::filesystem::read_symlink("/proc/" + pid + "/exe"), std::filesystem::canonical(KVTEST_REGSS));
  EXPECT_EQ(count("3", "machine"), "2\n");
  EXPECT_EQ(content_of(user_pid_file()), pid);
}

TEST_F(Modes, TwentyProgramsOfMode3ThatStartTogetherHaveOneServer) {
  std::vector<std::unique_ptr<Running>> programs;
  for (int i = 0; i < 20; ++i) {
    programs.push_back(std::make_unique<Running>(Words{KVTEST_PROGRAM, "machine"},
                                                 environment({"KVREGISTRY_MODE=3", "KVMODULE_PATH"}),
                                                 folder / ("program" + std::to_string(i))));
  }
  for (const auto& program : programs) EXPECT_EQ(program->status(), 0) << program->said();
  // Every other one that was started has ended, or would have the lock or a port of its own.
  int ports = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder / "tmp")) {
    if (entry.is_socket()) ++ports;
  }
  EXPECT_EQ(ports, 1);
  const std::string log = content_of(folder / "home/logs/regss.log");
  EXPECT_EQ(log.find("Serves "), log.rfind("Serves ")) << log;
}

TEST_F(Modes, AServerOfMode3ThatDiedIsReplaced) {
  for (const char* expected : {"1\n", "2\n", "3\n"}) {
    EXPECT_EQ(count("3", "user"), expected);
    kill_the_users_server();
  }
}

TEST_F(Modes, AProgramWhoseServerDiesGoesOn) {
  const Child_Result result = program("3", {"machine", "2", user_pid_file()});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, "1\n2\n");
}

TEST_F(Modes, OneProcessAloneAndTheUsersServerMeanTheSameHives) {
  EXPECT_EQ(count("1", "machine"), "1\n");
  EXPECT_EQ(count("3", "machine"), "2\n");
  EXPECT_EQ(count("1", "machine"), "3\n");
  EXPECT_EQ(count("3", "user"), "1\n");
  EXPECT_EQ(count("1", "user"), "2\n");
}

TEST_F(Modes, AProgramOfMode0UsesTheMachinesServer) {
  const auto server = serve(machine(), {"KVMODULE_PATH"});
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(count("0", "machine"), "1\n");
  EXPECT_EQ(count("0", "user"), "1\n");
  EXPECT_EQ(count("0", "machine"), "2\n");
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  const auto next = serve(machine(), {"KVMODULE_PATH"});
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(count("0", "machine"), "3\n");
  EXPECT_EQ(count("0", "user"), "2\n");
}

TEST_F(Modes, AServerThatIsKilledWhileItServesHasWhatWasDone) {
  const auto server = serve(machine(), {"KVMODULE_PATH"});
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(count("0", "machine"), "1\n");
  server->send(SIGKILL);
  ASSERT_EQ(server->status(), -SIGKILL);
  const auto next = serve(machine(), {"KVMODULE_PATH"});
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(count("0", "machine"), "2\n");
}

}  // namespace
}  // namespace kvtest
