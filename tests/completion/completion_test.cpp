// Completion of kvreg: keys are typed in a real shell, and what the shell then hands over is compared.
#include "tests/completion/shell.h"

namespace {

constexpr char tab = '\t';
constexpr char to_line_start[] = "\x01";

// Prints its arguments, each between angle brackets.
constexpr char show[] = "show() { printf '<%s>' \"$@\"; printf '%s\\n' .END.; }\n";

class Completion : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (kvtest::run_program({"/bin/sh", "-c", "command -v " + shell()}).exit_status != 0)
      GTEST_SKIP() << shell() << " is not installed";
    std::ofstream(files_ / "bashrc") << "bind 'set enable-bracketed-paste off'\nbind 'set bell-style none'\nPS1=READY\n"
                                     << "source " KVTEST_COMPLETION "/kvreg.bash\n"
                                     << show;
    std::ofstream(files_ / ".zshrc") << "PS1=READY\nunsetopt promptcr promptsp beep\nbindkey -e\n"
                                     << "fpath=(" KVTEST_COMPLETION " $fpath)\nautoload -Uz compinit\n"
                                     << "compinit -D -u\n"
                                     << show;
    make({"add", "HKCU\\Editor One\\Sub A\\Deep"});
    make({"add", "HKCU\\Editor One", "/v", "Font Size", "/d", "3"});
    make({"add", "HKCU\\Other"});
  }

  std::string shell() const { return GetParam(); }

  void make(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), KVTEST_KVREG);
    const kvtest::Child_Result result = kvtest::run_program(arguments, environment());
    ASSERT_EQ(result.exit_status, 0) << result.err;
  }

  // What a command gets as arguments after these keys were typed; <TAB> is the key.
  std::string completed(std::string keys) const {
    for (std::size_t at; (at = keys.find("<TAB>")) != keys.npos;) keys.replace(at, 5, 1, tab);
    const std::vector<std::string> bash = {"bash", "--noprofile", "--rcfile", files_ / "bashrc", "-i"};
    Shell session(shell() == "bash" ? bash : std::vector<std::string>{"zsh", "-d", "-i"}, environment());
    session.until("READY");
    session.type(keys + to_line_start + "show \n");
    const std::string seen = session.until(".END.");
    const std::size_t start = seen.find("<kvreg>"), end = seen.find(".END.");
    return start < end && end != seen.npos ? seen.substr(start, end - start) : "no end: " + seen;
  }

  std::vector<std::string> environment() const {
    const std::string programs = std::filesystem::path(KVTEST_KVREG).parent_path();
    return {"HOME=" + files_.path(),
            "KVREGISTRY=" + (files_ / "machine.hive"),
            "ZDOTDIR=" + files_.path(),
            "PATH=" + programs + ":/usr/local/bin:/usr/bin:/bin",
            "LANG=C.UTF-8",
            "TERM=dumb"};
  }
  std::string file(const std::string& name) const { return files_ / name; }

 private:
  kvtest::Temp_Folder files_;
};

TEST_P(Completion, CompletesVerbs) { EXPECT_EQ(completed("kvreg que<TAB>"), "<kvreg><query>"); }

TEST_P(Completion, CompletesSwitchesOfTheVerb) {
  EXPECT_EQ(completed("kvreg query HKCU --sep<TAB>"), "<kvreg><query><HKCU><--separator>");
}

TEST_P(Completion, CompletesRootsAsFarAsTheyAgree) {
  EXPECT_EQ(completed("kvreg query HKL<TAB>"), "<kvreg><query><HKLM>");
  EXPECT_EQ(completed("kvreg query HKEY_L<TAB>"), "<kvreg><query><HKEY_LOCAL_MACHINE>");
}

TEST_P(Completion, CompletesAKeyWithABlankThatIsBegunWithoutQuotes) {
  EXPECT_EQ(completed("kvreg query HKCU\\\\Ed<TAB>"), "<kvreg><query><HKCU\\Editor One>");
  EXPECT_EQ(completed("kvreg query HKCU\\\\Editor\\ One\\\\Su<TAB>\\\\<TAB>"),
            "<kvreg><query><HKCU\\Editor One\\Sub A\\Deep>");
}

TEST_P(Completion, CompletesAKeyBetweenQuotesWhichStayOpenWhileThereAreSubKeys) {
  EXPECT_EQ(completed("kvreg query 'HKCU\\Ed<TAB>\\<TAB>\\<TAB>"), "<kvreg><query><HKCU\\Editor One\\Sub A\\Deep>");
  EXPECT_EQ(completed("kvreg query \"HKCU\\Ed<TAB>\\<TAB>\""), "<kvreg><query><HKCU\\Editor One\\Sub A>");
}

TEST_P(Completion, TakesNamesInAnyCaseAndLeavesWhatIsCompleteAsItWasTyped) {
  EXPECT_EQ(completed("kvreg query 'hkcu\\editor one\\s<TAB>\\d<TAB>"),
            "<kvreg><query><hkcu\\editor one\\Sub A\\Deep>");
}

TEST_P(Completion, EndsTheWordOfAKeyWithoutSubKeys) {
  EXPECT_EQ(completed("kvreg copy 'HKCU\\Ot<TAB>HKLM"), "<kvreg><copy><HKCU\\Other><HKLM>");
  EXPECT_EQ(completed("kvreg copy HKCU\\\\Ot<TAB>HKCU\\\\Ed<TAB>"), "<kvreg><copy><HKCU\\Other><HKCU\\Editor One>");
}

TEST_P(Completion, GivesNamesOfAnyCharactersAsTheyAre) {
  make({"add", "HKLM\\It's \"a\":$b=c;\xC3\xA4"});
  const std::string wanted = "<kvreg><query><HKLM\\It's \"a\":$b=c;\xC3\xA4>";
  EXPECT_EQ(completed("kvreg query HKLM\\\\It<TAB>"), wanted);
  EXPECT_EQ(completed("kvreg query 'HKLM\\It<TAB>"), wanted);
  EXPECT_EQ(completed("kvreg query \"HKLM\\It<TAB>"), wanted);
}

TEST_P(Completion, CompletesNothingBelowAKeyThatIsNotThere) {
  EXPECT_EQ(completed("kvreg query 'HKCU\\None\\x<TAB>'"), "<kvreg><query><HKCU\\None\\x>");
}

TEST_P(Completion, CompletesNamesOfValues) {
  EXPECT_EQ(completed("kvreg query 'HKCU\\Editor One' /v fo<TAB>"), "<kvreg><query><HKCU\\Editor One></v><Font Size>");
  EXPECT_EQ(completed("kvreg delete 'HKCU\\Editor One' --value Fo<TAB>"),
            "<kvreg><delete><HKCU\\Editor One><--value><Font Size>");
}

TEST_P(Completion, CompletesTypes) {
  EXPECT_EQ(completed("kvreg add HKCU /t REG_DWORD_<TAB>"), "<kvreg><add><HKCU></t><REG_DWORD_BIG_ENDIAN>");
}

TEST_P(Completion, CompletesFilesWhereAFileStands) {
  std::ofstream(file("settings one.reg")) << "";
  EXPECT_EQ(completed("kvreg import " + file("set") + "<TAB>"), "<kvreg><import><" + file("settings one.reg") + ">");
  EXPECT_EQ(completed("kvreg export HKCU " + file("set") + "<TAB>"),
            "<kvreg><export><HKCU><" + file("settings one.reg") + ">");
}

// zsh takes such a backslash away before it asks.
TEST_P(Completion, TakesASingleBackslashBeforeALetterForOneOfTheKeyInBash) {
  const std::string typed = completed("kvreg query HKCU\\Ed<TAB>");
  EXPECT_EQ(typed, shell() == "bash" ? "<kvreg><query><HKCU\\Editor One>" : "<kvreg><query><HKCUEd>");
}

INSTANTIATE_TEST_SUITE_P(In, Completion, testing::Values("bash", "zsh"),
                         [](const auto& each) { return std::string(each.param); });

}  // namespace
