// A key saved into a file of its own: a hive that another program can use as its machine's.
#include <filesystem>

#include "tests/store/act.h"
#include "tests/store/store_test.h"

namespace kvtest {
namespace {

namespace fs = std::filesystem;

class Saved_Keys : public Store_Test {
 protected:
  void SetUp() override {
    Store_Test::SetUp();
    ASSERT_EQ(set_value(key, "top", REG_SZ, "t\0"s), 0);
    ASSERT_EQ(set_value(created(key, "a\\b"), "deep", REG_SZ, std::string(2000, 'd') + '\0'), 0);
    ASSERT_NE(created(key, "passing", REG_OPTION_VOLATILE), nullptr);
  }
  std::string file() const { return folder_ / "saved.hive"; }
  // A program that has the file itself, whatever the mode of this one.
  std::vector<std::string> with_file() const { return {"KVREGISTRY=" + file(), "KVREGISTRY_MODE"}; }

 private:
  Temp_Folder folder_;
};

TEST_F(Saved_Keys, AreAHiveOfTheirOwn) {
  ASSERT_EQ(RegSaveKey(key, file().c_str(), nullptr), 0);
  EXPECT_TRUE(answered(
      act({{"get", "HKLM", "top"}, {"get", "HKLM\\a\\b", "deep"}, {"set", "HKLM\\a\\b", "n", "x"}}, with_file()),
      "0 t\n0 " + std::string(2000, 'd') + "\n0\n"));
}

TEST_F(Saved_Keys, AreAsTheyWereWhenSaved) {
  ASSERT_EQ(RegSaveKey(key, file().c_str(), nullptr), 0);
  ASSERT_EQ(set_value(key, "top", REG_SZ, "later\0"s), 0);
  EXPECT_TRUE(answered(act({{"get", "HKLM", "top"}}, with_file()), "0 t\n"));
}

TEST_F(Saved_Keys, NeverReplaceAFile) {
  write_file(file(), "something else");
  EXPECT_EQ(RegSaveKey(key, file().c_str(), nullptr), 183);
  EXPECT_EQ(content_of(file()), "something else");
}

TEST_F(Saved_Keys, ThatAreGoneAre1018AndMakeNoFile) {
  Key gone = created(key, "gone");
  ASSERT_EQ(RegDeleteKey(key, "gone"), 0);
  EXPECT_EQ(RegSaveKey(gone, file().c_str(), nullptr), 1018);
  EXPECT_FALSE(fs::exists(file()));
}

TEST_F(Saved_Keys, IntoAMissingFolderFailAndMakeNothing) {
  EXPECT_NE(RegSaveKey(key, (file() + "/no/such").c_str(), nullptr), 0);
  EXPECT_FALSE(fs::exists(file()));
}

}  // namespace
}  // namespace kvtest
