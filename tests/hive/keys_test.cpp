#include <ctime>

#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Keys : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key root = root_of(*registry);
};

TEST_F(Keys, WhatWasMadeIsFoundByAnotherRegistryOnTheSameFile) {
  Key key = make_key(*registry, root, u"Software\\Acme\\Editor");
  ASSERT_EQ(put(*registry, key, u"Size", "12"), Status::ok);
  registry.reset();
  registry = registry_on(folder.path());
  Key again;
  ASSERT_EQ(registry->open(root_of(*registry), u"software\\ACME\\editor", &again), Status::ok);
  EXPECT_EQ(get(*registry, again, u"size"), "12");
}

TEST_F(Keys, CreatingTellsWhetherTheLastPartWasMade) {
  Key key;
  bool created = false;
  EXPECT_EQ(registry->create(root, u"a\\b", {}, &key, &created), Status::ok);
  EXPECT_TRUE(created);
  EXPECT_EQ(registry->create(root, u"A\\B", {}, &key, &created), Status::ok);
  EXPECT_FALSE(created);
}

TEST_F(Keys, ClassStandsOnTheLastPartOnlyAndIsKept) {
  make_key(*registry, root, u"a\\b", {.class_name = u"First"});
  Key again = make_key(*registry, root, u"a\\b", {.class_name = u"Second"});
  char16_t text[20];
  hive::Text_Out class_name{text, 20, 0};
  hive::Key_Counts counts;
  ASSERT_EQ(registry->info(again, &class_name, &counts), Status::ok);
  EXPECT_EQ(std::u16string(text, class_name.length), u"First");
  Key parent;
  ASSERT_EQ(registry->open(root, u"a", &parent), Status::ok);
  ASSERT_EQ(registry->info(parent, &class_name, &counts), Status::ok);
  EXPECT_EQ(class_name.length, 0u);
  EXPECT_EQ(counts.max_class_units, 5u);
}

TEST_F(Keys, AnEmptyPathIsTheKeyItself) {
  Key key = make_key(*registry, root, u"a");
  Key same;
  bool created = true;
  EXPECT_EQ(registry->open(key, u"", &same), Status::ok);
  EXPECT_EQ(registry->create(key, u"\\", {}, &same, &created), Status::ok);
  EXPECT_FALSE(created);
  ASSERT_EQ(put(*registry, same, u"v", "x"), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "x");
}

TEST_F(Keys, NamesMayHave256UnitsAndNoMore) {
  Key key;
  EXPECT_EQ(create(*registry, root, std::u16string(256, u'n'), &key), Status::ok);
  EXPECT_EQ(create(*registry, root, std::u16string(257, u'n'), &key), Status::invalid);
  EXPECT_EQ(create(*registry, root, u"ok\\" + std::u16string(257, u'n'), &key), Status::invalid);
  EXPECT_EQ(registry->open(root, std::u16string(257, u'n'), &key), Status::invalid);
  EXPECT_EQ(key_names(*registry, root), Names{std::u16string(256, u'n')});
}

TEST_F(Keys, KeysStandUpTo512DeepAndNoDeeper) {
  std::u16string path;
  for (int i = 0; i < 512; ++i) path += u"d\\";
  Key key;
  EXPECT_EQ(create(*registry, root, path, &key), Status::ok);
  Key deeper;
  EXPECT_EQ(create(*registry, key, u"e", &deeper), Status::invalid);
  EXPECT_EQ(create(*registry, root, path + u"e", &deeper), Status::invalid);
  EXPECT_EQ(key_names(*registry, key), Names{});
}

TEST_F(Keys, ClassesMayHave16383UnitsAndNoMore) {
  Key key;
  EXPECT_EQ(create(*registry, root, u"a", &key, {.class_name = std::u16string(16384, u'c')}), Status::invalid);
  std::u16string longest(16383, u'c');
  EXPECT_EQ(create(*registry, root, u"a", &key, {.class_name = longest}), Status::ok);
  EXPECT_EQ(counts_of(*registry, root).max_class_units, 16383u);
}

TEST_F(Keys, NamesIgnoreCaseOutsideLatinToo) {
  make_key(*registry, root, u"Ключ ÄÖ");
  Key key;
  EXPECT_EQ(registry->open(root, u"кЛЮЧ äö", &key), Status::ok);
  EXPECT_EQ(key_names(*registry, root), Names{u"Ключ ÄÖ"});
}

TEST_F(Keys, LoneSurrogatesAndZerosInNamesStay) {
  std::u16string name = u"a\xDCFF";
  name += u'\0';
  name += u"z";
  make_key(*registry, root, name);
  EXPECT_EQ(key_names(*registry, root), Names{name});
}

TEST_F(Keys, RemovingAsksForAnEmptyKey) {
  make_key(*registry, root, u"a\\b");
  EXPECT_EQ(registry->remove(root, u"a"), Status::has_children);
  EXPECT_EQ(registry->remove(root, u"a\\b"), Status::ok);
  EXPECT_EQ(registry->remove(root, u"a\\b"), Status::not_found);
  EXPECT_EQ(registry->remove(root, u"a"), Status::ok);
  EXPECT_EQ(key_names(*registry, root), Names{});
}

TEST_F(Keys, AnEmptyPathRemovesTheKeyItselfAndARootIsRefused) {
  Key key = make_key(*registry, root, u"a");
  ASSERT_EQ(put(*registry, key, u"v", std::string(5000, 'x')), Status::ok);
  EXPECT_EQ(registry->remove(key, u""), Status::ok);
  EXPECT_EQ(registry->remove(key, u""), Status::key_deleted);
  EXPECT_EQ(registry->remove(root, u""), Status::denied);
}

TEST_F(Keys, AHandleOfADeletedKeyNeverMeetsALaterKeyOfThatName) {
  Key old = make_key(*registry, root, u"a");
  ASSERT_EQ(registry->remove(root, u"a"), Status::ok);
  Key later = make_key(*registry, root, u"a");
  ASSERT_EQ(put(*registry, later, u"v", "x"), Status::ok);
  Key out;
  hive::Key_Counts counts;
  hive::Text_Out name{nullptr, 0, 0};
  EXPECT_EQ(status_of_get(*registry, old, u"v"), Status::key_deleted);
  EXPECT_EQ(put(*registry, old, u"v", "y"), Status::key_deleted);
  EXPECT_EQ(registry->remove_value(old, u"v"), Status::key_deleted);
  EXPECT_EQ(registry->info(old, nullptr, &counts), Status::key_deleted);
  EXPECT_EQ(registry->enumerate_key(old, 0, name, nullptr, nullptr), Status::key_deleted);
  EXPECT_EQ(registry->open(old, u"", &out), Status::key_deleted);
  EXPECT_EQ(registry->open(old, u"b", &out), Status::key_deleted);
  EXPECT_EQ(create(*registry, old, u"b", &out), Status::key_deleted);
  EXPECT_EQ(get(*registry, later, u"v"), "x");
}

TEST_F(Keys, AKeyWithValuesAndOpenHandlesIsDeletedWithThem) {
  Key key = make_key(*registry, root, u"a");
  ASSERT_EQ(put(*registry, key, u"small", "1"), Status::ok);
  ASSERT_EQ(put(*registry, key, u"large", std::string(100000, 'l')), Status::ok);
  EXPECT_EQ(registry->remove(root, u"a"), Status::ok);
  Key again = make_key(*registry, root, u"a");
  EXPECT_EQ(value_names(*registry, again), Names{});
}

TEST_F(Keys, TheLastWriteTimeIsNowAndReadingDoesNotChangeIt) {
  Key key = make_key(*registry, root, u"a");
  std::uint64_t made = counts_of(*registry, key).last_write_time;
  std::uint64_t now = (static_cast<std::uint64_t>(time(nullptr)) + 11644473600ull) * 10000000ull;
  EXPECT_LT(made > now ? made - now : now - made, 60ull * 10000000ull);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  std::uint64_t written = counts_of(*registry, key).last_write_time;
  EXPECT_GT(written, made);
  get(*registry, key, u"v");
  Key same;
  ASSERT_EQ(registry->open(root, u"a", &same), Status::ok);
  EXPECT_EQ(counts_of(*registry, key).last_write_time, written);
  ASSERT_EQ(registry->remove_value(key, u"v"), Status::ok);
  EXPECT_GT(counts_of(*registry, key).last_write_time, written);
}

TEST_F(Keys, MakingAndRemovingASubKeyIsAWriteToItsParent) {
  Key key = make_key(*registry, root, u"a");
  std::uint64_t made = counts_of(*registry, key).last_write_time;
  make_key(*registry, key, u"b");
  std::uint64_t after_child = counts_of(*registry, key).last_write_time;
  EXPECT_GT(after_child, made);
  ASSERT_EQ(registry->remove(key, u"b"), Status::ok);
  EXPECT_GT(counts_of(*registry, key).last_write_time, after_child);
}

TEST_F(Keys, RightsAreInheritedAndChangeOneByOne) {
  Key key = make_key(*registry, root, u"a");
  const std::uint32_t mode = 0750;
  const std::uint32_t group = 77;
  ASSERT_EQ(registry->set_rights(key, &mode, nullptr, &group), Status::ok);
  Key child = make_key(*registry, key, u"b");
  hive::Key_Rights rights{};
  ASSERT_EQ(registry->rights(child, &rights), Status::ok);
  EXPECT_EQ(rights.mode, 0750u);
  EXPECT_EQ(rights.owner, static_cast<std::uint32_t>(geteuid()));
  EXPECT_EQ(rights.group, 77u);
}

TEST_F(Keys, TheMachineFileHasTheWantedModeAndTheUsersIsPrivate) {
  make_key(*registry, root, u"a");
  make_key(*registry, root_of(*registry, Root::current_user), u"a");
  struct stat file;
  ASSERT_EQ(stat((folder / "machine.bin").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777, 0644u);
  ASSERT_EQ(stat((folder / "machine.bin-wal").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777, 0644u);
  ASSERT_EQ(stat((folder / "machine.bin-queue").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777, 0600u);
  ASSERT_EQ(stat((folder / "user.bin").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777, 0600u);
}

TEST_F(Keys, MissingFoldersOfTheHiveAreMadeForTheUserAlone) {
  std::unique_ptr<Registry> deep = registry_on(folder / "x/y");
  make_key(*deep, root_of(*deep), u"a");
  struct stat made;
  ASSERT_EQ(stat((folder / "x").c_str(), &made), 0);
  EXPECT_EQ(made.st_mode & 0777, 0700u);
}

TEST_F(Keys, ANewKeyMeetsTheKeyAboveAsItIsByThen) {
  const Key above = make_key(*registry, root, u"a");
  make_key(*registry, above, u"one");
  make_key(*registry, above, u"longest");
  const std::uint32_t mode = 0700;
  EXPECT_EQ(registry->set_rights(above, &mode, nullptr, nullptr), Status::ok);
  hive::Key_Rights rights{};
  EXPECT_EQ(registry->rights(make_key(*registry, above, u"two"), &rights), Status::ok);
  EXPECT_EQ(rights.mode, 0700u);
  EXPECT_EQ(registry->remove(above, u"longest"), Status::ok);
  make_key(*registry, above, u"six");
  EXPECT_EQ(counts_of(*registry, above).sub_keys, 3u);
  EXPECT_EQ(counts_of(*registry, above).max_sub_key_units, 3u);
  EXPECT_EQ(registry->rename(above, u"one", u"eleven"), Status::ok);
  make_key(*registry, above, u"ten");
  EXPECT_EQ(counts_of(*registry, above).max_sub_key_units, 6u);
  const auto child = kvtest::run_child([&] {
    const std::unique_ptr<Registry> other = registry_on(folder.path());
    make_key(*other, root_of(*other), u"a\\seventeen", {.class_name = u"Class"});
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0);
  make_key(*registry, above, u"five");
  EXPECT_EQ(counts_of(*registry, above).sub_keys, 6u);
  EXPECT_EQ(counts_of(*registry, above).max_sub_key_units, 9u);
  EXPECT_EQ(counts_of(*registry, above).max_class_units, 5u);
  EXPECT_EQ(key_names(*registry, above), (Names{u"eleven", u"five", u"seventeen", u"six", u"ten", u"two"}));
  Key gone;
  EXPECT_EQ(registry->remove(root, u"a"), Status::has_children);
  for (const char16_t* name : {u"eleven", u"five", u"seventeen", u"six", u"ten", u"two"})
    EXPECT_EQ(registry->remove(above, name), Status::ok);
  make_key(*registry, above, u"last");
  EXPECT_EQ(registry->remove(above, u"last"), Status::ok);
  EXPECT_EQ(registry->remove(root, u"a"), Status::ok);
  EXPECT_EQ(create(*registry, above, u"late", &gone), Status::key_deleted);
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(root, &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
}

}  // namespace
