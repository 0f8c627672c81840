#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

std::u16string user_name() {
  std::string digits = std::to_string(geteuid());
  return u"S-1-5-21-0-0-0-" + std::u16string(digits.begin(), digits.end());
}

struct Roots : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key root(Root which) { return root_of(*registry, which); }
};

TEST_F(Roots, TheUsersHiveStandsBelowUsersToo) {
  Key mine = make_key(*registry, root(Root::current_user), u"Console");
  ASSERT_EQ(put(*registry, mine, u"v", "x"), Status::ok);
  Key same;
  ASSERT_EQ(registry->open(root(Root::users), user_name() + u"\\console", &same), Status::ok);
  EXPECT_EQ(get(*registry, same, u"v"), "x");
  make_key(*registry, root(Root::users), user_name() + u"\\New");
  EXPECT_EQ(registry->open(root(Root::current_user), u"New", &same), Status::ok);
}

TEST_F(Roots, UsersShowTheDefaultAndTheUser) {
  Key users = root(Root::users);
  EXPECT_EQ(key_names(*registry, users), (Names{u".DEFAULT", user_name()}));
  hive::Key_Counts counts = counts_of(*registry, users);
  EXPECT_EQ(counts.sub_keys, 2u);
  EXPECT_EQ(counts.max_sub_key_units, user_name().size());
}

TEST_F(Roots, NothingIsMadeOrRemovedDirectlyBelowUsers) {
  Key key;
  Key users = root(Root::users);
  EXPECT_EQ(create(*registry, users, u"Somebody", &key), Status::denied);
  EXPECT_EQ(create(*registry, users, u"Somebody\\Deep", &key), Status::denied);
  EXPECT_EQ(create(*registry, users, u".default", &key), Status::ok);
  EXPECT_EQ(create(*registry, users, u".default\\Deep", &key), Status::ok);
  EXPECT_EQ(registry->remove(users, u".default\\Deep"), Status::ok);
  EXPECT_EQ(registry->remove(users, u".default"), Status::denied);
  EXPECT_EQ(registry->remove(users, user_name()), Status::denied);
  EXPECT_EQ(registry->remove(users, u"Somebody"), Status::not_found);
  EXPECT_EQ(registry->remove(users, u""), Status::denied);
}

TEST_F(Roots, ClassesAreAKeyOfTheMachine) {
  Key txt = make_key(*registry, root(Root::classes), u".txt");
  ASSERT_EQ(put(*registry, txt, u"", "textfile"), Status::ok);
  Key same;
  ASSERT_EQ(registry->open(root(Root::machine), u"SOFTWARE\\Classes\\.TXT", &same), Status::ok);
  EXPECT_EQ(get(*registry, same, u""), "textfile");
}

TEST_F(Roots, ClassesComeBackAfterTheirKeyWasRemoved) {
  Key classes = root(Root::classes);
  EXPECT_EQ(key_names(*registry, classes), Names{});
  ASSERT_EQ(registry->remove(root(Root::machine), u"Software\\Classes"), Status::ok);
  EXPECT_EQ(put(*registry, classes, u"v", "x"), Status::ok);
  EXPECT_EQ(get(*registry, classes, u"v"), "x");
  EXPECT_EQ(registry->remove(classes, u""), Status::denied);
}

TEST_F(Roots, TheCurrentConfigurationIsAKeyOfTheMachine) {
  ASSERT_EQ(put(*registry, root(Root::current_config), u"v", "x"), Status::ok);
  Key same;
  ASSERT_EQ(registry->open(root(Root::machine), u"System\\CurrentControlSet\\Hardware Profiles\\Current", &same),
            Status::ok);
  EXPECT_EQ(get(*registry, same, u"v"), "x");
}

TEST_F(Roots, ThePerformanceRootHasNothingAndTakesNothing) {
  Key nothing = root(Root::performance);
  Key key;
  hive::Text_Out name{nullptr, 0, 0};
  EXPECT_EQ(status_of_get(*registry, nothing, u"Global"), Status::not_found);
  EXPECT_EQ(registry->open(nothing, u"a", &key), Status::not_found);
  EXPECT_EQ(registry->open(nothing, u"", &key), Status::ok);
  EXPECT_EQ(create(*registry, nothing, u"a", &key), Status::denied);
  EXPECT_EQ(put(*registry, nothing, u"a", "x"), Status::denied);
  EXPECT_EQ(registry->enumerate_key(nothing, 0, name, nullptr, nullptr), Status::no_more_items);
  EXPECT_EQ(counts_of(*registry, nothing).sub_keys, 0u);
  EXPECT_EQ(registry->flush(nothing), Status::ok);
}

TEST_F(Roots, OpeningARootOpensNoFile) {
  root(Root::machine);
  root(Root::classes);
  root(Root::users);
  root(Root::current_user);
  EXPECT_NE(access((folder / "machine.bin").c_str(), F_OK), 0);
  EXPECT_NE(access((folder / "user.bin").c_str(), F_OK), 0);
}

TEST(PrivateHive, WithoutAFileItLastsAsLongAsTheProcess) {
  Temp_Folder folder;
  Registry registry(std::make_unique<Fixed_Locations>(folder / "machine.bin", "", ""), nullptr);
  Key mine = make_key(registry, root_of(registry, Root::current_user), u"a");
  ASSERT_EQ(put(registry, mine, u"v", "x"), Status::ok);
  kvtest::Child_Result child = kvtest::run_child([&] {
    bool seen = get(registry, mine, u"v") == "x" && put(registry, mine, u"v", "child's") == Status::ok;
    _exit(seen ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(get(registry, mine, u"v"), "x");
}

}  // namespace
