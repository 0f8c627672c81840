// What is held in memory beside processes that tell what they change: it stays, and never longer than it is true,
// whoever else commits, dies in between, or does what to the file in which they tell.
#include <fcntl.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>

#include "hive/cache/coherence.h"
#include "hive/keys.h"
#include "hive/store/statement.h"
#include "hive/values.h"
#include "tests/hive/database.h"
#include "tests/hive/other_process.h"
#include "tests/hive/trials.h"

namespace {

using namespace hivetest;

// ---- orders for other processes

bool change_many_times(World& world, int times) {
  bool good = true;
  for (int i = 1; i <= times; ++i) good = put_number(world, u"changed", i) && good;
  return good;
}

bool flush(World& world, int) { return world.registry->flush(world.key(u"changed")) == Status::ok; }

// In a process that never had the hive open itself.
bool change_quiet_as_a_foreign_tool(World& world, int number) {
  Database hive(world.folder + "/machine.bin");
  const std::string data = std::to_string(number);
  const std::string quiet = "(SELECT key FROM node WHERE kind = 0 AND folded = 'QUIET')";
  hive.run(
      "BEGIN IMMEDIATE; UPDATE meta SET value = value + 1 WHERE name = 'next_id';"
      "UPDATE node SET data = CAST('" +
      data + "' AS BLOB), size = " + std::to_string(data.size()) + " WHERE kind = 1 AND key = " + quiet +
      ";"
      "UPDATE node SET seq = (SELECT value - 1 FROM meta WHERE name = 'next_id') WHERE kind = 0 AND key = " +
      quiet + "; COMMIT");
  return !testing::Test::HasFailure();
}

enum Death { before_commit, after_commit, after_rollback };

// Step by step what a process does to write, up to its end.
bool change_quiet_and_die(World& world, int death) {
  world.keys.clear();
  world.registry.reset();
  const std::string file = world.folder + "/machine.bin";
  std::unique_ptr<hive::Connection> connection;
  std::string reason;
  if (hive::Connection::open(file, hive::Connection::Mode::shared, &connection, &reason) != Status::ok) return false;
  hive::Connection::Use use(*connection);
  hive::Coherence coherence;
  coherence.opened(*connection, file, 0);
  hive::Statement(*connection, hive::Query::begin_write).run();
  coherence.in_write(*connection);
  std::int64_t quiet = 0;
  const unsigned char data[] = {'9', '9'};
  if (hive::find_key(*connection, 1, u"quiet", &quiet) != Status::ok) return false;
  if (hive::write_value(*connection, quiet, u"v", 3, data, 2) != Status::ok) return false;
  coherence.before_commit(*connection);
  if (death == after_commit) hive::Statement(*connection, hive::Query::commit).run();
  if (death == after_rollback) hive::Statement(*connection, hive::Query::rollback).run();
  return connection->status() == Status::ok && raise(SIGKILL) == 0;
}

std::u16string numbered_key(int number) {
  return {u'k', static_cast<char16_t>(u'a' + number / 10), static_cast<char16_t>(u'0' + number % 10)};
}

bool change_many_keys_at_once(World& world, int count) {
  Registry& registry = *world.registry;
  const Key parent = world.key(u"changed");
  std::vector<Key> keys;
  for (int i = 0; i < count; ++i) keys.push_back(make_key(registry, parent, numbered_key(i)));
  std::vector<hive::Batch_Result> results;
  bool good = registry.begin_batch() == Status::ok;
  for (const Key& key : keys) good = put(registry, key, u"v", "batch") == Status::ok && good;
  return good && registry.commit_batch(&results) == Status::ok;
}

bool put_in_batch(World& world, int count) {
  Registry& registry = *world.registry;
  std::vector<hive::Batch_Result> results;
  bool good = registry.begin_batch() == Status::ok;
  for (int i = 0; i < count; ++i) {
    good = put(registry, world.key(u"changed\\" + numbered_key(i)), u"v", "again") == Status::ok && good;
  }
  return good && registry.commit_batch(&results) == Status::ok;
}

bool start_watching(World& world, int) {
  world.probe = watch(*world.registry, world.key(u"changed"), false, hive::way_last_set);
  return world.probe != nullptr;
}

bool is_told(World& world, int) { return world.probe->wait(); }

// ---- the test's own process

class Told : public testing::Test {
 protected:
  void SetUp() override {
    complaints().clear();
    registry = registry_on(folder.path());
    changed = make_key(*registry, root_of(*registry), u"changed");
    quiet = make_key(*registry, root_of(*registry), u"quiet");
    ASSERT_EQ(put(*registry, changed, u"v", "0"), Status::ok);
    ASSERT_EQ(put(*registry, quiet, u"v", "quiet"), Status::ok);
    hold_both();
    // The ring stands from now on, and every process has seen the hive.
    ASSERT_TRUE(other.run(&change, 1) && third.run(&change, 2));
    hold_both();
    ASSERT_TRUE(other.run(&change, 3));
    expect_held_beside("3");
  }
  void TearDown() override {
    for (const std::string& line : complaints()) ADD_FAILURE() << line;
  }

  void hold_both() {
    get(*registry, changed, u"v");
    get(*registry, quiet, u"v");
  }
  // Somebody has changed the one key: that is seen, and the other one is still held.
  void expect_held_beside(const std::string& data) {
    EXPECT_EQ(get(*registry, changed, u"v"), data);
    EXPECT_TRUE(is_held(quiet, u"v"));
    EXPECT_EQ(get(*registry, quiet, u"v"), "quiet");
  }
  // It is seen, and the other one was looked at again.
  void expect_not_held_beside(const std::string& data) {
    EXPECT_EQ(get(*registry, changed, u"v"), data);
    EXPECT_FALSE(is_held(quiet, u"v"));
    EXPECT_EQ(get(*registry, quiet, u"v"), "quiet");
  }
  std::string ring() const { return folder / "machine.bin-ring"; }
  void write_to_ring(std::size_t at, const std::string& bytes) {
    const int fd = open(ring().c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(at)), static_cast<ssize_t>(bytes.size()));
    close(fd);
  }

  Temp_Folder folder;
  Other_Process other{folder.path()};
  Other_Process third{folder.path()};
  Other_Process foreign{folder.path()};
  std::unique_ptr<Registry> registry;
  Key changed;
  Key quiet;
};

constexpr std::size_t size_of_ring = 131584;
constexpr std::size_t size_of_head = 512;

std::string noise(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

TEST_F(Told, KeysThatOthersDoNotTouchStayHeld) {
  for (int i = 10; i < 30; ++i) {
    ASSERT_TRUE((i % 2 == 0 ? other : third).run(&change, i));
    expect_held_beside(std::to_string(i));
  }
}

TEST_F(Told, ManyCommitsBetweenTwoReadsAreFollowed) {
  ASSERT_TRUE(other.run(&change_many_times, 30));
  ASSERT_TRUE(third.run(&change_many_times, 31));
  expect_held_beside("31");
}

TEST_F(Told, AProcessThatWritesItselfFollowsTheOthers) {
  for (int i = 10; i < 20; ++i) {
    ASSERT_TRUE(other.run(&change, i));
    ASSERT_EQ(put(*registry, changed, u"own", "1"), Status::ok);
    EXPECT_TRUE(is_held(quiet, u"v"));
    EXPECT_FALSE(is_held(changed, u"v"));
    expect_held_beside(std::to_string(i));
  }
}

TEST_F(Told, TheKeyThatIsToldIsReadAnew) {
  for (int i = 10; i < 20; ++i) {
    ASSERT_TRUE(other.run(&change_quiet, i));
    EXPECT_EQ(get(*registry, changed, u"v"), "3");
    EXPECT_FALSE(is_held(quiet, u"v"));
    EXPECT_EQ(get(*registry, quiet, u"v"), std::to_string(i));
  }
}

TEST_F(Told, MoreCommitsThanTheRingHoldsAreSeenAllTheSame) {
  ASSERT_TRUE(third.run(&change_quiet, 5));
  ASSERT_TRUE(other.run(&change_many_times, 300));
  EXPECT_EQ(get(*registry, changed, u"v"), "300");
  EXPECT_FALSE(is_held(quiet, u"v"));
  EXPECT_EQ(get(*registry, quiet, u"v"), "5");
  ASSERT_TRUE(other.run(&change, 7));
  EXPECT_EQ(get(*registry, changed, u"v"), "7");
  EXPECT_TRUE(is_held(quiet, u"v"));
}

TEST_F(Told, ACommitOfAForeignToolIsSeenWhereverItStands) {
  for (int place = 0; place < 3; ++place) {
    hold_both();
    if (place > 0) {
      ASSERT_TRUE(other.run(&change, 40 + place));
    }
    ASSERT_TRUE(foreign.run(&change_quiet_as_a_foreign_tool, 50 + place));
    if (place < 2) {
      ASSERT_TRUE(third.run(&change, 60 + place));
    }
    EXPECT_EQ(get(*registry, changed, u"v"), place < 2 ? std::to_string(60 + place) : "42");
    EXPECT_FALSE(is_held(quiet, u"v"));
    EXPECT_EQ(get(*registry, quiet, u"v"), std::to_string(50 + place));
  }
}

TEST_F(Told, ACommitWhoseWriterWasKilledBeforeItToldIsSeenAtOnce) {
  EXPECT_FALSE(third.run(&change_quiet_and_die, after_commit));
  for (int i = 0; i < 300; ++i) ASSERT_EQ(get(*registry, quiet, u"v"), "99");
  EXPECT_TRUE(is_held(quiet, u"v"));
}

TEST_F(Told, WhatFollowsACommitThatWasNotToldBringsNothingBack) {
  EXPECT_FALSE(third.run(&change_quiet_and_die, after_commit));
  ASSERT_TRUE(other.run(&change, 10));
  EXPECT_EQ(get(*registry, changed, u"v"), "10");
  EXPECT_FALSE(is_held(quiet, u"v"));
  EXPECT_EQ(get(*registry, quiet, u"v"), "99");
  for (int i = 0; i < 300; ++i) ASSERT_EQ(get(*registry, quiet, u"v"), "99");
  EXPECT_TRUE(is_held(quiet, u"v"));
}

TEST_F(Told, AWriterKilledBeforeItsCommitHasToldNothing) {
  EXPECT_FALSE(third.run(&change_quiet_and_die, before_commit));
  EXPECT_TRUE(is_held(quiet, u"v"));
  ASSERT_TRUE(other.run(&change, 10));
  expect_held_beside("10");
}

TEST_F(Told, ACommitThatWasTakenBackCountsForNothing) {
  EXPECT_FALSE(third.run(&change_quiet_and_die, after_rollback));
  EXPECT_TRUE(is_held(quiet, u"v"));
  ASSERT_TRUE(foreign.run(&change_quiet_as_a_foreign_tool, 50));
  for (int i = 0; i < 300; ++i) ASSERT_EQ(get(*registry, quiet, u"v"), "50");
  EXPECT_TRUE(is_held(quiet, u"v"));
}

TEST_F(Told, ABatchOfFewKeysIsToldAndOneOfManyIsSeen) {
  ASSERT_TRUE(other.run(&change_many_keys_at_once, 50));
  EXPECT_EQ(counts_of(*registry, changed).sub_keys, 50u);
  EXPECT_FALSE(is_held(quiet, u"v"));
  hold_both();
  ASSERT_TRUE(other.run(&put_in_batch, 49));
  expect_held_beside("3");
  ASSERT_TRUE(other.run(&put_in_batch, 50));
  expect_not_held_beside("3");
}

TEST_F(Told, SubKeysThatAreMadeRenamedAndRemovedChangeTheListOfTheirParent) {
  make_key(*registry, changed, u"first");
  EXPECT_EQ(key_names(*registry, changed), Names{u"first"});
  const auto expect_names = [&](const Names& names) {
    EXPECT_EQ(get(*registry, changed, u"v"), "3");
    EXPECT_TRUE(is_held(quiet, u"v"));
    EXPECT_EQ(key_names(*registry, changed), names);
    EXPECT_EQ(counts_of(*registry, changed).sub_keys, names.size());
  };
  hold_both();
  ASSERT_TRUE(other.run(
      [](World& world, int) { return make_key(*world.registry, world.key(u"changed"), u"second\\below") != nullptr; }));
  expect_names({u"first", u"second"});
  const Key second = opened(*registry, changed, u"second");
  EXPECT_EQ(key_names(*registry, second), Names{u"below"});
  ASSERT_TRUE(other.run([](World& world, int) {
    return world.registry->rename(world.key(u"changed"), u"second", u"a name") == Status::ok;
  }));
  expect_names({u"a name", u"first"});
  Key found;
  EXPECT_EQ(registry->open(changed, u"second", &found), Status::not_found);
  ASSERT_TRUE(other.run([](World& world, int) {
    return world.registry->remove(world.key(u"changed"), u"a name\\below") == Status::ok &&
           world.registry->remove(world.key(u"changed"), u"a name") == Status::ok;
  }));
  expect_names({u"first"});
  EXPECT_EQ(status_of_get(*registry, second, u"v"), Status::key_deleted);
}

TEST_F(Told, RightsThatAreSetAreSeen) {
  hive::Key_Rights rights{};
  ASSERT_EQ(registry->rights(changed, &rights), Status::ok);
  ASSERT_TRUE(other.run([](World& world, int) {
    const std::uint32_t mode = 0711;
    return world.registry->set_rights(world.key(u"changed"), &mode, nullptr, nullptr) == Status::ok;
  }));
  EXPECT_EQ(get(*registry, changed, u"v"), "3");
  EXPECT_TRUE(is_held(quiet, u"v"));
  ASSERT_EQ(registry->rights(changed, &rights), Status::ok);
  EXPECT_EQ(rights.mode, 0711u);
}

TEST_F(Told, AnotherProcessThatBeginsToWatchIsToldOfTheNextChange) {
  ASSERT_EQ(put(*registry, changed, u"own", "1"), Status::ok);
  ASSERT_TRUE(other.run(&start_watching));
  EXPECT_EQ(get(*registry, changed, u"v"), "3");
  ASSERT_EQ(put(*registry, changed, u"own", "2"), Status::ok);
  EXPECT_TRUE(other.run(&is_told));
}

TEST_F(Told, ALogThatBeginsAnewIsSeen) {
  for (int i = 10; i < 14; ++i) {
    ASSERT_TRUE(third.run(&flush));
    ASSERT_TRUE(other.run(&change_quiet, i));
    ASSERT_TRUE(third.run(&change, i));
    EXPECT_EQ(get(*registry, changed, u"v"), std::to_string(i));
    EXPECT_EQ(get(*registry, quiet, u"v"), std::to_string(i));
  }
  ASSERT_TRUE(third.run(&change, 20));
  EXPECT_EQ(get(*registry, changed, u"v"), "20");
  EXPECT_TRUE(is_held(quiet, u"v"));
}

TEST_F(Told, AForkLeavesBothProcessesToldOfWhatOthersChange) {
  const kvtest::Child_Result child = kvtest::run_child([&] {
    hold_both();
    bool good = other.run(&change, 10) && get(*registry, changed, u"v") == "10" && is_held(quiet, u"v");
    good = good && put(*registry, quiet, u"v", "child") == Status::ok;
    _exit(good ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(get(*registry, quiet, u"v"), "child");
  EXPECT_EQ(get(*registry, changed, u"v"), "10");
  ASSERT_TRUE(third.run(&change, 11));
  EXPECT_EQ(get(*registry, changed, u"v"), "11");
  EXPECT_TRUE(is_held(quiet, u"v"));
}

// ---- the file

TEST_F(Told, TheFileIsAsTheHiveIs) {
  struct stat hive;
  struct stat file;
  ASSERT_EQ(stat((folder / "machine.bin").c_str(), &hive), 0);
  ASSERT_EQ(stat(ring().c_str(), &file), 0);
  EXPECT_EQ(file.st_mode, hive.st_mode);
  EXPECT_EQ(file.st_uid, hive.st_uid);
  EXPECT_EQ(file.st_gid, hive.st_gid);
  EXPECT_EQ(file.st_size, static_cast<off_t>(size_of_ring));
  const std::string bytes = bytes_of(ring());
  EXPECT_EQ(bytes.substr(0, 16), std::string("kvring 1\x40\0\0\0\0\1\0\0", 16));
}

TEST_F(Told, NoiseInTheEntriesIsNotBelieved) {
  std::mt19937 random(1);
  ASSERT_TRUE(other.run(&change, 10));
  write_to_ring(size_of_head, noise(random, size_of_ring - size_of_head));
  expect_not_held_beside("10");
  ASSERT_TRUE(other.run(&change, 11));
  expect_held_beside("11");
}

TEST_F(Told, NoiseInTheHeadEndsTheTelling) {
  std::mt19937 random(2);
  ASSERT_EQ(std::filesystem::remove(ring()), true);
  std::ofstream(ring(), std::ios::binary) << noise(random, size_of_ring);
  std::filesystem::permissions(ring(), std::filesystem::status(folder / "machine.bin").permissions());
  const std::string before = bytes_of(ring());
  for (int i = 10; i < 13; ++i) {
    ASSERT_TRUE(other.run(&change, i));
    expect_not_held_beside(std::to_string(i));
  }
  EXPECT_EQ(bytes_of(ring()), before);
}

TEST_F(Told, DamageAnywhereChangesNoAnswer) {
  std::mt19937 random(3);
  std::string of_quiet = "quiet";
  int held = 0;
  const int wanted = trials(100, 2000);
  for (int trial = 0; trial < wanted; ++trial) {
    const std::size_t at = size_of_head + random() % (size_of_ring - size_of_head);
    const bool is_quiet = random() % 3 == 0;
    if (random() % 2 == 0) write_to_ring(at, noise(random, std::min<std::size_t>(random() % 30000, size_of_ring - at)));
    if (is_quiet) of_quiet = std::to_string(trial);
    ASSERT_TRUE((trial % 2 == 0 ? other : third).run(is_quiet ? &change_quiet : &change, trial));
    if (!is_quiet) {
      ASSERT_EQ(get(*registry, changed, u"v"), std::to_string(trial));
    }
    ASSERT_EQ(get(*registry, quiet, u"v"), of_quiet);
    get(*registry, changed, u"v");
    held += is_held(quiet, u"v");
  }
  EXPECT_GT(held, 0);
  printf("%d trials of damage to the ring, no answer wrong\n", wanted);
}

TEST_F(Told, AFileCutShortIsMadeWholeByTheNextWriter) {
  for (const std::uintmax_t size : {0, 1, 16, 512, 4096, 100000, 131583}) {
    std::filesystem::resize_file(ring(), size);
    EXPECT_TRUE(is_held(quiet, u"v"));
    ASSERT_TRUE(other.run(&change, 10));
    EXPECT_EQ(get(*registry, changed, u"v"), "10");
    EXPECT_EQ(get(*registry, quiet, u"v"), "quiet");
    ASSERT_TRUE(other.run(&change, 11));
    expect_held_beside("11");
    EXPECT_EQ(std::filesystem::file_size(ring()), size_of_ring);
  }
}

TEST_F(Told, AFileCutShortWhileNobodyTellsIsNotTouched) {
  std::filesystem::resize_file(ring(), 0);
  ASSERT_TRUE(foreign.run(&change_quiet_as_a_foreign_tool, 50));
  EXPECT_EQ(get(*registry, quiet, u"v"), "50");
  EXPECT_EQ(std::filesystem::file_size(ring()), 0u);
}

TEST_F(Told, AFileThatIsGoneIsMadeAnew) {
  for (int i = 10; i < 13; ++i) {
    ASSERT_TRUE(std::filesystem::remove(ring()));
    ASSERT_TRUE(other.run(&change_quiet, i));
    EXPECT_EQ(get(*registry, quiet, u"v"), std::to_string(i));
    ASSERT_TRUE(other.run(&change, i));
    EXPECT_EQ(get(*registry, changed, u"v"), std::to_string(i));
    EXPECT_TRUE(is_held(quiet, u"v"));
  }
}

TEST_F(Told, AnOlderCopyInItsPlaceTellsNothingWrong) {
  std::filesystem::copy_file(ring(), folder / "copy");
  for (int i = 10; i < 20; ++i) ASSERT_TRUE(other.run(i % 2 == 0 ? &change : &change_quiet, i));
  std::filesystem::rename(folder / "copy", ring());
  EXPECT_EQ(get(*registry, quiet, u"v"), "19");
  EXPECT_EQ(get(*registry, changed, u"v"), "18");
  ASSERT_TRUE(other.run(&change, 20));
  EXPECT_EQ(get(*registry, changed, u"v"), "20");
  EXPECT_EQ(get(*registry, quiet, u"v"), "19");
}

TEST_F(Told, NoLinkIsFollowed) {
  std::ofstream(folder / "victim") << "untouched";
  std::filesystem::remove(ring());
  std::filesystem::create_symlink(folder / "victim", ring());
  ASSERT_TRUE(other.run(&change, 10));
  expect_not_held_beside("10");
  EXPECT_EQ(bytes_of(folder / "victim"), "untouched");
}

TEST_F(Told, AFileOfTwoNamesIsNotUsed) {
  std::filesystem::create_hard_link(ring(), folder / "second name");
  const std::string before = bytes_of(ring());
  ASSERT_TRUE(other.run(&change, 10));
  expect_not_held_beside("10");
  EXPECT_EQ(bytes_of(ring()), before);
}

TEST_F(Told, WhatIsNoFileIsNotUsedAndNobodyWaitsForIt) {
  std::filesystem::remove(ring());
  ASSERT_EQ(mkfifo(ring().c_str(), 0644), 0);
  ASSERT_TRUE(other.run(&change, 10));
  expect_not_held_beside("10");
  std::filesystem::remove(ring());
  std::filesystem::create_directory(ring());
  ASSERT_TRUE(other.run(&change, 11));
  expect_not_held_beside("11");
}

TEST_F(Told, AFileOfAnotherOwnerIsNotUsed) {
  if (geteuid() != 0) GTEST_SKIP() << "needs two users";
  const std::string content = bytes_of(ring());
  std::filesystem::remove(ring());
  write_bytes(ring(), content);
  ASSERT_EQ(chown(ring().c_str(), nobody, nobody), 0);
  ASSERT_EQ(chmod(ring().c_str(), 0666), 0);
  ASSERT_TRUE(other.run(&change, 10));
  expect_not_held_beside("10");
  EXPECT_EQ(bytes_of(ring()), content);
}

TEST_F(Told, AFileWhoseRightsAreNotTheHivesIsGivenThem) {
  const std::string content = bytes_of(ring());
  std::filesystem::remove(ring());
  write_bytes(ring(), content);
  ASSERT_EQ(chmod(ring().c_str(), 0666), 0);
  ASSERT_TRUE(other.run(&change, 10));
  EXPECT_EQ(get(*registry, changed, u"v"), "10");
  EXPECT_EQ(std::filesystem::status(ring()).permissions(),
            std::filesystem::status(folder / "machine.bin").permissions());
  ASSERT_TRUE(other.run(&change, 11));
  expect_held_beside("11");
}

}  // namespace
