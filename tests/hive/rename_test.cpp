// Renaming a key in place, and unloading what was loaded.
#include "tests/hive/registry_on.h"
#include "tests/hive/watch_probe.h"

namespace {

using namespace hivetest;

struct Rename : testing::Test {
  Status status_of_open(const Key& at, std::u16string_view path) {
    Key found;
    return registry->open(at, path, &found);
  }
  void expect_sound() {
    std::vector<hive::Found_Fault> faults;
    EXPECT_EQ(registry->check(base, &faults), Status::ok);
    EXPECT_TRUE(faults.empty());
  }

  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key base = make_key(*registry, root_of(*registry), u"base");
};

TEST_F(Rename, KeepsHandlesValuesAndAllBelow) {
  const Key key = make_key(*registry, base, u"Old");
  const Key below = make_key(*registry, key, u"x\\y");
  put(*registry, key, u"v", "kept");
  ASSERT_EQ(status_of_open(base, u"old\\x\\y"), Status::ok);
  EXPECT_EQ(registry->rename(base, u"OLD", u"New"), Status::ok);
  EXPECT_EQ(key_names(*registry, base), (Names{u"New"}));
  EXPECT_EQ(status_of_open(base, u"old\\x\\y"), Status::not_found);
  EXPECT_EQ(status_of_open(base, u"nEw\\x\\y"), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "kept");
  EXPECT_EQ(put(*registry, below, u"v", "still"), Status::ok);
  expect_sound();
}

TEST_F(Rename, OfTheKeyItselfNeedsNoPath) {
  const Key key = make_key(*registry, base, u"old");
  EXPECT_EQ(registry->rename(key, u"", u"new"), Status::ok);
  EXPECT_EQ(key_names(*registry, base), (Names{u"new"}));
}

TEST_F(Rename, MayChangeTheCaseAlone) {
  make_key(*registry, base, u"name");
  EXPECT_EQ(registry->rename(base, u"name", u"NaMe"), Status::ok);
  EXPECT_EQ(key_names(*registry, base), (Names{u"NaMe"}));
  expect_sound();
}

TEST_F(Rename, MovesTheKeyInTheOrderOfNames) {
  for (const char16_t* name : {u"a", u"b", u"c"}) make_key(*registry, base, name);
  EXPECT_EQ(registry->rename(base, u"a", u"d"), Status::ok);
  EXPECT_EQ(key_names(*registry, base), (Names{u"b", u"c", u"d"}));
}

TEST_F(Rename, KeepsTheLongestNameExact) {
  make_key(*registry, base, u"four");
  make_key(*registry, base, u"seven77");
  EXPECT_EQ(registry->rename(base, u"seven77", u"s"), Status::ok);
  EXPECT_EQ(counts_of(*registry, base).max_sub_key_units, 4u);
  EXPECT_EQ(registry->rename(base, u"s", u"longer by far"), Status::ok);
  EXPECT_EQ(counts_of(*registry, base).max_sub_key_units, 13u);
  EXPECT_EQ(counts_of(*registry, base).sub_keys, 2u);
  expect_sound();
}

TEST_F(Rename, IsRefusedWhereTheNameIsTakenOrNone) {
  make_key(*registry, base, u"a");
  make_key(*registry, base, u"B");
  EXPECT_EQ(registry->rename(base, u"a", u"b"), Status::exists);
  EXPECT_EQ(registry->rename(base, u"a", u""), Status::invalid);
  EXPECT_EQ(registry->rename(base, u"a", u"c\\d"), Status::invalid);
  EXPECT_EQ(registry->rename(base, u"a", std::u16string(257, u'n')), Status::invalid);
  EXPECT_EQ(registry->rename(base, u"a", std::u16string(256, u'n')), Status::ok);
  EXPECT_EQ(registry->rename(base, u"none", u"c"), Status::not_found);
}

TEST_F(Rename, IsRefusedForRootsAndForUsers) {
  EXPECT_EQ(registry->rename(root_of(*registry), u"", u"n"), Status::denied);
  EXPECT_EQ(registry->rename(root_of(*registry, Root::classes), u"", u"n"), Status::denied);
  const Key users = root_of(*registry, Root::users);
  EXPECT_EQ(registry->rename(users, u".DEFAULT", u"n"), Status::denied);
  EXPECT_EQ(registry->rename(opened(*registry, users, u".DEFAULT"), u"", u"n"), Status::denied);
  const std::string self = "S-1-5-21-0-0-0-" + std::to_string(geteuid());
  EXPECT_EQ(registry->rename(users, std::u16string(self.begin(), self.end()), u"n"), Status::denied);
  EXPECT_EQ(registry->rename(root_of(*registry, Root::performance), u"k", u"n"), Status::not_found);
}

TEST_F(Rename, OfADeletedKeyIsRefused) {
  const Key key = make_key(*registry, base, u"a");
  ASSERT_EQ(registry->remove(base, u"a"), Status::ok);
  EXPECT_EQ(registry->rename(key, u"", u"b"), Status::key_deleted);
}

TEST_F(Rename, IsSeenByOtherProcesses) {
  make_key(*registry, base, u"a\\b");
  ASSERT_EQ(status_of_open(base, u"a\\b"), Status::ok);
  const auto child = kvtest::run_child([&] { _exit(registry->rename(base, u"a", u"c") == Status::ok ? 0 : 1); });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(status_of_open(base, u"a\\b"), Status::not_found);
  EXPECT_EQ(status_of_open(base, u"c\\b"), Status::ok);
}

TEST_F(Rename, TellsWatchersOfTheParent) {
  make_key(*registry, base, u"a");
  const Probe_Ref probe = watch(*registry, base, false, hive::way_name);
  EXPECT_EQ(registry->rename(base, u"a", u"b"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

struct Unload : Rename {
  std::string file = folder / "saved.hive";

  Unload() {
    const Key source = make_key(*registry, root_of(*registry), u"source");
    put(*registry, source, u"v", "x");
    make_key(*registry, source, u"a\\b");
    EXPECT_EQ(registry->save(source, file), Status::ok);
  }
};

TEST_F(Unload, RemovesWhatLoadingHasMadeWithAllThatCameLater) {
  ASSERT_EQ(registry->load(base, u"loaded", file), Status::ok);
  const Key loaded = opened(*registry, base, u"loaded");
  make_key(*registry, loaded, u"later", {.class_name = {}, .is_volatile = true});
  put(*registry, loaded, u"large", std::string(5000, 'x'));
  EXPECT_EQ(registry->unload(base, u"loaded"), Status::ok);
  EXPECT_EQ(key_names(*registry, base), Names{});
  EXPECT_EQ(put(*registry, loaded, u"v", "x"), Status::key_deleted);
  EXPECT_TRUE(std::filesystem::exists(file));
  expect_sound();
}

TEST_F(Unload, IsRefusedForAnyOtherKey) {
  make_key(*registry, base, u"own");
  EXPECT_EQ(registry->unload(base, u"own"), Status::invalid);
  ASSERT_EQ(registry->load(base, u"own", file), Status::ok);  // a key that stood is filled, not made
  EXPECT_EQ(registry->unload(base, u"own"), Status::invalid);
  ASSERT_EQ(registry->load(base, u"loaded", file), Status::ok);
  EXPECT_EQ(registry->unload(base, u"loaded\\a"), Status::invalid);
  EXPECT_EQ(registry->unload(base, u"none"), Status::not_found);
  EXPECT_EQ(registry->unload(root_of(*registry), u""), Status::denied);
  EXPECT_EQ(key_names(*registry, base), (Names{u"loaded", u"own"}));
}

TEST_F(Unload, KnowsALoadedKeyAfterANewStartAndASecondLoad) {
  ASSERT_EQ(registry->load(base, u"loaded", file), Status::ok);
  ASSERT_EQ(registry->load(base, u"loaded", file), Status::ok);
  registry = registry_on(folder.path());
  base = opened(*registry, root_of(*registry), u"base");
  EXPECT_EQ(registry->unload(base, u"LOADED"), Status::ok);
}

TEST_F(Unload, DoesNotKnowALoadedKeyFromASavedOne) {
  ASSERT_EQ(registry->load(base, u"loaded", file), Status::ok);
  ASSERT_EQ(registry->save(base, folder / "again.hive"), Status::ok);
  const Key copy = make_key(*registry, root_of(*registry), u"copy");
  ASSERT_EQ(registry->load(copy, u"", folder / "again.hive"), Status::ok);
  EXPECT_EQ(key_names(*registry, copy), (Names{u"loaded"}));
  EXPECT_EQ(registry->unload(copy, u"loaded"), Status::invalid);
}

}  // namespace
