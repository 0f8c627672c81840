// What kvreg says of itself.
#include <algorithm>

#include "tests/tools/kvreg.h"

namespace {

const std::vector<std::string> verbs = {
#define KVREG_VERB(word, maker, summary) word,
#include "tools/kvreg/verbs.def"
#undef KVREG_VERB
};

TEST_F(Kvreg, ListsEveryVerb) {
  const std::string help = out({"--help"});
  for (const std::string& verb : verbs) EXPECT_NE(help.find("\n  " + verb + " "), std::string::npos) << verb;
  EXPECT_EQ(out({"/?"}), help);
  const kvtest::Child_Result bare = run({});
  EXPECT_EQ(bare.exit_status, 1);
  EXPECT_EQ(bare.out, help);
}

TEST_F(Kvreg, HelpsWithAVerbThatIsNamedBehindHelp) {
  EXPECT_EQ(out({"help", "query"}), out({"query", "--help"}));
  EXPECT_EQ(complaint({"help", "nix"}), "kvreg: \"nix\" is no verb; \"kvreg --help\" lists them\n");
}

TEST_F(Kvreg, HasTwoExamplesInTheHelpOfEachVerb) {
  for (const std::string& verb : verbs) {
    const std::string help = out({verb, "--help"});
    const std::size_t examples = help.find("\nExamples:\n  ");
    ASSERT_NE(examples, std::string::npos) << verb;
    const std::string rest = help.substr(examples + 11);
    EXPECT_EQ(std::count(rest.begin(), rest.end(), '\n'), 5) << verb;
    EXPECT_NE(help.find("Usage: kvreg " + verb), std::string::npos) << verb;
  }
}

TEST_F(Kvreg, RefusesWhatIsNoVerbOrNoSwitch) {
  EXPECT_EQ(complaint({"frobnicate"}), "kvreg: \"frobnicate\" is no verb; \"kvreg --help\" lists them\n");
  EXPECT_EQ(complaint({"query", "HKCU", "/nix"}), "kvreg query: not expected: /nix\nSee \"kvreg query --help\".\n");
  EXPECT_EQ(complaint({"query"}), "kvreg query: KEY is required\nSee \"kvreg query --help\".\n");
}

TEST_F(Kvreg, TakesVerbsInAnyCase) { EXPECT_EQ(out({"QUERY", "hkcu"}), "\nHKEY_CURRENT_USER\n"); }

TEST_F(Kvreg, TellsItsVersion) { EXPECT_EQ(out({"--version"}), "kvreg " KVTEST_VERSION "\n"); }

// What info tells in the mode of the test.
struct Told_Mode {
  std::string mode, why, implementation;
};

Told_Mode told_mode(const std::string& machine_file) {
  switch (Test_Registry::mode()) {
    case '0':
      return {"0, client of the machine's registry server", "KVREGISTRY_MODE is \"0\"", "advapi32client.dll"};
    case '3':
      return {"3, client of the user's registry server", "KVREGISTRY_MODE is \"3\"", "advapi32client.dll"};
    default:
      return {"1, in this process", "KVREGISTRY is \"" + machine_file + "\"", "advapi32impl.dll"};
  }
}

TEST_F(Kvreg, TellsWhichRegistryIsUsedAndWhy) {
  add("HKLM\\S", "v", "x");
  const Told_Mode told = told_mode(machine_file());
  const std::string info = out({"info"});
  EXPECT_NE(info.find("\nmode:             " + told.mode + "\n"), std::string::npos) << info;
  EXPECT_NE(info.find("\nwhy:              " + told.why + "\n"), std::string::npos) << info;
  EXPECT_NE(info.find("/lib/kelvane/" + told.implementation + "\n"), std::string::npos) << info;
  const bool has_server = Test_Registry::mode() != '1';
  EXPECT_EQ(info.find("\nserver:           process ") != std::string::npos, has_server) << info;
  EXPECT_EQ(info.find("\nserver:           none\n") != std::string::npos, !has_server) << info;
}

TEST_F(Kvreg, TellsTheFilesOfTheRegistry) {
  add("HKLM\\S", "v", "x");
  const std::string info = out({"info"});
  if (Test_Registry::mode() == '0') {
    EXPECT_NE(info.find("\nmachine hive:     only the server knows\n"), std::string::npos) << info;
    return;
  }
  EXPECT_NE(info.find("\nmachine hive:     " + machine_file() + " ("), std::string::npos) << info;
  EXPECT_NE(info.find(" bytes, hive of version 1)\n"), std::string::npos) << info;
  EXPECT_NE(out({"info", "--json"}).find("\"machine_hive\":\"" + machine_file()), std::string::npos);
}

TEST_F(Kvreg, EndsQuietlyWhenItsReaderHasGone) {
  add("HKCU\\S", "v", "x");
  const kvtest::Child_Result result = kvtest::run_child([&] {
    int ends[2];
    if (pipe(ends) != 0) _exit(99);
    close(ends[0]);
    dup2(ends[1], STDOUT_FILENO);
    kvtest::detail::change_environment(environment());
    execl(KVTEST_KVREG, KVTEST_KVREG, "query", "HKCU\\S", nullptr);
  });
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.err, "");
}

TEST_F(Kvreg, TellsWhenItsOutputHasNoRoom) {
  add("HKCU\\S", "v", "x");
  const kvtest::Child_Result result = kvtest::run_child([&] {
    dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
    kvtest::detail::change_environment(environment());
    execl(KVTEST_KVREG, KVTEST_KVREG, "query", "HKCU\\S", nullptr);
  });
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.err, "kvreg query: standard output: No space left on device\n");
}

}  // namespace
