// Watching keys within a process: what is told, to whom, how often, and by which thread.
#include <fcntl.h>
#include <sqlite3.h>

#include <fstream>

#include "hive/store/schema.h"
#include "tests/hive/watch_probe.h"

namespace {

using namespace hivetest;
using hive::all_ways;
using hive::way_attributes;
using hive::way_last_set;
using hive::way_name;
using hive::way_security;

struct Watch : testing::Test {
  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"a");

  // Waits until a change of this key's values, made now, is told to somebody who began to watch after all others: who
  // was not told by then will not be.
  void let_everybody_be_told() {
    Key marker = make_key(*registry, root_of(*registry), u"marker");
    Probe_Ref last = watch(*registry, marker, false, way_last_set);
    ASSERT_NE(last, nullptr);
    ASSERT_EQ(put(*registry, marker, u"m", "1"), Status::ok);
    ASSERT_TRUE(last->wait());
  }

  Status set_mode(const Key& at, std::uint32_t mode) { return registry->set_rights(at, &mode, nullptr, nullptr); }
};

TEST_F(Watch, SettingReplacingAndRemovingAValueIsToldAsLastSet) {
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  EXPECT_TRUE(probe->wait());
  probe = watch(*registry, key, false, way_last_set);
  ASSERT_EQ(put(*registry, key, u"v", "2"), Status::ok);
  EXPECT_TRUE(probe->wait());
  probe = watch(*registry, key, false, way_last_set);
  ASSERT_EQ(registry->remove_value(key, u"v"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watch, MakingAndRemovingASubKeyIsToldAsName) {
  Probe_Ref probe = watch(*registry, key, false, way_name);
  make_key(*registry, key, u"sub");
  EXPECT_TRUE(probe->wait());
  probe = watch(*registry, key, false, way_name);
  ASSERT_EQ(registry->remove(key, u"sub"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watch, SettingRightsIsToldAsAttributesAndAsSecurity) {
  Key same = opened(*registry, root_of(*registry), u"a");
  Probe_Ref attributes = watch(*registry, key, false, way_attributes);
  Probe_Ref security = watch(*registry, same, false, way_security);
  ASSERT_EQ(set_mode(key, 0750), Status::ok);
  EXPECT_TRUE(attributes->wait());
  EXPECT_TRUE(security->wait());
}

TEST_F(Watch, WhatTheFilterLeavesOutIsNotTold) {
  Key other = opened(*registry, root_of(*registry), u"a");
  Probe_Ref name = watch(*registry, key, false, way_name);
  Probe_Ref rest = watch(*registry, other, false, way_last_set | way_attributes | way_security);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  ASSERT_TRUE(rest->wait());
  rest = watch(*registry, other, false, way_last_set | way_security);
  make_key(*registry, key, u"sub");
  ASSERT_TRUE(name->wait());
  let_everybody_be_told();
  EXPECT_EQ(name->count(), 1);
  EXPECT_EQ(rest->count(), 0);
}

TEST_F(Watch, KeysBelowAreToldWithSubtreeOnly) {
  Key deep = make_key(*registry, key, u"b\\c\\d");
  Key same = opened(*registry, root_of(*registry), u"a");
  Probe_Ref alone = watch(*registry, key, false, all_ways);
  Probe_Ref tree = watch(*registry, same, true, way_last_set);
  ASSERT_EQ(put(*registry, deep, u"v", "1"), Status::ok);
  EXPECT_TRUE(tree->wait());
  tree = watch(*registry, same, true, way_name);
  make_key(*registry, deep, u"e");
  EXPECT_TRUE(tree->wait());
  tree = watch(*registry, same, true, way_security);
  ASSERT_EQ(set_mode(deep, 0700), Status::ok);
  EXPECT_TRUE(tree->wait());
  let_everybody_be_told();
  EXPECT_EQ(alone->count(), 0);
}

TEST_F(Watch, AKeyBesideIsNotBelow) {
  Key beside = make_key(*registry, root_of(*registry), u"ab");
  Probe_Ref tree = watch(*registry, key, true, all_ways);
  ASSERT_EQ(put(*registry, beside, u"v", "1"), Status::ok);
  ASSERT_EQ(put(*registry, root_of(*registry), u"v", "1"), Status::ok);
  let_everybody_be_told();
  EXPECT_EQ(tree->count(), 0);
}

TEST_F(Watch, AChangeBelowIsToldThoughItsKeyIsGoneByThen) {
  Key deep = make_key(*registry, key, u"b\\c");
  Key same = opened(*registry, root_of(*registry), u"a");
  Probe_Ref first = watch(*registry, same, true, way_name);
  make_key(*registry, deep, u"x");
  ASSERT_TRUE(first->wait());
  ASSERT_EQ(put(*registry, deep, u"v", "1"), Status::ok);
  ASSERT_EQ(registry->remove(deep, u"x"), Status::ok);
  ASSERT_EQ(registry->remove(key, u"b\\c"), Status::ok);
  ASSERT_EQ(registry->remove(key, u"b"), Status::ok);
  EXPECT_EQ(watch(*registry, same, true, way_last_set)->count(), 1);
}

TEST_F(Watch, EachCallIsToldOnce) {
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  for (int i = 0; i < 10; ++i) ASSERT_EQ(put(*registry, key, u"v", std::to_string(i)), Status::ok);
  ASSERT_TRUE(probe->wait());
  let_everybody_be_told();
  key.reset();
  EXPECT_EQ(probe->count(), 1);
}

TEST_F(Watch, CallsThatWaitTogetherAreToldTogether) {
  Probe_Ref one = watch(*registry, key, false, way_last_set);
  Probe_Ref two = watch(*registry, key, true, way_last_set | way_name);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  EXPECT_TRUE(one->wait());
  EXPECT_TRUE(two->wait());
}

TEST_F(Watch, WhatChangedBeforeTheFirstCallIsNotTold) {
  ASSERT_NE(watch(*registry, root_of(*registry), false, way_security), nullptr);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  Probe_Ref probe = watch(*registry, key, false, all_ways);
  let_everybody_be_told();
  EXPECT_EQ(probe->count(), 0);
}

TEST_F(Watch, WhatChangedBetweenTwoCallsIsToldAtOnce) {
  Probe_Ref first = watch(*registry, key, false, way_last_set);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  ASSERT_TRUE(first->wait());
  let_everybody_be_told();
  ASSERT_EQ(put(*registry, key, u"v", "2"), Status::ok);
  EXPECT_EQ(watch(*registry, key, false, way_last_set)->count(), 1);
  EXPECT_EQ(watch(*registry, key, false, way_last_set)->count(), 0);
}

TEST_F(Watch, WhatOneFilterLeftOutIsToldToALaterCallThatAsksForIt) {
  Probe_Ref first = watch(*registry, key, false, way_name);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  make_key(*registry, key, u"sub");
  ASSERT_TRUE(first->wait());
  EXPECT_EQ(watch(*registry, key, false, way_name)->count(), 0);
  EXPECT_EQ(watch(*registry, key, false, way_last_set)->count(), 1);
}

TEST_F(Watch, AnotherHandleOfTheKeyHasItsOwnBeginning) {
  Probe_Ref first = watch(*registry, key, false, way_last_set);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  Key same = opened(*registry, root_of(*registry), u"a");
  EXPECT_EQ(watch(*registry, same, false, way_last_set)->count(), 0);
  EXPECT_TRUE(first->wait());
}

TEST_F(Watch, ARemovedKeyIsToldWhateverTheFilterAndIsDeletedAfterwards) {
  Probe_Ref probe = watch(*registry, key, false, way_security);
  ASSERT_EQ(registry->remove(root_of(*registry), u"a"), Status::ok);
  EXPECT_TRUE(probe->wait());
  EXPECT_EQ(registry->watch(key, false, all_ways, std::make_shared<Probe>()), Status::key_deleted);
  make_key(*registry, root_of(*registry), u"a");
  EXPECT_EQ(registry->watch(key, false, all_ways, std::make_shared<Probe>()), Status::key_deleted);
}

TEST_F(Watch, ClosingTheKeyTellsEveryCallThatWaits) {
  Probe_Ref one = watch(*registry, key, false, way_last_set);
  Probe_Ref two = watch(*registry, key, true, way_name);
  key.reset();
  EXPECT_EQ(one->count(), 1);
  EXPECT_EQ(two->count(), 1);
}

TEST_F(Watch, AFailedOrUnfinishedChangeIsNotTold) {
  make_key(*registry, key, u"b\\c");
  Probe_Ref probe = watch(*registry, key, true, all_ways);
  EXPECT_EQ(registry->remove(key, u"b"), Status::has_children);
  EXPECT_EQ(registry->remove_value(key, u"none"), Status::not_found);
  EXPECT_EQ(create(*registry, key, std::u16string(300, u'x'), &key), Status::invalid);
  let_everybody_be_told();
  EXPECT_EQ(probe->count(), 0);
}

TEST_F(Watch, LoadingAKeyIsToldAsEveryChangeOfItAndAsTheEndOfThoseBelow) {
  Key sub = make_key(*registry, key, u"sub");
  Key machine = root_of(*registry);
  Key same = opened(*registry, machine, u"a");
  ASSERT_EQ(registry->save(key, folder / "saved"), Status::ok);
  Probe_Ref of_key = watch(*registry, key, false, way_security);
  Probe_Ref names = watch(*registry, same, false, way_name);
  Probe_Ref above = watch(*registry, machine, true, way_last_set);
  Probe_Ref of_sub = watch(*registry, sub, false, way_security);
  ASSERT_EQ(registry->load(machine, u"a", folder / "saved"), Status::ok);
  EXPECT_TRUE(of_key->wait());
  EXPECT_TRUE(names->wait());
  EXPECT_TRUE(above->wait());
  EXPECT_TRUE(of_sub->wait());
  EXPECT_EQ(registry->watch(sub, false, all_ways, std::make_shared<Probe>()), Status::key_deleted);
}

TEST_F(Watch, WorksInAHiveThatIsPrivateToTheProcess) {
  auto own = std::make_unique<Registry>(std::make_unique<Fixed_Locations>("", "", ""), &note_complaint);
  Key user = root_of(*own, Root::current_user);
  Key sub = make_key(*own, user, u"x\\y");
  Probe_Ref probe = watch(*own, user, true, way_last_set);
  ASSERT_EQ(put(*own, sub, u"v", "1"), Status::ok);
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watch, TheClassesRootIsAKeyOfTheMachine) {
  Key classes = root_of(*registry, Root::classes);
  Probe_Ref probe = watch(*registry, classes, false, way_name);
  make_key(*registry, root_of(*registry), u"software\\classes\\.txt");
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watch, AClassesRootThatWasRemovedIsWatchedAgainAsTheNewOne) {
  Key classes = root_of(*registry, Root::classes);
  Probe_Ref probe = watch(*registry, classes, false, way_name);
  ASSERT_EQ(registry->remove(root_of(*registry), u"software\\classes"), Status::ok);
  EXPECT_TRUE(probe->wait());
  probe = watch(*registry, classes, false, way_name);
  ASSERT_NE(probe, nullptr);
  EXPECT_EQ(probe->count(), 0);
  make_key(*registry, root_of(*registry), u"software\\classes\\.txt");
  EXPECT_TRUE(probe->wait());
}

TEST_F(Watch, TheUsersRootHasTheUsersHiveBelowIt) {
  Key users = root_of(*registry, Root::users);
  Probe_Ref probe = watch(*registry, users, true, way_last_set);
  ASSERT_EQ(put(*registry, root_of(*registry, Root::current_user), u"v", "1"), Status::ok);
  ASSERT_TRUE(probe->wait());
  ASSERT_EQ(put(*registry, opened(*registry, users, u".default"), u"v", "1"), Status::ok);
  let_everybody_be_told();
  users.reset();
  EXPECT_EQ(probe->count(), 1);
}

TEST_F(Watch, NothingEverChangesBelowARootThatHasNothing) {
  EXPECT_EQ(registry->watch(root_of(*registry, Root::performance), true, all_ways, std::make_shared<Probe>()),
            Status::unsupported);
}

// ---- the thread

struct Watch_Thread : Watch {
  // The threads of former tests have ended.
  void SetUp() override {
    ASSERT_TRUE(becomes([] { return watching_threads() == 0; }));
  }
};

TEST_F(Watch_Thread, IsThereOnlyWhileACallWaits) {
  const std::set<std::string> before = threads();
  ASSERT_EQ(put(*registry, key, u"v", "0"), Status::ok);
  EXPECT_EQ(threads(), before);
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  EXPECT_EQ(threads().size(), before.size() + 1);
  Key same = opened(*registry, root_of(*registry), u"a");
  Probe_Ref other = watch(*registry, same, false, way_last_set);
  EXPECT_EQ(threads().size(), before.size() + 1);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  ASSERT_TRUE(probe->wait());
  ASSERT_TRUE(other->wait());
  EXPECT_TRUE(becomes([&] { return threads() == before; }));
}

TEST_F(Watch_Thread, EndsWhenTheLastHandleIsClosed) {
  const std::set<std::string> before = threads();
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  key.reset();
  EXPECT_TRUE(becomes([&] { return threads() == before; }));
}

TEST_F(Watch_Thread, IsNotNeededByACallThatIsToldAtOnce) {
  const std::set<std::string> before = threads();
  ASSERT_TRUE(watch(*registry, key, false, way_last_set) != nullptr);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  ASSERT_TRUE(becomes([&] { return threads() == before; }));
  ASSERT_EQ(put(*registry, key, u"v", "2"), Status::ok);
  ASSERT_EQ(watch(*registry, key, false, way_last_set)->count(), 1);
  EXPECT_EQ(threads(), before);
}

// The mask of blocked signals as the system tells it, signal 1 in the lowest bit.
unsigned long long blocked_in(const std::string& thread) {
  std::ifstream status("/proc/self/task/" + thread + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("SigBlk:", 0) == 0) return std::stoull(line.substr(7), nullptr, 16);
  }
  return 0;
}

TEST_F(Watch_Thread, TakesNoSignalOfTheProgram) {
  const std::set<std::string> before = threads();
  Probe_Ref probe = watch(*registry, key, false, way_last_set);
  int seen = 0;
  for (const std::string& thread : threads()) {
    if (before.contains(thread)) continue;
    ++seen;
    for (int signal : {SIGHUP, SIGINT, SIGTERM, SIGUSR1, SIGALRM, SIGCHLD, SIGPROF, SIGIO}) {
      EXPECT_NE(blocked_in(thread) & (1ull << (signal - 1)), 0u) << signal;
    }
  }
  EXPECT_EQ(seen, 1);
}

// ---- the log

// The first column of a question's first row.
long long ask(const std::string& hive, const char* question) {
  sqlite3* db = nullptr;
  sqlite3_stmt* statement = nullptr;
  EXPECT_EQ(sqlite3_open_v2(hive.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_busy_timeout(db, 5000);
  EXPECT_EQ(sqlite3_prepare_v2(db, question, -1, &statement, nullptr), SQLITE_OK) << question;
  EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW) << question;
  const long long answer = sqlite3_column_int64(statement, 0);
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return answer;
}

struct Watch_Log : Watch {
  // Asks in a child: a second SQLite's descriptors would drop this process's locks.
  long long in_hive(const char* question) {
    let_watching_threads_rest();
    kvtest::Child_Result child = kvtest::run_child([&] { printf("%lld", ask(folder / "machine.bin", question)); });
    return child.out.empty() ? -1 : std::stoll(child.out);
  }
};

TEST_F(Watch_Log, StandsOnceSomebodyWatchedInAHiveThatHadNone) {
  EXPECT_EQ(in_hive("SELECT count(*) FROM sqlite_master WHERE name IN ('change', 'watcher')"), 0);
  ASSERT_NE(watch(*registry, key, false, way_name), nullptr);
  EXPECT_EQ(in_hive("SELECT count(*) FROM sqlite_master WHERE name IN ('change', 'watcher')"), 2);
  EXPECT_EQ(in_hive("SELECT count(*) FROM watcher"), 1);
  EXPECT_EQ(in_hive("SELECT value FROM meta WHERE name = 'watchers'"), 1);
}

TEST_F(Watch_Log, IsCutBehindItsReaders) {
  ASSERT_NE(watch(*registry, key, false, way_security), nullptr);
  for (int i = 0; i < 600; ++i) ASSERT_EQ(put(*registry, key, u"v", std::to_string(i)), Status::ok);
  // The reader tells now and then how far it is; the writers cut as often.
  EXPECT_TRUE(becomes([&] {
    for (int i = 0; i < 64; ++i) put(*registry, key, u"v", std::to_string(i));
    return in_hive("SELECT count(*) FROM change") < 300;
  }));
}

TEST_F(Watch_Log, OfAReaderThatStaysAwayDoesNotGrowForEverAndNothingIsMissed) {
  Probe_Ref first = watch(*registry, key, false, way_last_set);
  ASSERT_EQ(put(*registry, key, u"v", "1"), Status::ok);
  ASSERT_TRUE(first->wait());
  Key other = make_key(*registry, root_of(*registry), u"other");
  ASSERT_EQ(put(*registry, key, u"v", "2"), Status::ok);
  for (int i = 0; i < 4300; ++i) ASSERT_EQ(put(*registry, other, u"v", "1"), Status::ok);
  EXPECT_LE(in_hive("SELECT count(*) FROM change"), 4096 + 64);
  EXPECT_GT(in_hive("SELECT min(number) FROM change"), 4);
  EXPECT_EQ(watch(*registry, key, false, way_last_set)->count(), 1);
}

TEST_F(Watch_Log, EndsSoonAfterTheLastHandleIsClosed) {
  ASSERT_NE(watch(*registry, key, false, way_name), nullptr);
  key.reset();
  Key other = make_key(*registry, root_of(*registry), u"other");
  for (int i = 0; i < 70; ++i) ASSERT_EQ(put(*registry, other, u"v", "1"), Status::ok);
  EXPECT_EQ(in_hive("SELECT count(*) FROM watcher"), 0);
  EXPECT_EQ(in_hive("SELECT value FROM meta WHERE name = 'watchers'"), 0);
  const long long last = in_hive("SELECT max(number) FROM change");
  ASSERT_EQ(put(*registry, other, u"v", "1"), Status::ok);
  EXPECT_EQ(in_hive("SELECT max(number) FROM change"), last);
}

}  // namespace
