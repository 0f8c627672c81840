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
class LoadKey : public SaveKey {
 protected:
  DWORD load(HKEY key, std::u16string_view path, const std::string& file) {
    return entries().KvIRegLoadKey(key, win(path).data(), win(std::u16string(file.begin(), file.end())).data(),
                                   nullptr);
  }
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

TEST_F(LoadKey, PutsASavedKeyInThePlaceOfAnother) {
  set_value(base, u"v", REG_BINARY, "x");
  close_key(made(u"sub"));
  ASSERT_EQ(save(folder / "saved"), 0u);
  HKEY other = made(u"other");
  set_value(other, u"old", REG_BINARY, "y");
  EXPECT_EQ(load(base, u"other", folder / "saved"), 0u);
  EXPECT_EQ(value_names(other), Names{u"v"});
  EXPECT_EQ(sub_keys(other), Names{u"sub"});
  EXPECT_EQ(load(base, u"new", folder / "saved"), 0u);
  EXPECT_EQ(sub_keys(base), (Names{u"new", u"other", u"sub"}));
  close_key(other);
}

TEST_F(LoadKey, RestoresAKeyItself) {
  set_value(base, u"v", REG_BINARY, "x");
  ASSERT_EQ(save(folder / "saved"), 0u);
  set_value(base, u"v", REG_BINARY, "newer");
  set_value(base, u"w", REG_BINARY, "y");
  EXPECT_EQ(load(base, u"", folder / "saved"), 0u);
  EXPECT_EQ(value_names(base), Names{u"v"});
  EXPECT_EQ(value_of(base, u"v").data, "x");
}

TEST_F(LoadKey, FilesThatAreNoneAreTold) {
  EXPECT_EQ(load(base, u"k", folder / "missing"), 2u);
  std::filesystem::create_directory(folder / "folder");
  EXPECT_EQ(load(base, u"k", folder / "folder"), 1017u);
  ASSERT_EQ(save(folder / "saved"), 0u);
  std::filesystem::resize_file(folder / "saved", 8192);
  EXPECT_EQ(load(base, u"k", folder / "saved"), 1009u);
  EXPECT_EQ(sub_keys(base), Names{});
}

TEST_F(LoadKey, NeedsTheRightsToSetValuesAndToCreateSubKeys) {
  ASSERT_EQ(save(folder / "saved"), 0u);
  for (DWORD access : {DWORD(KEY_READ), DWORD(KEY_SET_VALUE), DWORD(KEY_CREATE_SUB_KEY)}) {
    HKEY key = made(u"k", access);
    EXPECT_EQ(load(key, u"", folder / "saved"), 5u);
    EXPECT_EQ(load(key, u"sub", folder / "saved"), 5u);
    close_key(key);
  }
  EXPECT_EQ(load(reinterpret_cast<HKEY>(0x1234), u"", folder / "saved"), 6u);
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
