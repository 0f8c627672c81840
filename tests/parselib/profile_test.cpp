// Profiles: which files count, what is answered, and the defaults that are written to the byte.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "parselib/profile.h"
#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

// A folder for the files, with a HOME inside.
class ProfileTest : public testing::Test {
 protected:
  ProfileTest() : old_home_(getenv("HOME") != nullptr ? getenv("HOME") : "") {
    std::filesystem::create_directory(home());
    setenv("HOME", home().c_str(), 1);
  }
  ~ProfileTest() override { setenv("HOME", old_home_.c_str(), 1); }

  std::string home() const { return folder_ / "home"; }
  std::string file() const { return folder_ / "my.pro"; }
  std::string users_copy() const { return home() + "/my.pro"; }
  std::string defaults() const { return folder_ / "defaults"; }

  static void put(const std::string& file, const std::string& text) { std::ofstream(file) << text; }
  static std::string content_of(const std::string& file) {
    std::stringstream content;
    content << std::ifstream(file).rdbuf();
    return content.str();
  }

  // A profile of these settings whose defaults are written.
  std::unique_ptr<Profiler> profile_of(const std::string& settings) const {
    put(file(), "(my (profile-defaults-file \"" + defaults() + "\")\n" + settings + ")\n");
    return std::make_unique<Profiler>(file().c_str());
  }

  // The lines that the questions left.
  std::string recorded(const std::string& settings, const std::function<void(const Profiler&)>& ask) const {
    std::unique_ptr<Profiler> profile = profile_of(settings);
    ask(*profile);
    profile.reset();
    const std::string text = content_of(defaults());
    EXPECT_EQ(text.substr(0, 4), "(my\n");
    EXPECT_EQ(text.substr(text.size() - 2), ")\n");
    return text.substr(4, text.size() - 6);
  }

  Temp_Folder folder_;

 private:
  const std::string old_home_;
};

using Opening = ProfileTest;

TEST_F(Opening, WithoutAFileEveryQuestionGetsItsDefault) {
  const Profiler profile(file().c_str());
  clAtom atom("x");
  EXPECT_EQ(profile.read_int(clAtom("a"), 7), 7);
  EXPECT_EQ(profile.read_double(clAtom("a"), 2.5), 2.5);
  EXPECT_EQ(profile.read_boolean(clAtom("a"), 1), 1);
  EXPECT_STREQ(profile.read_string(clAtom("a"), "text"), "text");
  EXPECT_EQ(profile.read_string(clAtom("a"), nullptr), nullptr);
  EXPECT_EQ(profile.read_atom(clAtom("a"), &atom), &atom);
  EXPECT_EQ(profile.read_frame(clAtom("a"), nullptr), nullptr);
  EXPECT_EQ(profile.read_list(clAtom("a"), nullptr), nullptr);
}

TEST_F(Opening, ReadsTheFile) {
  put(file(), "(my (a 1))");
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 1);
}

TEST_F(Opening, ReadsTheUsersCopyWhereThereIsNoFile) {
  put(users_copy(), "(mine (a 2))");
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 2);
}

// QUIRK given-file-wins
TEST_F(Opening, TakesTheFilesSettingsOverThoseOfTheUsersCopy) {
  put(file(), "(my (number-of-allocs 1) (a 1))");
  put(users_copy(), "(mine (number-of-allocs 2) (b 2))");
  const Profiler profile(file().c_str());
  EXPECT_EQ(profile.read_int(clAtom("number-of-allocs"), 7), 1);
  EXPECT_EQ(profile.read_int(clAtom("a"), 7), 1);
  EXPECT_EQ(profile.read_int(clAtom("b"), 7), 2);
}

TEST_F(Opening, KeepsTheNameOfTheUsersCopy) {
  put(file(), "(my (profile-defaults-file \"" + defaults() + "\"))");
  put(users_copy(), "(mine (a 1))");
  { const Profiler profile(file().c_str()); }
  EXPECT_EQ(content_of(defaults()), "(mine\n)\n");
}

TEST_F(Opening, WithoutHomeOnlyTheFileCounts) {
  put(users_copy(), "(mine (a 2))");
  unsetenv("HOME");
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 7);
  put(file(), "(my (a 1))");
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 1);
}

TEST_F(Opening, WithAHomeTooLongForAPathOnlyTheFileCounts) {
  setenv("HOME", ("/" + std::string(5000, 'x')).c_str(), 1);
  put(file(), "(my (a 1))");
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 1);
}

TEST_F(Opening, ReadsAUsersCopyWhosePathIsAsLongAsAPathMayBe) {
  put(users_copy(), "(mine (a 2))");
  setenv("HOME", (home() + std::string(4088 - home().size(), '/')).c_str(), 1);
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 2);
}

TEST_F(Opening, ReadsNoOtherFileWhenThePathOfTheUsersCopyIsOneCharacterTooLong) {
  put(home() + "/my.pr", "(other (a 2))");
  setenv("HOME", (home() + std::string(4089 - home().size(), '/')).c_str(), 1);
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 7);
}

TEST_F(Opening, TakesNoFileThatTheUserMayNotRead) {
  if (geteuid() == 0) GTEST_SKIP() << "root may read every file";
  put(file(), "(my (a 1))");
  chmod(file().c_str(), 0);
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 7);
}

TEST_F(Opening, SeesNoLaterChange) {
  put(file(), "(my (a 1))");
  const Profiler profile(file().c_str());
  put(file(), "(my (a 2))");
  EXPECT_EQ(profile.read_int(clAtom("a"), 7), 1);
}

TEST_F(Opening, OfAFileThatIsNoFrameHasNoNameAndSaysSo) {
  put(file(), "(my (a))" + std::string(9000, '\n'));
  const Child_Result child = run_child([&] {
    const Profiler profile(file().c_str());
    printf("%d\n", profile.read_int(clAtom("a"), 7));
  });
  EXPECT_EQ(child.out,
            "Parselib : line 1 - parse error\n"
            "Parselib Error: read_frame failed.\n"
            "Please confirm that your env variable KVREGISTRY points to a correct registry file.\n"
            "7\n");
}

TEST_F(Opening, OfAFileThatIsNoFrameKeepsTheUsersCopy) {
  put(file(), "nonsense");
  put(users_copy(), "(mine (a 2))");
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 2);
}

TEST_F(Opening, TakesTheFilesSettingsWhereTheUsersCopyIsNoFrame) {
  put(file(), "(my (a 1) (profile-defaults-file \"" + defaults() + "\"))");
  put(users_copy(), "nonsense");
  EXPECT_EQ(Profiler(file().c_str()).read_int(clAtom("a"), 7), 1);
  EXPECT_EQ(content_of(defaults()), "(profile\n  (a 7)\n)\n");
}

using Defaults = ProfileTest;

TEST_F(Defaults, BeginWithTheNameAndEndWithTheProfile) {
  std::unique_ptr<Profiler> profile = profile_of("");
  EXPECT_EQ(content_of(defaults()), "(my\n");
  profile->read_int(clAtom("a"), 7);
  EXPECT_EQ(content_of(defaults()), "(my\n  (a 7)\n");
  profile.reset();
  EXPECT_EQ(content_of(defaults()), "(my\n  (a 7)\n)\n");
}

TEST_F(Defaults, GoToStandardOutputForAHyphen) {
  put(file(), "(my (profile-defaults-file \"-\"))");
  const Child_Result child = run_child([&] {
    { const Profiler profile(file().c_str()); }
    printf("still open\n");
  });
  EXPECT_EQ(child.out, "(my\n)\nstill open\n");
}

TEST_F(Defaults, OfAProfileWithoutFilesBeginWithEmpty) {
  put(users_copy(), "(empty (profile-defaults-file \"-\"))");
  const Child_Result child = run_child([&] { const Profiler profile(file().c_str()); });
  EXPECT_EQ(child.out, "(empty\n)\n");
}

TEST_F(Defaults, ThatCannotBeWrittenDoNotKeepTheSettingsFromBeingRead) {
  for (const char* where : {"/nonexistent/defaults", "/", "/dev/full"}) {
    put(file(), std::string("(my (a 1) (profile-defaults-file \"") + where + "\"))");
    const Profiler profile(file().c_str());
    EXPECT_EQ(profile.read_int(clAtom("a"), 7), 1) << where;
    EXPECT_STREQ(profile.read_string(clAtom("b"), "x"), "x") << where;
  }
}

TEST_F(Defaults, AreAProfileThemselves) {
  const std::string lines = recorded("", [](const Profiler& profile) {
    profile.read_int(clAtom("a"), -3);
    profile.read_double(clAtom("b"), 0.5);
    profile.read_boolean(clAtom("c"), 1);
    profile.read_string(clAtom("d"), "two words");
    profile.read_string(clAtom("e"), nullptr);
    profile.read_list(clAtom("f"), nullptr);
  });
  const Frame frame{kvistrstream(("(my\n" + lines + ")\n").c_str())};
  EXPECT_EQ(shown(&frame), "my{a=-3 b=0.5 c=true d=\"two words\"}");
}

using Questions = ProfileTest;

TEST_F(Questions, ReadIntCutsTowardZero) {
  std::unique_ptr<Profiler> profile = profile_of("(a 2.9) (b -2.9) (c 12) (d 1.0e300) (e -1.0e300)");
  EXPECT_EQ(profile->read_int(clAtom("a"), 7), 2);
  EXPECT_EQ(profile->read_int(clAtom("b"), 7), -2);
  EXPECT_EQ(profile->read_int(clAtom("c"), 7), 12);
  EXPECT_EQ(profile->read_int(clAtom("d"), 7), 2147483647);
  EXPECT_EQ(profile->read_int(clAtom("e"), 7), -2147483647 - 1);
}

TEST_F(Questions, ReadIntRecordsItsDefault) {
  EXPECT_EQ(recorded("(a 1)",
                     [](const Profiler& profile) {
                       profile.read_int(clAtom("a"), 7);
                       profile.read_int(clAtom("b"), -7);
                     }),
            "  (a 7)\n  (b -7)\n");
}

TEST_F(Questions, ReadDoubleGivesTheWholeNumber) {
  std::unique_ptr<Profiler> profile = profile_of("(a 2.9) (b 3)");
  EXPECT_EQ(profile->read_double(clAtom("a"), 7), 2.9);
  EXPECT_EQ(profile->read_double(clAtom("b"), 7), 3.0);
  EXPECT_EQ(profile->read_double(clAtom("c"), 7.25), 7.25);
}

TEST_F(Questions, ReadDoubleRecordsItsDefault) {
  EXPECT_EQ(recorded("", [](const Profiler& profile) { profile.read_double(clAtom("a"), 2.5); }), "  (a 2.5)\n");
}

// QUIRK boolean-cases
TEST_F(Questions, ReadBooleanKnowsTrueInUpperCaseOnly) {
  std::unique_ptr<Profiler> profile = profile_of("(a TRUE) (b true) (c \"TRUE\") (d FALSE) (e 1)");
  EXPECT_EQ(profile->read_boolean(clAtom("a"), 0), 1);
  EXPECT_EQ(profile->read_boolean(clAtom("b"), 1), 0);
  EXPECT_EQ(profile->read_boolean(clAtom("c"), 0), 1);
  EXPECT_EQ(profile->read_boolean(clAtom("d"), 1), 0);
  EXPECT_EQ(profile->read_boolean(clAtom("e"), 1), 0);
  EXPECT_EQ(profile->read_boolean(clAtom("none"), 1), 1);
  EXPECT_EQ(profile->read_boolean(clAtom("none"), 0), 0);
}

// QUIRK boolean-cases
TEST_F(Questions, ReadBooleanRecordsItsDefaultInLowerCase) {
  EXPECT_EQ(recorded("",
                     [](const Profiler& profile) {
                       profile.read_boolean(clAtom("a"), 1);
                       profile.read_boolean(clAtom("b"), 0);
                     }),
            "  (a true)\n  (b false)\n");
}

TEST_F(Questions, ReadStringGivesTheTextOfStringsAndAtoms) {
  std::unique_ptr<Profiler> profile = profile_of("(a \"two words\") (b word)");
  EXPECT_STREQ(profile->read_string(clAtom("a"), nullptr), "two words");
  EXPECT_STREQ(profile->read_string(clAtom("b"), nullptr), "word");
  const char* const fallback = "fallback";
  EXPECT_EQ(profile->read_string(clAtom("c"), fallback), fallback);
}

TEST_F(Questions, ReadStringRecordsItsDefaultAsItIs) {
  EXPECT_EQ(recorded("",
                     [](const Profiler& profile) {
                       profile.read_string(clAtom("a"), "say \"x\"\\");
                       profile.read_string(clAtom("b"), "");
                       profile.read_string(clAtom("c"), nullptr);
                     }),
            "  (a \"say \"x\"\\\")\n  (b \"\")\n;  (c NULL)\t\tno string\n");
}

TEST_F(Questions, ReadAtomGivesTheValueItself) {
  std::unique_ptr<Profiler> profile = profile_of("(a word)");
  EXPECT_EQ(shown(profile->read_atom(clAtom("a"), nullptr)), "word");
  EXPECT_EQ(profile->read_atom(clAtom("b"), nullptr), nullptr);
}

TEST_F(Questions, ReadAtomRecordsItsDefault) {
  EXPECT_EQ(recorded("",
                     [](const Profiler& profile) {
                       clAtom fallback("word");
                       EXPECT_EQ(profile.read_atom(clAtom("a"), &fallback), &fallback);
                       profile.read_atom(clAtom("b"), nullptr);
                     }),
            "  (a word)\n;  (b nil)\t\tno atom\n");
}

TEST_F(Questions, ReadFrameGivesTheValueItself) {
  std::unique_ptr<Profiler> profile = profile_of("[a (b 1)] (c [d (e 2)])");
  EXPECT_EQ(shown(profile->read_frame(clAtom("a"), nullptr)), "a{b=1}");
  EXPECT_EQ(shown(profile->read_frame(clAtom("c"), nullptr)), "d{e=2}");
  EXPECT_EQ(profile->read_frame(clAtom("x"), nullptr), nullptr);
}

TEST_F(Questions, ReadFrameRecordsTheSlotsOfItsDefault) {
  EXPECT_EQ(recorded("",
                     [](const Profiler& profile) {
                       Frame fallback(kvistrstream("(f (x 1) (y (2 3)))"));
                       EXPECT_EQ(profile.read_frame(clAtom("a"), &fallback), &fallback);
                       Frame empty(kvistrstream("(f)"));
                       profile.read_frame(clAtom("b"), &empty);
                       profile.read_frame(clAtom("c"), nullptr);
                     }),
            "  [a\n\t(x 1)\n\t(y (2 3))\n]\n  [b\n]\n;  (c nil)\t\tno frame\n");
}

TEST_F(Questions, ReadListGivesTheValueItself) {
  std::unique_ptr<Profiler> profile = profile_of("(a 1 2) (b (1)) (c 5)");
  EXPECT_EQ(shown(profile->read_list(clAtom("a"), nullptr)), "<1 2>");
  EXPECT_EQ(shown(profile->read_list(clAtom("b"), nullptr)), "<1>");
  EXPECT_EQ(shown(profile->read_list(clAtom("c"), nullptr)), "5");
  EXPECT_EQ(profile->read_list(clAtom("x"), nullptr), nullptr);
}

TEST_F(Questions, ReadListRecordsItsDefault) {
  EXPECT_EQ(recorded("",
                     [](const Profiler& profile) {
                       const Tree<Sequence> fallback(Use_Queue_List().make());
                       fallback->insert(new Integer(1));
                       fallback->insert(new clString("x"));
                       EXPECT_EQ(profile.read_list(clAtom("a"), fallback.get()), fallback.get());
                       profile.read_list(clAtom("b"), nullptr);
                     }),
            "  (a (1 \"x\"))\n;  (b nil)\t\tno list\n");
}

TEST_F(Questions, OfTheWrongTypeCountAsMissing) {
  std::unique_ptr<Profiler> profile = profile_of("(a text) (b 5) (c (1 2)) [d]");
  for (const char* name : {"a", "c", "d"}) EXPECT_EQ(profile->read_int(clAtom(name), 7), 7) << name;
  for (const char* name : {"a", "c", "d"}) EXPECT_EQ(profile->read_double(clAtom(name), 7), 7) << name;
  for (const char* name : {"b", "c", "d"}) EXPECT_STREQ(profile->read_string(clAtom(name), "x"), "x") << name;
}

__attribute__((no_sanitize("null"), noinline)) void ask_without_a_name(const Profiler& profile, const clAtom* none) {
  EXPECT_EQ(profile.read_int(*none, 7), 7);
  EXPECT_EQ(profile.read_list(*none, nullptr), nullptr);
}

TEST_F(Questions, WithoutANameRecordTheMarker) {
  EXPECT_EQ(recorded("", [](const Profiler& profile) { ask_without_a_name(profile, nullptr); }),
            "  (/\\/ | \\__ 7)\n;  (/\\/ | \\__ nil)\t\tno list\n");
}

using ReadStream = ProfileTest;

TEST_F(ReadStream, IsOnTheFileOfTheSetting) {
  const std::string log = folder_ / "log";
  std::unique_ptr<Profiler> profile = profile_of("(log \"" + log + "\")");
  const std::unique_ptr<kvostream> stream(read_stream(*profile, clAtom("log")));
  *stream << "text" << kvendl;
  EXPECT_EQ(content_of(log), "text\n");
}

TEST_F(ReadStream, IsOnTheNullDeviceWithoutTheSetting) {
  EXPECT_EQ(recorded("",
                     [](const Profiler& profile) {
                       const std::unique_ptr<kvostream> stream(read_stream(profile, clAtom("log")));
                       *stream << "text" << kvendl;
                       EXPECT_FALSE(stream->failed());
                     }),
            "  (log \"/dev/null\")\n");
}

TEST_F(ReadStream, OnStandardOutputLeavesItOpen) {
  std::unique_ptr<Profiler> profile = profile_of("(log \"-\") (other \"--\")");
  const Child_Result child = run_child([&] {
    for (int i = 0; i < 2; ++i) {
      const std::unique_ptr<kvostream> stream(read_stream(*profile, clAtom("log")));
      *stream << "text" << kvendl;
    }
  });
  EXPECT_EQ(child.out, "text\ntext\n");
}

using GetEnv = ProfileTest;

TEST_F(GetEnv, TakesTheSettingBeforeTheVariableBeforeTheDefault) {
  std::unique_ptr<Profiler> profile = profile_of("(KVTEST_A \"setting\")");
  setenv("KVTEST_A", "variable", 1);
  setenv("KVTEST_B", "variable", 1);
  unsetenv("KVTEST_C");
  EXPECT_STREQ(get_env(*profile, "KVTEST_A", "default"), "setting");
  EXPECT_STREQ(get_env(*profile, "KVTEST_B", "default"), "variable");
  EXPECT_STREQ(get_env(*profile, "KVTEST_C", "default"), "default");
  EXPECT_EQ(get_env(*profile, "KVTEST_C", nullptr), nullptr);
}

TEST_F(GetEnv, RecordsTheVariableAsDefault) {
  EXPECT_EQ(recorded("",
                     [](const Profiler& profile) {
                       setenv("KVTEST_A", "variable", 1);
                       unsetenv("KVTEST_B");
                       get_env(profile, "KVTEST_A", "default");
                       get_env(profile, "KVTEST_B", "default");
                     }),
            "  (KVTEST_A \"variable\")\n  (KVTEST_B \"default\")\n");
}

TEST(BaseName, IsWhatFollowsTheLastSlash) {
  EXPECT_STREQ(base_name("com.pro"), "com.pro");
  EXPECT_STREQ(base_name("/a/b/com.pro"), "com.pro");
  EXPECT_STREQ(base_name("a/"), "");
  EXPECT_STREQ(base_name(""), "");
}

}  // namespace
}  // namespace kvtest
