// What the group script decides: how it is found and started, how its output is read, and what happens when it is
// missing, fails, says too much or does not end.
#include <fcntl.h>
#include <signal.h>

#include <thread>

#include "tests/security/tokens/access_checks.h"

namespace kvtest {
namespace {

// The verdict on anna, who owns nothing, for these groups.
std::string verdict_for(const Ids& groups) { return verdict(Ids{1}, groups, 500); }

// The verdict for group 34 with a script of this body.
std::string verdict_with(const std::string& body) {
  Host_Of_Users host;
  host.set_script(body);
  return host.run([] { return verdict_for({34}); });
}

TEST(GroupScript, GrantsAGroupThatItPrints) { EXPECT_ANSWER(verdict_with("printf '12 34\\n56'"), "granted"); }

TEST(GroupScript, MayPrintOneNumberALineOrBlanksAround) {
  EXPECT_ANSWER(verdict_with("printf '12\\n34\\n'"), "granted");
  EXPECT_ANSWER(verdict_with("printf '\\n  34  \\n'"), "granted");
  EXPECT_ANSWER(verdict_with("echo 34"), "granted");
}

TEST(GroupScript, DeniesWhatItDoesNotPrint) { EXPECT_ANSWER(verdict_with("printf '12 3 4 134 345\\n'"), "denied"); }

TEST(GroupScript, ThatPrintsNothingDenies) { EXPECT_ANSWER(verdict_with("exit 0"), "denied"); }

TEST(GroupScript, CountsByItsOutputNotByItsStatus) {
  EXPECT_ANSWER(verdict_with("echo 34; exit 1"), "granted");
  EXPECT_ANSWER(verdict_with("echo 34; kill -9 $$"), "granted");
}

TEST(GroupScript, IsGivenTheLoginNameAlone) {
  Host_Of_Users host;
  host.set_script("echo 34");
  EXPECT_ANSWER(host.run([] { return verdict_for({34}); }), "granted");
  EXPECT_EQ(host.runs(), "1:anna\n");
}

TEST(GroupScript, RunsAnewForEachGroupUpToTheOneThatGrants) {
  Host_Of_Users host;
  host.set_script("echo 12 34");
  EXPECT_ANSWER(host.run([] { return verdict_for({1, 2, 34, 12}); }), "granted");
  EXPECT_EQ(host.runs(), "1:anna\n1:anna\n1:anna\n");
}

TEST(GroupScript, IsAskedAgainByTheNextCheck) {
  Host_Of_Users host;
  host.set_script("echo 34");
  EXPECT_ANSWER(host.run([&] {
    const std::string first = verdict_for({34});
    host.set_script("echo 35");
    return first + verdict_for({34});
  }),
                "granteddenied");
}

TEST(GroupScript, IsTheFirstOfItsNameOnTheSearchPath) {
  Host_Of_Users host;
  host.set_script("echo 34");
  Temp_Folder earlier;
  host.write_program("other", "#!/bin/sh\necho 77\n");
  std::filesystem::copy_file(host.path("other"), earlier / "getgr.sh");
  EXPECT_ANSWER(host.run([&] {
    setenv("PATH", (earlier.path() + ":" + getenv("PATH")).c_str(), 1);
    return verdict_for({34}) + verdict_for({77});
  }),
                "deniedgranted");
}

TEST(GroupScript, ThatIsMissingDenies) {
  const Host_Of_Users host;
  EXPECT_ANSWER(host.run([] { return verdict_for({34, 35}); }), "denied");
  EXPECT_NE(host.complaints().find("getgr.sh"), std::string::npos);
}

TEST(GroupScript, ThatMayNotBeRunDenies) {
  Host_Of_Users host;
  host.set_script("echo 34");
  chmod(host.path("getgr.sh").c_str(), 0644);
  EXPECT_ANSWER(host.run([] { return verdict_for({34}); }), "denied");
  EXPECT_EQ(host.runs(), "");
}

TEST(GroupScript, IsReadTo4096Bytes) {
  // 4,094 bytes of blanks, then the group's two digits: the last bytes that are read.
  EXPECT_ANSWER(verdict_with("printf '%4094s' ''; printf '34 5'"), "granted");
  EXPECT_ANSWER(verdict_with("printf '%4095s' ''; printf '34 5'"), "denied");
  EXPECT_ANSWER(verdict_with("printf '%4096s' ''; printf '34'"), "denied");
}

TEST(GroupScript, IsReadAlsoWhenItWritesInPieces) {
  EXPECT_ANSWER(verdict_with("printf '12 '; sleep 0.1; printf '3'; sleep 0.1; printf '4'"), "granted");
}

TEST(GroupScript, ThatNeverEndsItsOutputIsCutOff) {
  EXPECT_ANSWER(verdict_with("echo 34; exec yes 5"), "granted");
  EXPECT_ANSWER(verdict_with("exec yes 5"), "denied");
}

TEST(GroupScript, IsHeardAlsoByAProgramThatIgnoresItsChildren) {
  Host_Of_Users host;
  host.set_script("echo 34");
  EXPECT_ANSWER(host.run([] {
    signal(SIGCHLD, SIG_IGN);
    return verdict_for({34}) + verdict_for({35});
  }),
                "granteddenied");
}

// In a process of its own: waits until the script has started, then gives it its line.
pid_t start_releaser(const std::string& started, const std::string& pipe) {
  const pid_t releaser = fork();
  if (releaser != 0) return releaser;
  char line = 0;
  const int seen = open(started.c_str(), O_RDONLY);
  const bool is_started = read(seen, &line, 1) == 1;
  const int released = open(pipe.c_str(), O_WRONLY);
  _exit(is_started && write(released, "34\n", 3) == 3 ? 0 : 1);
}

// The script waits for a line that comes only after it was seen to wait.
TEST(GroupScript, IsWaitedForAsLongAsItTakes) {
  Host_Of_Users host;
  const std::string pipe = host.path("pipe");
  const std::string started = host.path("started");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  ASSERT_EQ(mkfifo(started.c_str(), 0600), 0);
  host.set_script("echo > " + started + "\nread word < " + pipe + "\necho $word");
  EXPECT_ANSWER(host.run([&] {
    const pid_t releaser = start_releaser(started, pipe);
    const std::string answer = verdict_for({34});
    int status = -1;
    waitpid(releaser, &status, 0);
    return answer + " " + std::to_string(status);
  }),
                "granted 0");
}

// QUIRK group-words-as-numbers
TEST(GroupScript, ReadsAWordThatIsNoNumberAs0) {
  Host_Of_Users host;
  host.set_script("echo no such user");
  EXPECT_ANSWER(host.run([] { return verdict_for({34}) + verdict_for({0}); }), "deniedgranted");
}

TEST(GroupScript, ReadsNumbersUpToTheFirstOtherCharacter) {
  EXPECT_ANSWER(verdict_with("echo 34,35"), "granted");
  EXPECT_ANSWER(verdict_with("echo '35\t34'"), "denied");
}

TEST(GroupScript, ReadsGroupsOf32Bits) {
  Host_Of_Users host;
  host.set_script("echo 4294967294");
  EXPECT_ANSWER(host.run([] { return verdict_for({0xFFFFFFFE}); }), "granted");
}

// The verdict for group 34 on the user 500 of this login name, and whether the script ran.
std::string verdict_on_name(const std::string& name, std::string* runs) {
  Host_Of_Users host(name + ":x:500:100::/:/bin/sh\n");
  host.set_script("echo 34");
  const std::string answer = host.run([] { return verdict_for({34}); });
  *runs = host.runs();
  return answer;
}

TEST(LoginName, OfPlainCharactersIsHandedToTheScript) {
  for (const std::string name : {"a.b_c-d+e@F9", "machine$", "9", "azAZ09", "z", "A", "Z0"}) {
    std::string runs;
    EXPECT_ANSWER(verdict_on_name(name, &runs), "granted");
    EXPECT_EQ(runs, "1:" + name + "\n");
  }
}

TEST(LoginName, WithAnyOtherCharacterStartsNoScript) {
  for (const std::string name : {"a;b", "a b", "a$b", "$(id)", "`id`", "a\\b", "a'b", "a\"b", "a*",          "a?",
                                 "a|b", "a&b", "a<b", "a>b",   "a#b",  "a~",   "a/b", "a(b",  "j\xC3\xB6rg", "a\tb",
                                 "a{b", "a[b", "a`b", "a]b",   "a^b",  "a}b",  "a%b", "a!b",  "a=b",         "a,b"}) {
    std::string runs;
    EXPECT_ANSWER(verdict_on_name(name, &runs), "denied");
    EXPECT_EQ(runs, "") << name;
  }
}

TEST(LoginName, ThatIsACommandIsNotRun) {
  Temp_Folder folder;
  const std::string trace = folder / "trace";
  Host_Of_Users host("x;echo${IFS}evil>" + trace + ":x:500:100::/:/bin/sh\n");
  host.set_script("echo 34");
  EXPECT_ANSWER(host.run([] { return verdict_for({34, 35}); }), "denied");
  EXPECT_FALSE(std::filesystem::exists(trace));
  EXPECT_EQ(host.runs(), "");
}

TEST(LoginName, OfAnOwnerMayHaveAnyCharacter) {
  const Host_Of_Users host("x;y:x:500:100::/:/bin/sh\n");
  EXPECT_ANSWER(host.run([] { return verdict(Ids{500}, Ids{34}, 500); }), "granted");
}

TEST(LoginName, MayHave256Characters) {
  std::string runs;
  EXPECT_ANSWER(verdict_on_name(std::string(256, 'n'), &runs), "granted");
  EXPECT_EQ(runs, "1:" + std::string(256, 'n') + "\n");
  EXPECT_ANSWER(verdict_on_name(std::string(257, 'n'), &runs), "denied");
  EXPECT_EQ(runs, "");
}

TEST(GroupScript, ServesSeveralThreadsAtOnce) {
  Host_Of_Users host("anna:x:500:100::/:/bin/sh\notto:x:501:100::/:/bin/sh\n");
  host.set_script("case $1 in anna) echo 34;; otto) echo 35;; esac");
  EXPECT_ANSWER(host.run([] {
    std::string answers[4];
    std::vector<std::thread> threads;
    for (UINT_PTR t = 0; t < 4; ++t) {
      threads.emplace_back([&answers, t] {
        for (int i = 0; i < 3; ++i) answers[t] += verdict(Ids{1}, Ids{35, 36}, 500 + t % 2).substr(0, 1);
      });
    }
    for (std::thread& thread : threads) thread.join();
    return answers[0] + answers[1] + answers[2] + answers[3];
  }),
                "dddgggdddggg");
}

TEST(GroupScript, LeavesNoDescriptorAndNoChildBehind) {
  Host_Of_Users host;
  host.set_script("echo 35");
  EXPECT_ANSWER(host.run([] {
    const int before = dup(0);
    close(before);
    verdict_for({34, 35, 36});
    const int after = dup(0);
    const bool no_child = waitpid(-1, nullptr, WNOHANG) == -1;
    return std::to_string(after - before) + (no_child ? " none" : " some");
  }),
                "0 none");
}

}  // namespace
}  // namespace kvtest
