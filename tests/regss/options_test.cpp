// The command line.
#include "tests/regss/running.h"

namespace kvtest {
namespace {

class Command_Line : public Regss {
 protected:
  Child_Result regss(Words words) const {
    words.insert(words.begin(), KVTEST_REGSS);
    return run(words);
  }
  void expect_refused(const Words& words, const std::string& reason) const {
    const Child_Result result = regss(words);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "regss: " + reason + "\nregss --help tells what can be said.\n");
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(exists(folder / "tmp/kv"));
  }
};

TEST_F(Command_Line, TellsItsHelp) {
  const Child_Result result = regss({"--help"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(
      result.out,
      "Usage: regss --machine|--user [option...]\n"
      "The server of the registry: has its hives and serves them to other programs, in the foreground until SIGTERM "
      "or\n"
      "SIGINT. SIGHUP reads the settings again.\n"
      "\n"
      "  --machine            the machine's registry, for all users; its hives lie below the core data folder\n"
      "  --user               this user's registry, for this user and root; KVREGISTRY names the hives\n"
      "\n"
      "  --core-data FOLDER   the core data folder of --machine, in place of the setting CORE_DATA\n"
      "  --settings FILE      CORE_DATA=, LOG_LEVEL= and IDLE_SECONDS=, a line each; /etc/kelvane.conf unless said, "
      "with\n"
      "                       --user $HOME/.kv/regss.conf\n"
      "  --log-level LEVEL    0: only why it cannot serve; 1: also what happens to it, as unless said; 2: also every "
      "step\n"
      "  --idle SECONDS       ends so long after the last client has gone; 0: never, as unless said; with --user 300\n"
      "  --check              looks the hives through first and does not serve them when they have a fault\n"
      "  --background         comes back when questions are answered; the server goes on and writes its log into\n"
      "                       $HOME/logs/regss.log\n"
      "  --write-endpoint SOCKET\n"
      "                       only tells clients that the port is this socket, which the service manager listens at\n"
      "  --help, --version    this text, the version\n"
      "\n"
      "Exit status: 0 ended as it was asked to, 1 could not serve, 2 wrong command line, 3 another server serves this\n"
      "registry already.\n");
}

TEST_F(Command_Line, TellsItsVersion) {
  const Child_Result result = regss({"--version"});
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, "regss " KVTEST_VERSION "\n");
}

TEST_F(Command_Line, SaysWhichRegistry) {
  expect_refused({}, "say --machine or --user");
  expect_refused({"--machine", "--user"}, "--machine excludes --user");
}

TEST_F(Command_Line, WithoutSenseIsRefused) {
  expect_refused({"--user", "--core-data", "/x"}, "--core-data requires --machine");
  expect_refused({"--user", "--log-level", "3"}, "--log-level: Value 3 not in range 0 to 2");
  expect_refused({"--user", "--log-level", "loud"}, "--log-level: Value loud not in range 0 to 2");
  expect_refused({"--user", "--idle", "-1"}, "--idle: Value -1 not in range 0 to 31536000");
  expect_refused({"--user", "--idle", "31536001"}, "--idle: Value 31536001 not in range 0 to 31536000");
  expect_refused({"--user", "--serve"}, "The following argument was not expected: --serve");
  expect_refused({"--user", "more"}, "The following argument was not expected: more");
  expect_refused({"--user", "--settings"}, "--settings: 1 required TEXT missing");
  expect_refused({"--user", "--write-endpoint", "/x", "--check"}, "--check excludes --write-endpoint");
}

}  // namespace
}  // namespace kvtest
