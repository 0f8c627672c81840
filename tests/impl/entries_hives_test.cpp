// Entries for rights and whole hives over a service of the test's own.
#include "tests/impl/scripted_service.h"

namespace {

using namespace kvtest;

class EntriesForHives : public Entries_Test {};

TEST_F(EntriesForHives, EachRightsEntryChangesItsOwnProperty) {
  EXPECT_EQ(KvIRegUxChmod(key, win(u"k").data(), 0640, nullptr), 0u);
  EXPECT_EQ(scripted.rights, (std::vector<int>{0640, -1, -1}));
  EXPECT_EQ(scripted.path, u"k");
  EXPECT_EQ(KvIRegUxChown(key, nullptr, 12, nullptr), 0u);
  EXPECT_EQ(scripted.rights, (std::vector<int>{-1, 12, -1}));
  EXPECT_EQ(scripted.path, u"");
  EXPECT_EQ(KvIRegUxChgrp(key, nullptr, 34, nullptr), 0u);
  EXPECT_EQ(scripted.rights, (std::vector<int>{-1, -1, 34}));
}

TEST_F(EntriesForHives, ModeBeyondThePermissionBitsIs87) {
  EXPECT_EQ(KvIRegUxChmod(key, nullptr, 010000, nullptr), 87u);
  EXPECT_TRUE(scripted.rights.empty());
}

TEST_F(EntriesForHives, DescriptionGivesWhatIsAskedFor) {
  unsigned mode = 0, owner = 0, group = 0;
  EXPECT_EQ(KvIRegUxDescribeKey(key, nullptr, &mode, &owner, &group, nullptr), 0u);
  EXPECT_EQ(mode, 0640u);
  EXPECT_EQ(owner, 12u);
  EXPECT_EQ(group, 34u);
  EXPECT_EQ(KvIRegUxDescribeKey(key, nullptr, nullptr, nullptr, nullptr, nullptr), 0u);
}

TEST_F(EntriesForHives, FileNamesGoThroughTheCodePage) {
  EXPECT_EQ(KvIRegSaveKey(key, win(u"/t\u00e9/f").data(), nullptr, nullptr), 0u);
  EXPECT_EQ(scripted.file_name, "/t\xC3\xA9/f");
}

TEST_F(EntriesForHives, SaveWithoutAFileOrWithATooLongOneIs87) {
  EXPECT_EQ(KvIRegSaveKey(key, nullptr, nullptr, nullptr), 87u);
  EXPECT_EQ(KvIRegSaveKey(key, win(u"").data(), nullptr, nullptr), 87u);
  EXPECT_EQ(KvIRegSaveKey(key, win(std::u16string(4096, u'f')).data(), nullptr, nullptr), 87u);
  EXPECT_EQ(scripted.file_name, "(not asked)");
}

TEST_F(EntriesForHives, LoadHandsOnThePathAndTheFileName) {
  EXPECT_EQ(KvIRegLoadKey(key, win(u"a\\b").data(), win(u"/t\u00e9/f").data(), nullptr), 0u);
  EXPECT_EQ(scripted.file_name, "/t\xC3\xA9/f");
  EXPECT_EQ(scripted.path, u"a\\b");
  EXPECT_EQ(KvIRegLoadKey(key, nullptr, win(u"/f").data(), nullptr), 0u);
  EXPECT_EQ(scripted.path, u"");
}

TEST_F(EntriesForHives, LoadWithoutAFileOrWithATooLongOneIs87) {
  EXPECT_EQ(KvIRegLoadKey(key, win(u"k").data(), nullptr, nullptr), 87u);
  EXPECT_EQ(KvIRegLoadKey(key, win(u"k").data(), win(u"").data(), nullptr), 87u);
  EXPECT_EQ(KvIRegLoadKey(key, win(u"k").data(), win(std::u16string(4096, u'f')).data(), nullptr), 87u);
  EXPECT_EQ(scripted.file_name, "(not asked)");
}

TEST_F(EntriesForHives, BackupHandsThePathOnAsItStands) {
  char path[] = "/tmp/b\xFF";
  EXPECT_EQ(KvIRegBackup(path, nullptr), 0);
  EXPECT_EQ(scripted.file_name, "/tmp/b\xFF");
  EXPECT_EQ(KvIRegBackup(nullptr, nullptr), 87);
  EXPECT_EQ(KvIRegBackup("", nullptr), 87);
}

TEST_F(EntriesForHives, UsersImageFollowsTheSizeRules) {
  scripted.image = {1, 2, 3};
  BYTE image[4] = {9, 9, 9, 9};
  DWORD size = 0;
  EXPECT_EQ(KvIRegGetHKCU(nullptr, &size, nullptr), 0u);
  EXPECT_EQ(size, 3u);
  size = 2;
  EXPECT_EQ(KvIRegGetHKCU(image, &size, nullptr), 234u);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(image[0], 9);
  size = 4;
  EXPECT_EQ(KvIRegGetHKCU(image, &size, nullptr), 0u);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ((std::vector<BYTE>(image, image + 4)), (std::vector<BYTE>{1, 2, 3, 9}));
  EXPECT_EQ(KvIRegGetHKCU(image, nullptr, nullptr), 87u);
}

TEST_F(EntriesForHives, ImageAtTheEndIsTheCallersToDelete) {
  scripted.image = {1, 2, 3};
  BYTE* image = nullptr;
  int size = 0;
  EXPECT_EQ(KvIRegProcessEnding(&image, &size, 0), 0u);
  ASSERT_EQ(size, 3);
  EXPECT_EQ((std::vector<BYTE>(image, image + 3)), (std::vector<BYTE>{1, 2, 3}));
  delete[] image;
}

TEST_F(EntriesForHives, NoImageAtTheEndIsANullImageOfNoBytes) {
  BYTE byte = 0;
  BYTE* image = &byte;
  int size = 99;
  EXPECT_EQ(KvIRegProcessEnding(&image, &size, 0), 0u);
  EXPECT_EQ(image, nullptr);
  EXPECT_EQ(size, 0);
  EXPECT_EQ(KvIRegProcessEnding(nullptr, &size, 0), 87u);
  EXPECT_EQ(KvIRegProcessEnding(&image, nullptr, 0), 87u);
}

TEST_F(EntriesForHives, FailureAtTheEndLeavesTheOutputs) {
  scripted.code = ERROR_BUSY;
  BYTE* image = nullptr;
  int size = 99;
  EXPECT_EQ(KvIRegProcessEnding(&image, &size, 0), 170u);
  EXPECT_EQ(image, nullptr);
  EXPECT_EQ(size, 99);
}

}  // namespace
