// The entries beside those of the table, through the header that looks them up, in the library as it is loaded.
#include <kelvane/optional.h>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

struct Told {
  HKEY root;
  std::string file;
  DWORD code;
};

void note_hive(void* told, const KvBatchHive* hive) {
  static_cast<std::vector<Told>*>(told)->push_back({hive->root, hive->file, hive->code});
}

class Optional : public Store_Test {
 protected:
  void SetUp() override {
    Store_Test::SetUp();
    before_ = KvIRegFunctions[5];
    KvIRegFunctions[5].entry = reinterpret_cast<void*>(entries().KvIRegOpenKeyEx);
  }
  void TearDown() override {
    KvAbandonBatch();
    KvIRegFunctions[5] = before_;
    Store_Test::TearDown();
  }

  KvIRegFunction before_{};
};

TEST_F(Optional, IsNotImplementedWhereTheTableIsNotBound) {
  KvIRegFunctions[5].entry = nullptr;
  SetLastError(7);
  EXPECT_EQ(KvBeginBatch(), 120);
  EXPECT_EQ(KvCommitBatch(nullptr, nullptr), 120);
  EXPECT_EQ(KvAbandonBatch(), 120);
  EXPECT_EQ(KvUnLoadKey(base, L"k"), 120);
  EXPECT_EQ(KvRenameKey(base, L"k", L"l"), 120);
  EXPECT_EQ(KvCheckKey(base, nullptr, nullptr, nullptr), 120);
  EXPECT_EQ(KvCheckHiveFile("/f", nullptr, nullptr, nullptr), 120);
  EXPECT_EQ(GetLastError(), 7u);
}

TEST_F(Optional, BatchesAreKeptAndTellTheirHives) {
  SetLastError(7);
  EXPECT_EQ(KvBeginBatch(), 0);
  EXPECT_EQ(KvBeginBatch(), 6702);
  EXPECT_EQ(set_value(base, u"v", REG_BINARY, "abc"), 0u);
  EXPECT_EQ(set_value(HKEY_CURRENT_USER, u"optional", REG_BINARY, "abc"), 0u);
  std::vector<Told> told;
  EXPECT_EQ(KvCommitBatch(&note_hive, &told), 0);
  ASSERT_EQ(told.size(), 2u);
  EXPECT_EQ(told[0].root, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(std::filesystem::path(told[0].file).filename(), "hklm.hive");
  EXPECT_EQ(told[0].code, 0u);
  EXPECT_EQ(told[1].root, HKEY_CURRENT_USER);
  EXPECT_EQ(told[1].code, 0u);
  EXPECT_EQ(KvCommitBatch(nullptr, nullptr), 6701);
  EXPECT_EQ(KvAbandonBatch(), 6701);
  EXPECT_EQ(GetLastError(), 7u);
  EXPECT_EQ(value_of(base, u"v").data, "abc");
  delete_value(HKEY_CURRENT_USER, u"optional");
}

TEST_F(Optional, BatchesThatAreAbandonedLeaveNothing) {
  EXPECT_EQ(KvBeginBatch(), 0);
  HKEY child = made(u"child");
  EXPECT_EQ(set_value(child, u"v", REG_BINARY, "abc"), 0u);
  EXPECT_EQ(value_of(child, u"v").data, "abc");
  EXPECT_EQ(KvAbandonBatch(), 0);
  EXPECT_EQ(value_of(child, u"v").code, 1018u);
  EXPECT_EQ(sub_keys(base), Names{});
  EXPECT_EQ(close_key(child), 0u);
}

TEST_F(Optional, ImageAndWatchAre6702InABatch) {
  EXPECT_EQ(KvBeginBatch(), 0);
  DWORD size = 0;
  EXPECT_EQ(entries().KvIRegGetHKCU(nullptr, &size, nullptr), 6702u);
  EXPECT_EQ(entries().KvIRegNotifyChangeKeyValue(base, FALSE, REG_NOTIFY_CHANGE_NAME, nullptr, FALSE, nullptr), 6702u);
}

TEST_F(Optional, RenamingFollowsItsCodes) {
  close_key(made(u"a"));
  close_key(made(u"b"));
  EXPECT_EQ(KvRenameKey(base, L"a", L"c"), 0);
  EXPECT_EQ(sub_keys(base), (Names{u"b", u"c"}));
  EXPECT_EQ(KvRenameKey(base, L"c", L"B"), 183);
  EXPECT_EQ(KvRenameKey(base, L"none", L"d"), 2);
  EXPECT_EQ(KvRenameKey(base, L"c", nullptr), 87);
  EXPECT_EQ(KvRenameKey(base, L"c", L""), 87);
  EXPECT_EQ(KvRenameKey(HKEY_LOCAL_MACHINE, nullptr, L"d"), 5);
  HKEY c = made(u"c", KEY_READ);
  EXPECT_EQ(KvRenameKey(c, nullptr, L"d"), 5);
  close_key(c);
  c = made(u"c");
  EXPECT_EQ(KvRenameKey(c, nullptr, L"d\u00e9"), 0);
  close_key(c);
  EXPECT_EQ(sub_keys(base), (Names{u"b", u"d\u00e9"}));
}

TEST_F(Optional, UnloadingTakesBackWhatLoadingHasMade) {
  const std::string file = testing::TempDir() + "optional_" + std::to_string(getpid()) + ".hive";
  HKEY source = made(u"source\\below");
  const std::u16string name(file.begin(), file.end());
  EXPECT_EQ(entries().KvIRegSaveKey(source, win(name).data(), nullptr, nullptr), 0u);
  close_key(source);
  EXPECT_EQ(entries().KvIRegLoadKey(base, win(u"loaded").data(), win(name).data(), nullptr), 0u);
  EXPECT_EQ(KvUnLoadKey(base, L"loaded"), 0);
  EXPECT_EQ(KvUnLoadKey(base, L"loaded"), 2);
  EXPECT_EQ(KvUnLoadKey(base, L"source"), 87);
  EXPECT_EQ(sub_keys(base), (Names{u"source"}));
  KvHiveCounts counts{};
  EXPECT_EQ(KvCheckHiveFile(file.c_str(), &counts, nullptr, nullptr), 0);
  EXPECT_EQ(counts.keys, 1u);
  EXPECT_EQ(counts.values, 0u);
  std::filesystem::remove(file);
  EXPECT_EQ(KvCheckHiveFile(file.c_str(), &counts, nullptr, nullptr), 2);
  EXPECT_EQ(KvCheckHiveFile(nullptr, &counts, nullptr, nullptr), 87);
}

BOOL count_fault(void* count, const KvHiveFault*) {
  ++*static_cast<int*>(count);
  return TRUE;
}

TEST_F(Optional, AGoodHiveIsCountedAndHasNoFault) {
  EXPECT_EQ(set_value(base, u"v", REG_BINARY, "abc"), 0u);
  KvHiveCounts before{};
  int faults = 0;
  EXPECT_EQ(KvCheckKey(base, &before, &count_fault, &faults), 0);
  EXPECT_EQ(set_value(base, u"w", REG_BINARY, "abcd"), 0u);
  close_key(made(u"lasting"));
  close_key(made(u"volatile", KEY_ALL_ACCESS, REG_OPTION_VOLATILE));
  KvHiveCounts after{};
  EXPECT_EQ(KvCheckKey(base, &after, &count_fault, &faults), 0);
  EXPECT_EQ(faults, 0);
  EXPECT_EQ(after.faults, 0u);
  EXPECT_EQ(after.keys, before.keys + 2);
  EXPECT_EQ(after.volatile_keys, before.volatile_keys + 1);
  EXPECT_EQ(after.values, before.values + 1);
  EXPECT_EQ(after.data_size, before.data_size + 4);
  EXPECT_EQ(KvCheckKey(HKEY(0x12345), &after, nullptr, nullptr), 6);
}

}  // namespace
