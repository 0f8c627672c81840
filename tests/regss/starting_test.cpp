// The per-user server as a program starts it that needs it.
#include <dlfcn.h>
#include <sys/wait.h>

#include <thread>

#include "impl/server/start_program.h"
#include "impl/server/start_server.h"
#include "tests/regss/running.h"
#include "tests/support/side_process.h"

namespace kvtest {
namespace {

class Starting : public Regss {
 protected:
  // Ends the server that the files name, and waits for it.
  ~Starting() override {
    const Client client(content_of(user_endpoint_file()));
    const std::string server = client.server();
    if (server.empty()) return;
    const impl::Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, std::stoi(server), 0)));
    client.ask_for_the_end();
    can_be_read(end.number());
  }
  Child_Result call(const Words& more = {}) const { return run({KVTEST_CALLER}, more); }
  // In a program of this host.
  Child_Result in_program(const std::function<void()>& function, const Words& more = {}) const {
    return run_child([&] {
      detail::change_environment(environment(more));
      function();
    });
  }
};

TEST_F(Starting, GivesAServerToTheFirstAndTheSameToTheNext) {
  const Child_Result first = call();
  EXPECT_EQ(first.exit_status, 0) << first.err;
  EXPECT_EQ(first.out, content_of(user_pid_file()) + "\n");
  EXPECT_EQ(call().out, first.out);
}

TEST_F(Starting, GivesWhatSomebodyElseStarted) {
  const auto server = serve(user());
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(call().out, server->number() + "\n");
}

TEST_F(Starting, ReplacesAServerThatDied) {
  const std::string first = call().out;
  const pid_t pid = std::stoi("0" + first);
  ASSERT_GT(pid, 1);
  const impl::Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  kill(pid, SIGKILL);
  ASSERT_TRUE(can_be_read(end.number()));
  const Child_Result second = call();
  EXPECT_EQ(second.exit_status, 0) << second.err;
  EXPECT_NE(second.out, first);
  EXPECT_EQ(second.out, content_of(user_pid_file()) + "\n");
}

TEST_F(Starting, WorksInAnAdministrationUtilityToo) {
  const Child_Result result = call({"KVADM_UTILITY=1"});
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(result.out, content_of(user_pid_file()) + "\n");
}

TEST_F(Starting, EndsSomeTimeAfterTheLastClient) {
  mkdir((folder / "home/.kv").c_str(), 0700);
  write_file(folder / "home/.kv/regss.conf", "IDLE_SECONDS=1\n");
  const pid_t pid = std::stoi("0" + call().out);
  ASSERT_GT(pid, 1);
  const impl::Descriptor end(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  // -1: it has ended already.
  if (end) {
    EXPECT_TRUE(can_be_read(end.number()));
  }
  EXPECT_FALSE(exists(user_endpoint_file()));
}

TEST_F(Starting, IsNoChildOfTheProgram) {
  const Child_Result result = in_program([] {
    signal(SIGCHLD, [](int) { _exit(5); });
    if (!impl::make_sure_server_lives()) _exit(6);
    if (waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD) _exit(7);
  });
  EXPECT_EQ(result.exit_status, 0) << result.err;
}

TEST_F(Starting, HandsOnNothingButTheEnvironment) {
  const Child_Result result = in_program([this] {
    // Low numbers are free, so that what the start needs lies where the program's own descriptors will.
    close(STDIN_FILENO);
    const int open_file = open((folder / "open").c_str(), O_WRONLY | O_CREAT, 0600);
    for (const int number : {30, 300}) dup2(open_file, number);
    signal(SIGTERM, SIG_IGN);
    if (!impl::make_sure_server_lives()) _exit(6);
  });
  ASSERT_EQ(result.exit_status, 0) << result.err;
  const std::string pid = content_of(user_pid_file());
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + pid + "/fd")) {
    std::error_code ignored;
    EXPECT_NE(std::filesystem::read_symlink(entry.path(), ignored), folder / "open");
  }
  EXPECT_NE(getsid(std::stoi("0" + pid)), getsid(0));
}

TEST_F(Starting, FromSeveralThreadsStartsOne) {
  const Child_Result result = in_program([] {
    std::vector<std::thread> threads;
    std::atomic<int> found = 0;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] { found += impl::make_sure_server_lives() ? 1 : 0; });
    }
    for (std::thread& thread : threads) thread.join();
    _exit(found);
  });
  EXPECT_EQ(result.exit_status, 8) << result.err;
}

TEST_F(Starting, SaysWhyThereIsNone) {
  const std::string start = "The registry's server could not be started: ";
  EXPECT_EQ(call({"KVREGSS_PATH=" + folder / "none"}).err,
            start + folder / "none" + " cannot be run: No such file or directory.\n");
  EXPECT_EQ(call({"KVREGSS_PATH=/bin/false"}).err, start + "regss ended without a reason.\n");
  EXPECT_EQ(call({"KVTEST_REFUSES=1"}).err, start + "the stand-in refuses.\n");
  write_file(user_pid_file(), "");
  ASSERT_EQ(link(user_pid_file().c_str(), (folder / "second").c_str()), 0);
  const Child_Result refused = call();
  EXPECT_EQ(refused.err, start + user_pid_file() + " has a second name.\n");
  EXPECT_EQ(refused.exit_status, 1);
}

TEST_F(Starting, SaysTheSameOnce) {
  const Child_Result result = in_program(
      [] {
        for (int i = 0; i < 3; ++i) {
          if (impl::make_sure_server_lives()) _exit(1);
        }
      },
      {"KVREGSS_PATH=/bin/false"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.err, "The registry's server could not be started: regss ended without a reason.\n");
}

// The lock does not stay behind in a child that the program forked meanwhile.
TEST_F(Starting, ThatFailedLeavesTheLockFree) {
  ASSERT_EQ(call({"KVREGSS_PATH=/bin/false"}).exit_status, 1);
  EXPECT_EQ(call().exit_status, 0);
}

TEST_F(Starting, TakesTheProgramThatIsNamed) {
  EXPECT_EQ(in_program([] { printf("%s", impl::regss_file().c_str()); }, {"KVREGSS_PATH=/any/file"}).out, "/any/file");
}

// The load entry of the server's library, which lies in the build as it is installed.
TEST_F(Starting, ByTheLoadEntryTakesTheProgramOfTheInstallation) {
  const Child_Result result = in_program(
      [] {
        void* const library = dlopen(KVTEST_SERVER_LIBRARY, RTLD_NOW);
        void* const entry = library != nullptr ? dlsym(library, "KvIOnLoadDll") : nullptr;
        if (entry == nullptr) _exit(9);
        reinterpret_cast<void (*)()>(entry)();
      },
      {"KVREGSS_PATH"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.err, "");
  const std::string pid = content_of(user_pid_file());
  EXPECT_EQ(server_of(user_endpoint_file()), pid);
  EXPECT_EQ(std::filesystem::read_symlink("/proc/" + pid + "/exe"), std::filesystem::canonical(KVTEST_REGSS));
}

TEST_F(Starting, WithoutAHomeIsRefused) {
  const Child_Result result = call({"HOME"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.err,
            "HOME is not set.\nThe registry's server could not be started: neither HOME nor KVCORE_PRIVATE_DATA is "
            "set.\n");
}

}  // namespace
}  // namespace kvtest
