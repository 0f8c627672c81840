// What a profile leaves on its stream, question by question, also where no file names one.
#include <gtest/gtest.h>

#include <sys/mount.h>

#include <fstream>
#include <sstream>

#include "parselib/profile.h"
#include "parselib/set_from_profile.h"
#include "parselib/slots_filter.h"
#include "tests/parselib/reading.h"
#include "tests/support/child.h"
#include "tests/support/own_mounts.h"

namespace kvtest {
namespace {

std::string content_of(const std::string& file) {
  std::stringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

// A profile whose lines go to a file, without a user's copy.
class Recorded : public testing::Test {
 protected:
  Recorded() : old_home_(getenv("HOME") != nullptr ? getenv("HOME") : "") {
    setenv("HOME", (folder_ / "nowhere").c_str(), 1);
    std::ofstream(folder_ / "my.pro") << "(my (profile-defaults-file \"" << (folder_ / "lines") << "\")\n"
                                      << "(number 5) (list 1 2) [frame (x 1)] (word text))";
    profile_ = std::make_unique<Profiler>((folder_ / "my.pro").c_str());
  }
  ~Recorded() override { setenv("HOME", old_home_.c_str(), 1); }

  // The lines so far, without the first; each question must be there as soon as it is answered.
  std::string lines() const { return content_of(folder_ / "lines").substr(4); }

  Temp_Folder folder_;
  std::unique_ptr<Profiler> profile_;

 private:
  const std::string old_home_;
};

TEST_F(Recorded, EveryQuestionIsWrittenOutAtOnce) {
  profile_->read_int(clAtom("a"), 1);
  EXPECT_EQ(lines(), "  (a 1)\n");
  profile_->read_double(clAtom("b"), 0.5);
  EXPECT_EQ(lines(), "  (a 1)\n  (b 0.5)\n");
  profile_->read_boolean(clAtom("c"), 0);
  EXPECT_EQ(lines(), "  (a 1)\n  (b 0.5)\n  (c false)\n");
  profile_->read_string(clAtom("d"), "x");
  EXPECT_EQ(lines(), "  (a 1)\n  (b 0.5)\n  (c false)\n  (d \"x\")\n");
  profile_->read_atom(clAtom("e"), nullptr);
  EXPECT_EQ(lines(), "  (a 1)\n  (b 0.5)\n  (c false)\n  (d \"x\")\n;  (e nil)\t\tno atom\n");
}

TEST_F(Recorded, QuestionsWithoutADefaultAreWrittenOutAtOnce) {
  profile_->read_string(clAtom("a"), nullptr);
  EXPECT_EQ(lines(), ";  (a NULL)\t\tno string\n");
  profile_->read_list(clAtom("b"), nullptr);
  EXPECT_EQ(lines(), ";  (a NULL)\t\tno string\n;  (b nil)\t\tno list\n");
  profile_->read_frame(clAtom("c"), nullptr);
  EXPECT_EQ(lines(), ";  (a NULL)\t\tno string\n;  (b nil)\t\tno list\n;  (c nil)\t\tno frame\n");
}

TEST_F(Recorded, AFrameAsDefaultIsWrittenOutAtOnceWithTheFramesInIt) {
  Frame fallback(kvistrstream("(f (x 1) [g (y 2)])"));
  profile_->read_frame(clAtom("a"), &fallback);
  EXPECT_EQ(lines(), "  [a\n\t(x 1)\n\t[g (y 2)]\n\n]\n");
}

TEST_F(Recorded, TheDefaultIsWrittenWhereTheSettingAnswers) {
  const Tree<Sequence> list(Use_Queue_List().make());
  Frame frame(kvistrstream("(f (y 2))"));
  clAtom atom("word");
  EXPECT_EQ(profile_->read_int(clAtom("number"), 7), 5);
  EXPECT_STREQ(profile_->read_string(clAtom("word"), "x"), "text");
  EXPECT_EQ(shown(profile_->read_list(clAtom("list"), list.get())), "<1 2>");
  EXPECT_EQ(shown(profile_->read_frame(clAtom("frame"), &frame)), "frame{x=1}");
  EXPECT_EQ(shown(profile_->read_atom(clAtom("number"), &atom)), "5");
  EXPECT_EQ(lines(), "  (number 7)\n  (word \"x\")\n  (list ())\n  [frame\n\t(y 2)\n]\n  (number word)\n");
}

TEST_F(Recorded, ATrueDefaultIsAnyButZeroAndComesBackAsItIs) {
  EXPECT_EQ(profile_->read_boolean(clAtom("a"), 2), 2);
  EXPECT_EQ(lines(), "  (a true)\n");
}

TEST_F(Recorded, NumbersAreWrittenInDecimal) {
  EXPECT_EQ(profile_->read_int(clAtom("a"), -2147483647 - 1), -2147483647 - 1);
  EXPECT_EQ(profile_->read_int(clAtom("b"), 2147483647), 2147483647);
  EXPECT_EQ(lines(), "  (a -2147483648)\n  (b 2147483647)\n");
}

TEST_F(Recorded, AskingTwiceIsWrittenTwice) {
  profile_->read_int(clAtom("a"), 1);
  profile_->read_int(clAtom("a"), 2);
  EXPECT_EQ(lines(), "  (a 1)\n  (a 2)\n");
}

// What stands for /dev/null in this child is a file, whose content is printed when it was used.
Child_Result null_device_of(const std::string& file, const std::function<void()>& use) {
  return run_child([&] {
    begin_own_mounts();
    setenv("HOME", "/nowhere", 1);
    std::ofstream{file};
    if (mount(file.c_str(), "/dev/null", nullptr, MS_BIND, nullptr) != 0) give_up_on_mounts("no own null device");
    use();
    printf("%s", content_of(file).c_str());
  });
}

TEST(UnnamedDefaults, GoToTheNullDeviceAndBeginWithTheEmptyFrame) {
  Temp_Folder folder;
  const Child_Result child = null_device_of(folder / "null", [&] {
    const Profiler profile((folder / "my.pro").c_str());
    profile.read_int(clAtom("a"), 7);
  });
  if (child.exit_status == no_own_mounts) GTEST_SKIP() << child.err;
  EXPECT_EQ(child.out, "(empty\n  (a 7)\n)\n");
}

TEST(UnnamedDefaults, OfAFileThatIsNoFrameBeginWithProfile) {
  Temp_Folder folder;
  std::ofstream(folder / "my.pro") << "(my (a))";
  const Child_Result child =
      null_device_of(folder / "null", [&] { const Profiler profile((folder / "my.pro").c_str()); });
  if (child.exit_status == no_own_mounts) GTEST_SKIP() << child.err;
  EXPECT_EQ(child.out, "(profile\n)\n");
}

TEST_F(Recorded, AStreamOnAFileEmptiesIt) {
  const std::string log = folder_ / "log";
  std::ofstream(log) << "what was there before\n";
  std::ofstream(folder_ / "my.pro") << "(my (log \"" << log << "\"))";
  const Profiler profile((folder_ / "my.pro").c_str());
  const std::unique_ptr<kvostream> stream(read_stream(profile, clAtom("log")));
  *stream << "new" << kvendl;
  EXPECT_EQ(content_of(log), "new\n");
}

TEST_F(Recorded, OnlyAHyphenAloneIsStandardOutput) {
  std::ofstream(folder_ / "my.pro") << "(my (log \"--\") (other \"-x\"))";
  const Child_Result child = run_child([&] {
    if (chdir(folder_.path().c_str()) != 0) return;
    const Profiler profile("my.pro");
    for (const char* name : {"log", "other"}) {
      const std::unique_ptr<kvostream> stream(read_stream(profile, clAtom(name)));
      *stream << name << kvendl;
    }
  });
  EXPECT_EQ(child.out, "");
  EXPECT_EQ(content_of(folder_ / "--"), "log\n");
  EXPECT_EQ(content_of(folder_ / "-x"), "other\n");
}

TEST_F(Recorded, AVariableThatIsSetAndEmptyIsADefault) {
  setenv("KVTEST_EMPTY", "", 1);
  EXPECT_STREQ(get_env(*profile_, "KVTEST_EMPTY", "default"), "");
  EXPECT_EQ(lines(), "  (KVTEST_EMPTY \"\")\n");
}

TEST_F(Recorded, TheSizeOfASetIsTheSecondElementOfALongerList) {
  std::ofstream(folder_ / "my.pro") << "(my (name Open-Hash 5 9))";
  Profiler profile((folder_ / "my.pro").c_str());
  const Use_Set_Prof set(profile, clAtom("name"), nullptr);
  const auto* chosen = dynamic_cast<const Use_Open_Hash*>(&set.chosen());
  ASSERT_NE(chosen, nullptr);
  EXPECT_EQ(chosen->size(), 5);
}

// The settings are the first of a profile's fields, behind the pointer to its table of functions.
const Frame* settings_of(const Profiler& profile) {
  const Frame* settings = nullptr;
  memcpy(&settings, reinterpret_cast<const char*>(&profile) + sizeof(void*), sizeof settings);
  return settings;
}

TEST_F(Recorded, SettingsOfAFileAreAFrameOfAFile) {
  EXPECT_NE(dynamic_cast<const Frame_Of_File*>(settings_of(*profile_)), nullptr);
  EXPECT_EQ(written(*settings_of(*profile_)).substr(0, 4), "[my ");
}

TEST_F(Recorded, SettingsOfNoFileAreAFrameOfATextNamedEmpty) {
  const Profiler profile((folder_ / "missing.pro").c_str());
  EXPECT_NE(dynamic_cast<const Frame_Of_String*>(settings_of(profile)), nullptr);
  EXPECT_EQ(written(*settings_of(profile)), "[empty ]\n");
}

TEST_F(Recorded, SettingsOfAFileThatIsNoFrameHaveNoNameAndNoSlots) {
  std::ofstream(folder_ / "bad.pro") << "nonsense";
  const Profiler profile((folder_ / "bad.pro").c_str());
  EXPECT_NE(dynamic_cast<const Frame_Of_File*>(settings_of(profile)), nullptr);
  EXPECT_EQ(settings_of(profile)->get_key(), nullptr);
  EXPECT_TRUE(settings_of(profile)->slots().is_empty());
}

class Has_No_Value final : public Slot_Test {
 public:
  bool operator()(const clAtom*, const Bone* value) const override { return value == nullptr; }
};

TEST(SlotsFilter, WritesTheMarkerForAValueThatIsNotThere) {
  Sequence* const slots = Use_Queue_List().make();
  slots->insert(new Association(new clAtom("a"), new Integer(1)));
  slots->insert(new Association(new clAtom("b"), nullptr));
  const Tree<Frame> frame(new Frame(*new clAtom("f"), *slots));
  EXPECT_EQ(written(Slots_Filter(frame->slots(), Has_No_Value())), "\t(b /\\/ | \\__)\n");
}

}  // namespace
}  // namespace kvtest
