// The recursive forms over real trees.
#include <kelvane/registry_admin.h>
#include <sys/stat.h>
#include <windows.h>

#include "tests/registry_store/act.h"
#include "tests/support/ordinary_user.h"

namespace kvtest {
namespace {

// Mode, owner and group of a key; the code when it cannot be described.
std::string rights(HKEY key, const std::string& path) {
  unsigned mode = 0, owner = 0, group = 0;
  const LSTATUS result = RegUxDescribeKey(key, path.c_str(), &mode, &owner, &group);
  if (result != 0) return "code " + std::to_string(result);
  char text[100];
  snprintf(text, sizeof text, "%o %u %u", mode, owner, group);
  return text;
}

class Real_Rights : public testing::Test {
 protected:
  void SetUp() override {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    ASSERT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, name.c_str(), &base), 0);
    unsigned mode = 0;
    ASSERT_EQ(RegUxChmod(base, nullptr, 0755), 0);
    ASSERT_EQ(RegUxDescribeKey(base, nullptr, &mode, &owner, &group), 0);
    before = "755 " + std::to_string(owner) + " " + std::to_string(group);
  }
  void TearDown() override { RegCloseKey(base); }

  void make(const std::string& path) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKey(base, path.c_str(), &key), 0);
    ASSERT_EQ(RegUxChmod(key, "", 0755), 0);
    RegCloseKey(key);
  }
  std::string with_mode(const std::string& mode) const {
    return mode + " " + std::to_string(owner) + " " + std::to_string(group);
  }

  HKEY base = nullptr;
  unsigned owner = 0, group = 0;
  std::string before;
};

TEST_F(Real_Rights, ChmodRecReachesEveryKeyBelowAndNoOther) {
  const std::string tree[] = {"a", "a\\b", "a\\b\\c", "a\\b\\d", "a\\e", "a\\e\\f\\g"};
  for (const std::string& key : tree) make(key);
  make("a\\e\\f");
  make("aside\\b");
  make("aside");
  EXPECT_EQ(RegUxChmodRec(base, "a", 0700), 0);
  for (const std::string& key : tree) EXPECT_EQ(rights(base, key), with_mode("700")) << key;
  EXPECT_EQ(rights(base, "a\\e\\f"), with_mode("700"));
  for (const char* key : {"", "aside", "aside\\b"}) EXPECT_EQ(rights(base, key), before) << key;
}

TEST_F(Real_Rights, ChmodRecOfANullOrEmptyNameIsTheKeyItself) {
  make("a");
  EXPECT_EQ(RegUxChmodRec(base, nullptr, 0700), 0);
  EXPECT_EQ(rights(base, ""), with_mode("700"));
  EXPECT_EQ(rights(base, "a"), with_mode("700"));
  EXPECT_EQ(RegUxChmodRec(base, "", 0750), 0);
  EXPECT_EQ(rights(base, "a"), with_mode("750"));
}

TEST_F(Real_Rights, ChmodRecOfAMissingKeyIs2) { EXPECT_EQ(RegUxChmodRec(base, "missing", 0700), 2); }

TEST_F(Real_Rights, ChmodRecOfAnImpossibleModeIs87AndChangesNothing) {
  make("a");
  EXPECT_EQ(RegUxChmodRec(base, "a", 010000), 87);
  EXPECT_EQ(rights(base, "a"), before);
}

TEST_F(Real_Rights, NamesOfManyBytesAreWalkedLikeAnyOther) {
  std::string long_name;
  while (long_name.size() < 510) long_name += "\xc3\xa9";
  const std::string names[] = {"\xc3\xa9\xc3\xa9", "\xe4\xbd\xa0\xe5\xa5\xbd", long_name, "plain %s\n"};
  for (const std::string& name : names) make("a\\" + name + "\\" + name);
  EXPECT_EQ(RegUxChmodRec(base, "a", 0700), 0);
  for (const std::string& name : names) {
    EXPECT_EQ(rights(base, "a\\" + name), with_mode("700")) << name;
    EXPECT_EQ(rights(base, "a\\" + name + "\\" + name), with_mode("700")) << name;
  }
}

TEST_F(Real_Rights, AKeyWithASingleNameOfTwoWideLettersEnds) {
  make("a\\\xc3\xa9\xc3\xa9");
  EXPECT_EQ(RegUxChmodRec(base, "a", 0700), 0);
  EXPECT_EQ(rights(base, "a\\\xc3\xa9\xc3\xa9"), with_mode("700"));
}

TEST_F(Real_Rights, ADeepTreeIsWalkedToItsEnd) {
  constexpr int depth = 200;
  std::string path = "a";
  for (int i = 1; i < depth; ++i) path += "\\a";
  make(path);
  EXPECT_EQ(RegUxChmodRec(base, nullptr, 0700), 0);
  EXPECT_EQ(rights(base, path), with_mode("700"));
}

TEST_F(Real_Rights, ChownRecAndChgrpRecChangeOneThingEach) {
  make("a\\b");
  make("a");
  EXPECT_EQ(RegUxChownRec(base, "a", 4711), 0);
  EXPECT_EQ(rights(base, "a\\b"), "755 4711 " + std::to_string(group));
  EXPECT_EQ(RegUxChgrpRec(base, "a", 4712), 0);
  EXPECT_EQ(rights(base, "a"), "755 4711 4712");
  EXPECT_EQ(rights(base, "a\\b"), "755 4711 4712");
  EXPECT_EQ(rights(base, ""), before);
}

// A folder that an ordinary user can reach, also below a temporary directory that is closed to others.
class Open_Folder {
 public:
  Open_Folder() {
    if (mkdtemp(path_) == nullptr) throw std::runtime_error("mkdtemp");
    chmod(path_, 0777);
  }
  ~Open_Folder() { std::filesystem::remove_all(path_); }
  Open_Folder(const Open_Folder&) = delete;
  Open_Folder& operator=(const Open_Folder&) = delete;
  std::string path() const { return path_; }

 private:
  char path_[30] = "/tmp/kvtest.XXXXXX";
};

TEST(Rights_Of_A_User, AreChangedInTheUsersOwnHive) {
  const Open_Folder folder;
  const std::string id = geteuid() == 0 ? std::to_string(ordinary_id) : std::to_string(geteuid());
  const std::string group = geteuid() == 0 ? std::to_string(ordinary_id) : std::to_string(getegid());
  EXPECT_EQ(act("user , create HKCU\\a\\b , mode-rec HKCU\\a 700 , rights HKCU\\a , rights HKCU\\a\\b",
                hives_in(folder.path())),
            "0\n0\n0\n700 " + id + " " + group + "\n700 " + id + " " + group + "\n");
}

TEST(Rights_Of_A_User, AHiveThatMayNotBeWrittenIs5AndStaysAsItIs) {
  const Open_Folder folder;
  const auto environment = hives_in(folder.path());
  ASSERT_EQ(act("create HKLM\\a\\b , mode-rec HKLM\\a 755", environment), "0\n0\n");
  const std::string before = act("rights HKLM\\a\\b", environment);
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user, to whom the hive is closed";
  }
  for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
    if (entry.is_regular_file()) chmod(entry.path().c_str(), 0644);
  chmod(folder.path().c_str(), 0755);
  EXPECT_EQ(act("user , mode-rec HKLM\\a 700", environment).substr(0, 4), "0\n5\n");
  EXPECT_EQ(act("rights HKLM\\a\\b", environment), before);
}

}  // namespace
}  // namespace kvtest
