// Who may do what: the peer's user and groups against each key's mode, owner and group.
#include <sys/stat.h>
#include <winerror.h>

#include "impl/wire/sealed_memory.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);
const wire::Number user = number(HKEY_CURRENT_USER);
const wire::Number users = number(HKEY_USERS);
constexpr wire::Number ordinary = kvtest::ordinary_id;

constexpr wire::Number which_mode = 1;
constexpr wire::Number which_owner = 2;
constexpr wire::Number which_group = 4;

wire::Number change(Client& client, wire::Number at, std::u16string_view path, wire::Number which, wire::Number to) {
  return client
      .ask<wire::Change_Rights>({.key = at, .path = text(path), .which = which, .mode = to, .owner = to, .group = to})
      ->code;
}

Answered<wire::Describe_Rights> describe(Client& client, wire::Number at, std::u16string_view path) {
  return client.ask<wire::Describe_Rights>({.key = at, .path = text(path)});
}

class Rights : public testing::Test {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can be two users";
    ASSERT_EQ(root.begin()->code, 0u);
  }
  // A key that root makes with a mode.
  void make(std::u16string_view path, wire::Number mode) {
    ASSERT_EQ(create(root, machine, path)->code, 0u);
    ASSERT_EQ(change(root, machine, path, which_mode, mode), 0u);
  }
  // What the ordinary user does in a session of his own.
  int ordinary_does(const std::function<int(Client&)>& act) {
    return as_ordinary_user([&] {
      Client client(served.address());
      CHECK_OR_LINE(client.begin()->code == 0);
      return act(client);
    });
  }

  Served served;
  Client root{served.address()};
};

TEST_F(Rights, OfOthersReadAKeyAndDoNotChangeIt) {
  make(u"Public", 0755);
  ASSERT_EQ(set(root, open(root, machine, u"Public", KEY_WRITE)->handle, u"v", "x"), 0u);
  EXPECT_EQ(ordinary_does([](Client& client) {
              const auto reading = open(client, machine, u"Public", KEY_READ);
              CHECK_OR_LINE(reading->code == 0);
              CHECK_OR_LINE(string_of(query(client, reading->handle, u"v")->data) == "x");
              CHECK_OR_LINE(set(client, reading->handle, u"v", "y") == 5);
              CHECK_OR_LINE(open(client, machine, u"Public", KEY_SET_VALUE)->code == 5);
              CHECK_OR_LINE(open(client, machine, u"Public", KEY_CREATE_SUB_KEY)->code == 5);
              CHECK_OR_LINE(open(client, machine, u"Public", KEY_ALL_ACCESS)->code == 5);
              CHECK_OR_LINE(create(client, machine, u"Public\\New")->code == 5);
              CHECK_OR_LINE(create(client, machine, u"Public\\New\\Deep")->code == 5);
              CHECK_OR_LINE(remove_key(client, machine, u"Public") == 5);
              CHECK_OR_LINE(set(client, machine, u"v", "y") == 5);
              return 0;
            }),
            0);
  EXPECT_EQ(open(root, machine, u"Public\\New")->code, 2u);
}

TEST_F(Rights, MaximumAllowedGivesWhatThereIs) {
  make(u"Public", 0755);
  EXPECT_EQ(ordinary_does([](Client& client) {
              const auto opened = open(client, machine, u"Public", MAXIMUM_ALLOWED);
              CHECK_OR_LINE(opened->code == 0);
              CHECK_OR_LINE(client.ask<wire::Query_Info>({.key = opened->handle})->code == 0);
              CHECK_OR_LINE(set(client, opened->handle, u"v", "y") == 5);
              return 0;
            }),
            0);
}

TEST_F(Rights, OfAPrivateKeyAreTheOwners) {
  make(u"Private", 0700);
  EXPECT_EQ(ordinary_does([](Client& client) {
              CHECK_OR_LINE(open(client, machine, u"Private", KEY_QUERY_VALUE)->code == 5);
              CHECK_OR_LINE(open(client, machine, u"Private", KEY_ENUMERATE_SUB_KEYS)->code == 5);
              CHECK_OR_LINE(open(client, machine, u"Private", KEY_NOTIFY)->code == 5);
              CHECK_OR_LINE(open(client, machine, u"Private", 0)->code == 0);
              CHECK_OR_LINE(describe(client, machine, u"Private")->mode == 0700);
              return 0;
            }),
            0);
}

TEST_F(Rights, OnlyToWriteDoNotRead) {
  make(u"Box", 0722);
  EXPECT_EQ(ordinary_does([](Client& client) {
              CHECK_OR_LINE(open(client, machine, u"Box", KEY_QUERY_VALUE)->code == 5);
              const auto writing = open(client, machine, u"Box", KEY_SET_VALUE);
              CHECK_OR_LINE(writing->code == 0);
              CHECK_OR_LINE(set(client, writing->handle, u"v", "y") == 0);
              return 0;
            }),
            0);
}

TEST_F(Rights, OfTheGroupCount) {
  make(u"Team", 0070);
  ASSERT_EQ(change(root, machine, u"Team", which_group, ordinary), 0u);
  EXPECT_EQ(ordinary_does([](Client& client) { return open(client, machine, u"Team", KEY_WRITE)->code == 0 ? 0 : 1; }),
            0);
}

TEST_F(Rights, TheFirstClassThatFitsDecides) {
  make(u"Mine", 0077);
  ASSERT_EQ(change(root, machine, u"Mine", which_owner, ordinary), 0u);
  EXPECT_EQ(ordinary_does([](Client& client) { return open(client, machine, u"Mine", KEY_READ)->code == 5 ? 0 : 1; }),
            0);
}

TEST_F(Rights, AKeyBelowOneThatMayNotBeReadIsReached) {
  make(u"Closed", 0700);
  make(u"Closed\\Open", 0755);
  EXPECT_EQ(
      ordinary_does([](Client& client) { return open(client, machine, u"Closed\\Open", KEY_READ)->code == 0 ? 0 : 1; }),
      0);
}

TEST_F(Rights, ANewKeyIsItsMakersWithModeAndGroupOfItsParent) {
  make(u"Open", 0757);
  ASSERT_EQ(change(root, machine, u"Open", which_group, 12), 0u);
  EXPECT_EQ(ordinary_does([](Client& client) {
              CHECK_OR_LINE(create(client, machine, u"Open\\One\\Two")->code == 0);
              for (const auto* path : {u"Open\\One", u"Open\\One\\Two"}) {
                const auto rights = describe(client, machine, path);
                CHECK_OR_LINE(rights->mode == 0757);
                CHECK_OR_LINE(rights->owner == ordinary);
                CHECK_OR_LINE(rights->group == 12);
              }
              CHECK_OR_LINE(remove_key(client, machine, u"Open\\One\\Two") == 0);
              return 0;
            }),
            0);
}

TEST_F(Rights, TheMakerOfAKeyHasWhatHeAskedForWhateverTheMode) {
  make(u"Drop", 0003);
  EXPECT_EQ(ordinary_does([](Client& client) {
              const auto made = create(client, machine, u"Drop\\Mine", KEY_ALL_ACCESS);
              CHECK_OR_LINE(made->code == 0);
              CHECK_OR_LINE(set(client, made->handle, u"v", "x") == 0);
              CHECK_OR_LINE(query(client, made->handle, u"v")->code == 0);
              CHECK_OR_LINE(open(client, machine, u"Drop\\Mine", KEY_READ)->code == 5);
              return 0;
            }),
            0);
}

TEST_F(Rights, StayWithTheHandle) {
  make(u"Open", 0777);
  EXPECT_EQ(ordinary_does([](Client& client) {
              const auto made = create(client, machine, u"Open\\Mine");
              CHECK_OR_LINE(change(client, machine, u"Open\\Mine", which_mode, 0) == 0);
              CHECK_OR_LINE(open(client, machine, u"Open\\Mine", KEY_READ)->code == 5);
              CHECK_OR_LINE(set(client, made->handle, u"v", "x") == 0);
              return 0;
            }),
            0);
}

TEST_F(Rights, AreChangedByTheOwner) {
  make(u"Open", 0777);
  EXPECT_EQ(ordinary_does([](Client& client) {
              CHECK_OR_LINE(change(client, machine, u"Open", which_mode, 0700) == 5);
              CHECK_OR_LINE(create(client, machine, u"Open\\Mine")->code == 0);
              CHECK_OR_LINE(change(client, machine, u"Open\\Mine", which_mode, 0750) == 0);
              CHECK_OR_LINE(change(client, machine, u"Open\\Mine", which_group, ordinary) == 0);
              CHECK_OR_LINE(change(client, machine, u"Open\\Mine", which_group, 7) == 5);
              CHECK_OR_LINE(change(client, machine, u"Open\\Mine", which_owner, 7) == 5);
              const auto rights = describe(client, machine, u"Open\\Mine");
              CHECK_OR_LINE(rights->mode == 0750 && rights->owner == ordinary && rights->group == ordinary);
              return 0;
            }),
            0);
}

TEST_F(Rights, EachUserHasAHiveOfHisOwn) {
  ASSERT_EQ(create(root, user, u"Software")->code, 0u);
  EXPECT_EQ(ordinary_does([](Client& client) {
              CHECK_OR_LINE(open(client, user, u"Software")->code == 2);
              CHECK_OR_LINE(create(client, user, u"Mine")->code == 0);
              CHECK_OR_LINE(open(client, users, u"S-1-5-21-0-0-0-65534\\Mine")->code == 0);
              CHECK_OR_LINE(open(client, users, u"S-1-5-21-0-0-0-0", KEY_READ)->code == 5);
              CHECK_OR_LINE(open(client, users, u".DEFAULT", KEY_READ)->code == 0);
              CHECK_OR_LINE(remove_key(client, users, u"S-1-5-21-0-0-0-65534") == 5);
              CHECK_OR_LINE(remove_key(client, user, u"Mine") == 0);
              CHECK_OR_LINE(remove_key(client, user, u"") == 5);
              CHECK_OR_LINE(describe(client, user, u"")->mode == 0700);
              CHECK_OR_LINE(describe(client, user, u"")->owner == ordinary);
              return 0;
            }),
            0);
  const auto listed = root.ask<wire::Enumerate_Keys>({.key = users, .index = 0, .most = 100});
  ASSERT_EQ(listed->keys.size(), 3u);
  EXPECT_EQ(units_of(listed->keys[0].name), u".DEFAULT");
  EXPECT_EQ(units_of(listed->keys[1].name), u"S-1-5-21-0-0-0-0");
  EXPECT_EQ(units_of(listed->keys[2].name), u"S-1-5-21-0-0-0-65534");
  EXPECT_EQ(root.ask<wire::Query_Info>({.key = users})->sub_keys, 3u);
}

// Root asks first, so that the hive is of root's making.
TEST_F(Rights, AUsersKeyIsHisAndOfHisGroup) {
  EXPECT_EQ(describe(root, user, u"")->group, 0u);
  const auto has_own_key = [this](unsigned which, unsigned group) {
    return as_user(which, group, [&] {
      Client client(served.address());
      CHECK_OR_LINE(client.begin()->code == 0);
      const auto rights = describe(client, user, u"");
      CHECK_OR_LINE(rights->code == 0 && rights->mode == 0700);
      CHECK_OR_LINE(rights->owner == which && rights->group == group);
      CHECK_OR_LINE(create(client, user, u"Below")->code == 0);
      CHECK_OR_LINE(describe(client, user, u"Below")->group == group);
      return 0;
    });
  };
  EXPECT_EQ(has_own_key(65533, 65532), 0);
  EXPECT_EQ(has_own_key(ordinary, 65531), 0);
  EXPECT_EQ(describe(root, users, u"S-1-5-21-0-0-0-65533")->group, 65532u);
  EXPECT_EQ(describe(root, users, u"S-1-5-21-0-0-0-65534")->group, 65531u);
}

// Also when his first question is for the whole of it.
TEST_F(Rights, AUsersKeyThatIsMadeForItsImageIsOfHisGroup) {
  EXPECT_EQ(as_user(65533, 65532,
                    [&] {
                      Client client(served.address());
                      CHECK_OR_LINE(client.begin()->code == 0);
                      return client.ask<wire::User_Image>({})->code == 0 ? 0 : 1;
                    }),
            0);
  EXPECT_EQ(describe(root, users, u"S-1-5-21-0-0-0-65533")->group, 65532u);
}

TEST_F(Rights, WhatAdministratorsDoIsRefusedToOthers) {
  EXPECT_EQ(ordinary_does([](Client& client) {
              CHECK_OR_LINE(client.ask<wire::Shut_Down>({})->code == 5);
              CHECK_OR_LINE(client.ask<wire::Backup>({})->code == 5);
              const wire::Unique_Fd hive = wire::seal(bytes("x"));
              CHECK_OR_LINE(client.ask<wire::Load_Key>({.key = user, .path = {}, .hive = {hive.get()}})->code == 5);
              CHECK_OR_LINE(client.ask<wire::Unload_Key>({.key = user, .path = text(u"x")})->code == 5);
              return 0;
            }),
            0);
}

TEST_F(Rights, AreNeededForAllThatIsSaved) {
  make(u"Tree", 0755);
  make(u"Tree\\Secret", 0700);
  EXPECT_EQ(ordinary_does([](Client& client) {
              const auto tree = open(client, machine, u"Tree");
              CHECK_OR_LINE(client.ask<wire::Save_Key>({.key = tree->handle})->code == 5);
              return 0;
            }),
            0);
  ASSERT_EQ(change(root, machine, u"Tree\\Secret", which_mode, 0755), 0u);
  EXPECT_EQ(ordinary_does([](Client& client) {
              const auto tree = open(client, machine, u"Tree");
              CHECK_OR_LINE(client.ask<wire::Save_Key>({.key = tree->handle})->code == 0);
              return 0;
            }),
            0);
}

TEST_F(Rights, ASessionIsNotJoinedByAnotherUser) {
  Client first(served.address());
  const auto begun = first.begin();
  const std::string id = string_of(begun->session);
  EXPECT_EQ(as_ordinary_user([&] {
              Client client(served.address());
              CHECK_OR_LINE(client.begin(bytes(id))->code == 5);
              return 0;
            }),
            0);
}

TEST_F(Rights, AreNotPassedByWayOfTheFiles) {
  create(root, user, u"Mine");
  create(root, machine, u"Everybodys");
  for (const char* name : {"/machine", "/users"}) {
    struct stat found;
    ASSERT_EQ(stat((served.folder() + name).c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600u) << name;
  }
}

TEST(Rights_Of_One_User, OthersAreNotLetIn) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can be two users";
  Served served(For::one_user);
  EXPECT_EQ(as_ordinary_user([&] {
              Client client(served.address());
              CHECK_OR_LINE(!client.begin().error.empty());
              return 0;
            }),
            0);
  Client client(served.address());
  EXPECT_EQ(client.begin()->code, 0u);
}

}  // namespace
