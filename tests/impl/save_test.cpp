// Saving keys and backing hives up over the store.
#include "tests/impl/module.h"
#include "tests/support/child.h"

namespace {

using namespace kvtest;

class SaveKey : public Store_Test {
 protected:
  DWORD save(const std::string& file) {
    return entries().KvIRegSaveKey(base, win(std::u16string(file.begin(), file.end())).data(), nullptr, nullptr);
  }
  Temp_Folder folder;
};
class Backup : public SaveKey {};

TEST_F(SaveKey, MakesANewFileAndNeverReplacesOne) {
  set_value(base, u"v", REG_BINARY, "x");
  EXPECT_EQ(save(folder / "saved"), 0u);
  EXPECT_GT(std::filesystem::file_size(folder / "saved"), 0u);
  EXPECT_EQ(save(folder / "saved"), 183u);
}

TEST_F(SaveKey, WithoutAFileIs87) {
  EXPECT_EQ(entries().KvIRegSaveKey(base, nullptr, nullptr, nullptr), 87u);
  EXPECT_EQ(save(""), 87u);
}

TEST_F(SaveKey, IntoAMissingFolderIsAnErrorAndMakesNothing) {
  EXPECT_NE(save(folder / "no/such/folder/file"), 0u);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(Backup, HoldsTheMachineHive) {
  set_value(base, u"v", REG_BINARY, "x");
  EXPECT_EQ(entries().KvIRegBackup((folder / "backup").c_str(), nullptr), 0);
  EXPECT_TRUE(std::filesystem::exists(folder / "backup/machine.hive"));
}

TEST_F(Backup, IntoAFileIsAnError) {
  ASSERT_EQ(save(folder / "file"), 0u);
  EXPECT_NE(entries().KvIRegBackup((folder / "file").c_str(), nullptr), 0);
}

TEST_F(Backup, WithoutAPathIs87) {
  EXPECT_EQ(entries().KvIRegBackup(nullptr, nullptr), 87);
  EXPECT_EQ(entries().KvIRegBackup("", nullptr), 87);
}

}  // namespace
