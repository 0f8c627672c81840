// How a server lives and ends, and what it tells its service manager and its log.
#include "tests/regss/running.h"

namespace kvtest {
namespace {

class Life : public Regss {};

TEST_F(Life, IsToldToTheServiceManager) {
  const auto server = begin(machine());
  const std::string ready = manager().next();
  EXPECT_EQ(ready, "READY=1\nSTATUS=Serves at " + content_of(endpoint_file));
  server->send(SIGTERM);
  EXPECT_EQ(manager().next(), "STOPPING=1\nSTATUS=Ends");
  EXPECT_EQ(server->status(), 0);
}

// The pings come from the loop that answers clients, of whom there is none here.
TEST_F(Life, PingsTheWatchdogWithoutAClient) {
  const auto server = serve(machine(), {"KVMODULE_PATH", "WATCHDOG_USEC=200000"});
  ASSERT_NE(server, nullptr);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(manager().next(), "WATCHDOG=1");
  server->send(SIGTERM);
  std::string told = manager().next();
  while (told == "WATCHDOG=1") told = manager().next();
  EXPECT_EQ(told, "STOPPING=1\nSTATUS=Ends");
  EXPECT_EQ(server->status(), 0);
}

TEST_F(Life, PingsNobodyWithoutAWatchdog) {
  const auto server = begin(machine(), {"KVMODULE_PATH", "WATCHDOG_USEC"});
  EXPECT_EQ(manager().next().substr(0, 8), "READY=1\n");
  server->send(SIGTERM);
  EXPECT_EQ(manager().next(), "STOPPING=1\nSTATUS=Ends");
  EXPECT_EQ(server->status(), 0);
}

TEST_F(Life, TellsTheServiceManagerWhyItCannotBegin) {
  const auto server = begin({KVTEST_REGSS, "--machine", "--settings", folder / "none"});
  EXPECT_EQ(manager().next(), "STATUS=" + folder / "none" + " has no line CORE_DATA=<folder>; say --core-data");
  EXPECT_EQ(server->status(), 1);
}

TEST_F(Life, EndsBySigtermAndBySigint) {
  for (const int signal : {SIGTERM, SIGINT}) {
    const auto server = serve(machine());
    ASSERT_NE(server, nullptr);
    server->send(signal);
    EXPECT_EQ(server->status(), 0) << signal;
    EXPECT_FALSE(exists(endpoint_file));
  }
}

TEST_F(Life, EndsBySigtermAlsoWhenItsStarterIgnoredIt) {
  signal(SIGTERM, SIG_IGN);
  sigset_t terminate, before;
  sigemptyset(&terminate);
  sigaddset(&terminate, SIGTERM);
  sigprocmask(SIG_BLOCK, &terminate, &before);
  const auto server = serve(machine());
  sigprocmask(SIG_SETMASK, &before, nullptr);
  signal(SIGTERM, SIG_DFL);
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  EXPECT_EQ(server->status(), 0);
}

TEST_F(Life, BeginsAgainAfterAKill) {
  for (int i = 0; i < 3; ++i) {
    const auto server = serve(machine());
    ASSERT_NE(server, nullptr);
    EXPECT_EQ(server_of(endpoint_file), server->number());
    server->send(SIGKILL);
    EXPECT_EQ(server->status(), -SIGKILL);
    EXPECT_TRUE(exists(endpoint_file));
  }
}

TEST_F(Life, EndsWhenAClientShutsItDown) {
  const auto server = serve(machine());
  ASSERT_NE(server, nullptr);
  Client(content_of(endpoint_file)).ask_for_the_end();
  EXPECT_EQ(server->status(), 0);
  EXPECT_FALSE(exists(endpoint_file));
}

TEST_F(Life, EndsByItselfWhenNobodyComes) {
  const auto server = serve(machine({"--idle", "1"}));
  ASSERT_NE(server, nullptr);
  EXPECT_EQ(server->status(), 0);
  EXPECT_FALSE(exists(endpoint_file));
}

TEST_F(Life, OfAServerThatCannotBeginEndsWithItsFilesTakenAway) {
  const auto server = begin(machine(), {"KVTEST_REFUSES=1"});
  EXPECT_EQ(server->status(), 1);
  EXPECT_EQ(server->said(), "regss: the stand-in refuses\n");
  EXPECT_FALSE(exists(endpoint_file) || exists(pid_file));
}

TEST_F(Life, SaysWhatHappens) {
  const auto server = serve(machine());
  ASSERT_NE(server, nullptr);
  const std::string port = content_of(endpoint_file);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  const std::string registry = folder / "core/registry/hklm.bin:" + folder / "core/registry/hkcu.bin";
  EXPECT_EQ(server->said(), "regss: machine data " + folder / "core" + " idle 0\nregss: Serves " + registry + " at " +
                                port + "\nregss: Ended\n");
}

TEST_F(Life, IsQuietAtLevel0) {
  const auto server = serve(machine({"--log-level", "0"}));
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_EQ(server->said(), "");
}

TEST_F(Life, OfAUserSaysWhereAndHowLong) {
  const auto server = serve(user());
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  char host[64] = {};
  gethostname(host, sizeof host - 1);
  const std::string said = server->said();
  EXPECT_EQ(said.substr(0, said.find('\n')),
            "regss: user data " + folder / "home/.kv/core_data/professional/" + host + " idle 300");
}

// The journal is told by the device and the inode of its stream.
TEST_F(Life, SaysPrioritiesToTheJournal) {
  struct stat status;
  const std::string journal = folder / "said1";
  write_file(journal, "");
  ASSERT_EQ(stat(journal.c_str(), &status), 0);
  const std::string stream = std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  const auto server = serve(machine(), {"JOURNAL_STREAM=" + stream});
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_EQ(server->said().substr(0, 3), "<6>");
  EXPECT_NE(server->said().find("\n<6>Ended\n"), std::string::npos);
}

TEST_F(Life, InTheBackgroundComesBackWhenItServes) {
  const Child_Result started = run(user({"--background"}));
  EXPECT_EQ(started.exit_status, 0);
  const Client client(content_of(user_endpoint_file()));
  EXPECT_EQ(client.server(), content_of(user_pid_file()));
  EXPECT_NE(content_of(folder / "home/logs/regss.log").find("Serves " + folder / "home/hklm.bin"), std::string::npos);
  const impl::Descriptor server(static_cast<int>(syscall(SYS_pidfd_open, std::stoi(content_of(user_pid_file())), 0)));
  client.ask_for_the_end();
  EXPECT_TRUE(can_be_read(server.number()));
}

TEST_F(Life, InTheBackgroundComesBackWithWhyItDoesNotServe) {
  const Child_Result started = run(user({"--background"}), {"KVTEST_REFUSES=1"});
  EXPECT_EQ(started.exit_status, 1);
  EXPECT_EQ(started.err, "regss: the stand-in refuses\n");
}

TEST_F(Life, InTheBackgroundHasASessionOfItsOwnAndNoFolder) {
  ASSERT_EQ(run(user({"--background"})).exit_status, 0);
  const Client client(content_of(user_endpoint_file()));
  const std::string pid = client.server();
  EXPECT_EQ(getsid(std::stoi(pid)), std::stoi(pid));
  EXPECT_EQ(std::filesystem::read_symlink("/proc/" + pid + "/cwd"), "/");
  for (const char* number : {"0", "1"})
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + pid + "/fd/" + number), "/dev/null");
  EXPECT_EQ(std::filesystem::read_symlink("/proc/" + pid + "/fd/2"), folder / "home/logs/regss.log");
  client.ask_for_the_end();
}

}  // namespace
}  // namespace kvtest
