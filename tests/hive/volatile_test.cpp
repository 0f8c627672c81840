#include "hive/boot.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

constexpr hive::Creation volatile_creation{.class_name = {}, .is_volatile = true, .is_link = false};

struct Volatile : testing::Test {
  Volatile() { hive::assume_boot_identity("first boot"); }

  // The machine starts again: every process ends, the files stay. A Key that is held keeps its hive open.
  void restart() {
    registry.reset();
    hive::assume_boot_identity("second boot");
    registry = registry_on(folder.path());
  }

  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
};

TEST_F(Volatile, KeysLastWhileTheMachineRuns) {
  Key key = make_key(*registry, root_of(*registry), u"v\\deep", volatile_creation);
  ASSERT_EQ(put(*registry, key, u"x", "1"), Status::ok);
  registry = registry_on(folder.path());
  Key again;
  ASSERT_EQ(registry->open(root_of(*registry), u"v\\deep", &again), Status::ok);
  EXPECT_EQ(get(*registry, again, u"x"), "1");
}

TEST_F(Volatile, ALastingKeyBelowOneIsRefused) {
  Key key = make_key(*registry, root_of(*registry), u"v", volatile_creation);
  Key child;
  EXPECT_EQ(create(*registry, key, u"lasting", &child), Status::must_be_volatile);
  EXPECT_EQ(create(*registry, root_of(*registry), u"v\\a\\b", &child), Status::must_be_volatile);
  EXPECT_EQ(key_names(*registry, key), Names{});
  EXPECT_EQ(create(*registry, key, u"child", &child, volatile_creation), Status::ok);
}

TEST_F(Volatile, ARestartTakesThemAndLeavesTheRestAndTheCountsRight) {
  Key stays = make_key(*registry, root_of(*registry), u"stays");
  Key longer = make_key(*registry, stays, u"longer name", volatile_creation);
  ASSERT_EQ(put(*registry, longer, u"x", std::string(9000, 'x')), Status::ok);
  make_key(*registry, longer, u"below", volatile_creation);
  make_key(*registry, stays, u"short");
  EXPECT_EQ(counts_of(*registry, stays).sub_keys, 2u);
  stays.reset();
  longer.reset();
  restart();
  ASSERT_EQ(registry->open(root_of(*registry), u"stays", &stays), Status::ok);
  EXPECT_EQ(key_names(*registry, stays), Names{u"short"});
  EXPECT_EQ(counts_of(*registry, stays).sub_keys, 1u);
  EXPECT_EQ(counts_of(*registry, stays).max_sub_key_units, 5u);
}

TEST_F(Volatile, AnOldHandleOfOneAnswersDeleted) {
  make_key(*registry, root_of(*registry), u"v", volatile_creation);
  restart();
  Key key;
  EXPECT_EQ(registry->open(root_of(*registry), u"v", &key), Status::not_found);
  EXPECT_EQ(create(*registry, root_of(*registry), u"v", &key), Status::ok);
}

}  // namespace
