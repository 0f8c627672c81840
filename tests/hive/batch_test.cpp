// Batches within one process: what the thread sees, what others see, what stays.
#include "hive/batch.h"

#include <fcntl.h>

#include <atomic>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include "tests/hive/registry_on.h"
#include "tests/hive/watch_probe.h"

namespace {

using namespace hivetest;
using hive::Batch;

// Runs in a thread of its own, to its end.
template <class Body>
void elsewhere(Body body) {
  std::thread(body).join();
}

struct Batches : testing::Test {
  ~Batches() override { registry->abandon_batch(); }

  std::string seen_elsewhere(const Key& of, std::u16string_view name) {
    std::string seen;
    elsewhere([&] { seen = get(*registry, of, name); });
    return seen;
  }
  Status commit() { return registry->commit_batch(&results); }

  Temp_Folder folder;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key = make_key(*registry, root_of(*registry), u"a");
  std::vector<hive::Batch_Result> results;
};

const std::string missing = "(status " + std::to_string(static_cast<int>(Status::not_found)) + ")";

TEST_F(Batches, AreSeenByTheirThreadAtOnceAndByOthersAfterTheCommit) {
  put(*registry, key, u"v", "before");
  ASSERT_EQ(get(*registry, key, u"v"), "before");
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  EXPECT_EQ(put(*registry, key, u"v", "within"), Status::ok);
  EXPECT_EQ(put(*registry, key, u"w", "new"), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "within");
  EXPECT_EQ(value_names(*registry, key), (Names{u"v", u"w"}));
  EXPECT_EQ(counts_of(*registry, key).values, 2u);
  EXPECT_EQ(seen_elsewhere(key, u"v"), "before");
  EXPECT_EQ(seen_elsewhere(key, u"w"), missing);
  EXPECT_EQ(commit(), Status::ok);
  EXPECT_EQ(seen_elsewhere(key, u"v"), "within");
  EXPECT_EQ(seen_elsewhere(key, u"w"), "new");
  EXPECT_EQ(get(*registry, key, u"w"), "new");
}

TEST_F(Batches, ThatAreAbandonedLeaveNothingInTheHiveNorInMemory) {
  put(*registry, key, u"v", "before");
  make_key(*registry, key, u"old");
  ASSERT_EQ(get(*registry, key, u"v"), "before");
  ASSERT_EQ(key_names(*registry, key), (Names{u"old"}));
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, key, u"v", "within");
  put(*registry, key, u"w", "new");
  make_key(*registry, key, u"child");
  EXPECT_EQ(registry->remove(key, u"old"), Status::ok);
  EXPECT_EQ(key_names(*registry, key), (Names{u"child"}));
  EXPECT_EQ(registry->abandon_batch(), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "before");
  EXPECT_EQ(get(*registry, key, u"w"), missing);
  EXPECT_EQ(key_names(*registry, key), (Names{u"old"}));
  EXPECT_EQ(counts_of(*registry, key).values, 1u);
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(key, &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
}

TEST_F(Batches, CannotBeBegunTwiceNorEndedWithoutOne) {
  EXPECT_EQ(commit(), Status::no_batch);
  EXPECT_EQ(registry->abandon_batch(), Status::no_batch);
  EXPECT_EQ(registry->begin_batch(), Status::ok);
  EXPECT_EQ(registry->begin_batch(), Status::in_batch);
  EXPECT_EQ(commit(), Status::ok);
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(commit(), Status::no_batch);
}

TEST_F(Batches, AreOfTheirThreadAlone) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  elsewhere([&] {
    EXPECT_EQ(put(*registry, key, u"v", "other"), Status::ok);
    EXPECT_EQ(registry->abandon_batch(), Status::no_batch);
  });
  EXPECT_EQ(get(*registry, key, u"v"), "other");
}

TEST_F(Batches, LetOthersReadWhatIsNotInMemory) {
  const Key other = make_key(*registry, root_of(*registry), u"b");
  put(*registry, other, u"v", "read from the file");
  registry = registry_on(folder.path());
  key = make_key(*registry, root_of(*registry), u"a");
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  ASSERT_EQ(put(*registry, key, u"v", "within"), Status::ok);
  elsewhere([&] {
    Key found;
    ASSERT_EQ(registry->open(root_of(*registry), u"b", &found), Status::ok);
    EXPECT_EQ(get(*registry, found, u"v"), "read from the file");
    EXPECT_EQ(get(*registry, found, u"w"), missing);
    EXPECT_EQ(registry->flush(found), Status::ok);
    EXPECT_EQ(get(*registry, key, u"v"), missing);
  });
  EXPECT_EQ(commit(), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "within");
}

TEST_F(Batches, OfAPrivateHiveLetOthersReadToo) {
  Registry alone(std::make_unique<Fixed_Locations>(folder / "m", "", folder / "i"), &note_complaint);
  const Key user = root_of(alone, Root::current_user);
  put(alone, user, u"v", "before");
  put(alone, user, u"large", std::string(100'000, 'x'));
  ASSERT_EQ(alone.begin_batch(), Status::ok);
  ASSERT_EQ(put(alone, user, u"v", "within"), Status::ok);
  ASSERT_EQ(put(alone, user, u"w", "new"), Status::ok);
  elsewhere([&] {
    EXPECT_EQ(get(alone, user, u"v"), "before");
    EXPECT_EQ(get(alone, user, u"w"), missing);
    EXPECT_EQ(get(alone, user, u"large"), std::string(100'000, 'x'));
  });
  EXPECT_EQ(alone.commit_batch(&results), Status::ok);
  EXPECT_EQ(get(alone, user, u"v"), "within");
  elsewhere([&] { EXPECT_EQ(get(alone, user, u"w"), "new"); });
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(results[0].file, "");
  ASSERT_EQ(alone.begin_batch(), Status::ok);
  ASSERT_EQ(put(alone, user, u"v", "abandoned"), Status::ok);
  EXPECT_EQ(alone.abandon_batch(), Status::ok);
  EXPECT_EQ(get(alone, user, u"v"), "within");
}

TEST_F(Batches, LetFailedOperationsGo) {
  const Key gone = make_key(*registry, key, u"gone");
  const Key parent = make_key(*registry, key, u"parent");
  make_key(*registry, parent, u"child");
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  EXPECT_EQ(registry->remove(key, u"gone"), Status::ok);
  EXPECT_EQ(put(*registry, gone, u"v", "x"), Status::key_deleted);
  EXPECT_EQ(registry->remove_value(key, u"none"), Status::not_found);
  EXPECT_EQ(registry->remove(key, u"parent"), Status::has_children);
  EXPECT_EQ(registry->remove(root_of(*registry), u""), Status::denied);
  Key made;
  std::u16string too_long = u"one\\two\\" + std::u16string(257, u'n');
  EXPECT_EQ(create(*registry, key, too_long, &made), Status::invalid);
  EXPECT_EQ(put(*registry, key, u"v", "good"), Status::ok);
  EXPECT_EQ(commit(), Status::ok);
  EXPECT_EQ(get(*registry, key, u"v"), "good");
  EXPECT_EQ(key_names(*registry, key), (Names{u"parent"}));
}

TEST_F(Batches, TakeBackALoadThatFailsAlone) {
  const Key saved = make_key(*registry, root_of(*registry), u"saved");
  std::u16string deep = u"d";
  for (int i = 0; i < 20; ++i) deep += u"\\d";
  make_key(*registry, saved, deep);
  const std::string file = folder / "saved.hive";
  ASSERT_EQ(registry->save(saved, file), Status::ok);
  std::u16string path = u"p";
  for (int i = 1; i < 500; ++i) path += u"\\p";
  const Key deepest = make_key(*registry, root_of(*registry), path);
  put(*registry, deepest, u"kept", "as it was");
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  EXPECT_EQ(put(*registry, key, u"first", "1"), Status::ok);
  EXPECT_EQ(registry->load(deepest, u"", file), Status::invalid);
  EXPECT_EQ(get(*registry, deepest, u"kept"), "as it was");
  EXPECT_EQ(registry->load(key, u"loaded", file), Status::ok);
  EXPECT_EQ(put(*registry, key, u"last", "2"), Status::ok);
  EXPECT_EQ(commit(), Status::ok);
  EXPECT_EQ(value_names(*registry, key), (Names{u"first", u"last"}));
  EXPECT_EQ(key_names(*registry, key), (Names{u"loaded"}));
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(key, &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
}

TEST_F(Batches, OfTenThousandWritesAreOneTransaction) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  for (int i = 0; i < 100; ++i) {
    const std::string number = std::to_string(i);
    const Key child = make_key(*registry, key, std::u16string(number.begin(), number.end()));
    for (char16_t value = 0; value < 99; ++value) {
      ASSERT_EQ(put(*registry, child, std::u16string(1, u'A' + value), number), Status::ok);
    }
  }
  elsewhere([&] { EXPECT_EQ(counts_of(*registry, key).sub_keys, 0u); });
  EXPECT_EQ(counts_of(*registry, key).sub_keys, 100u);
  EXPECT_EQ(commit(), Status::ok);
  elsewhere([&] { EXPECT_EQ(counts_of(*registry, key).sub_keys, 100u); });
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(key, &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
}

TEST_F(Batches, OfTwoHivesTellBothInTheOrderOfTheirFirstChanges) {
  const Key user = root_of(*registry, Root::current_user);
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, user, u"v", "u");
  put(*registry, key, u"v", "m");
  put(*registry, user, u"w", "u");
  EXPECT_EQ(commit(), Status::ok);
  ASSERT_EQ(results.size(), 2u);
  EXPECT_EQ(results[0].root, Root::current_user);
  EXPECT_EQ(results[0].file, folder / "user.bin");
  EXPECT_EQ(results[0].status, Status::ok);
  EXPECT_EQ(results[1].root, Root::machine);
  EXPECT_EQ(results[1].file, folder / "machine.bin");
  EXPECT_EQ(results[1].status, Status::ok);
  EXPECT_EQ(seen_elsewhere(user, u"w"), "u");
  EXPECT_EQ(seen_elsewhere(key, u"v"), "m");
}

TEST_F(Batches, MakeKeysThatAreNoneOnceAbandoned) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  const Key child = make_key(*registry, key, u"child");
  Key again;
  ASSERT_EQ(registry->open(key, u"child", &again), Status::ok);
  put(*registry, child, u"v", "x");
  EXPECT_EQ(registry->abandon_batch(), Status::ok);
  const Key later = make_key(*registry, key, u"later");  // may get the number of the key that is none
  put(*registry, later, u"v", "of another");
  ASSERT_EQ(get(*registry, later, u"v"), "of another");
  const std::string deleted = "(status " + std::to_string(static_cast<int>(Status::key_deleted)) + ")";
  EXPECT_EQ(get(*registry, child, u"v"), deleted);
  EXPECT_EQ(get(*registry, again, u"v"), deleted);
  EXPECT_EQ(put(*registry, child, u"v", "y"), Status::key_deleted);
  EXPECT_EQ(get(*registry, later, u"v"), "of another");
}

TEST_F(Batches, MakeKeysThatStayOnceCommitted) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  const Key child = make_key(*registry, key, u"child");
  EXPECT_EQ(commit(), Status::ok);
  EXPECT_EQ(put(*registry, child, u"v", "x"), Status::ok);
  EXPECT_EQ(get(*registry, child, u"v"), "x");
}

TEST_F(Batches, KeepHandlesOfKeysThatStoodBefore) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, key, u"v", "x");
  Key again;
  ASSERT_EQ(registry->open(root_of(*registry), u"a", &again), Status::ok);
  EXPECT_EQ(registry->abandon_batch(), Status::ok);
  EXPECT_EQ(put(*registry, again, u"v", "y"), Status::ok);
}

TEST_F(Batches, GoOnListingWhereTheyWereAbandoned) {
  for (const char16_t* name : {u"1", u"2", u"3", u"4"}) make_key(*registry, key, name);
  char16_t text[10];
  hive::Text_Out name{text, 10, 0};
  ASSERT_EQ(registry->enumerate_key(key, 0, name, nullptr, nullptr), Status::ok);
  ASSERT_EQ(registry->enumerate_key(key, 1, name, nullptr, nullptr), Status::ok);
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  make_key(*registry, key, u"2a");
  ASSERT_EQ(registry->enumerate_key(key, 2, name, nullptr, nullptr), Status::ok);
  EXPECT_EQ(std::u16string_view(text, name.length), u"2a");
  EXPECT_EQ(registry->abandon_batch(), Status::ok);
  ASSERT_EQ(registry->enumerate_key(key, 3, name, nullptr, nullptr), Status::ok);
  EXPECT_EQ(std::u16string_view(text, name.length), u"3");
}

TEST_F(Batches, OfAThreadThatEndsAreAbandoned) {
  elsewhere([&] {
    ASSERT_EQ(registry->begin_batch(), Status::ok);
    ASSERT_EQ(put(*registry, key, u"v", "x"), Status::ok);
  });
  EXPECT_EQ(get(*registry, key, u"v"), missing);
  EXPECT_EQ(put(*registry, key, u"v", "y"), Status::ok);
}

TEST_F(Batches, RefuseImagesAndWatching) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  std::vector<unsigned char> image;
  EXPECT_EQ(registry->user_image(&image), Status::in_batch);
  EXPECT_EQ(registry->watch(key, false, hive::way_last_set, nullptr), Status::in_batch);
}

TEST_F(Batches, AreNotInABackup) {
  put(*registry, key, u"v", "before");
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, key, u"v", "within");
  EXPECT_EQ(registry->backup(folder / "backup"), Status::ok);
  EXPECT_EQ(commit(), Status::ok);
  Registry restored(std::make_unique<Fixed_Locations>(folder / "backup/machine.hive", "", folder / "i"),
                    &note_complaint);
  Key found;
  ASSERT_EQ(restored.open(root_of(restored), u"a", &found), Status::ok);
  EXPECT_EQ(get(restored, found, u"v"), "before");
}

TEST_F(Batches, AreLostWhenTheFileIsReplaced) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, key, u"v", "within");
  for (const char* suffix : {"", "-wal", "-shm"})
    std::filesystem::remove(folder / (std::string("machine.bin") + suffix));
  put(*registry, key, u"w", "x");
  EXPECT_EQ(commit(), Status::batch_lost);
  EXPECT_EQ(put(*registry, root_of(*registry), u"v", "new"), Status::ok);
}

// More than stays in memory, so that some is written before the commit.
TEST_F(Batches, AreLostWhenDescriptorsAreClosedAndWriteIntoNoOtherFile) {
  const auto child = kvtest::run_child([&] {
    EXPECT_EQ(registry->begin_batch(), Status::ok);
    put(*registry, key, u"v", "within");
    for (int fd = 3; fd < 64; ++fd) close(fd);
    for (int i = 0; i < 10; ++i) {
      const std::string file = folder / ("own" + std::to_string(i));
      if (write(open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600), "my own log\n", 11) != 11)
        printf("cannot write ");
    }
    Status status = Status::ok;
    for (int i = 0; i < 4000 && status == Status::ok; ++i)
      status = put(*registry, key, u"w" + std::u16string(1, static_cast<char16_t>(0x4E00 + i)), std::string(900, 'x'));
    printf("%s", status == Status::batch_lost && commit() == Status::batch_lost ? "lost" : "kept");
    printf(" %s", put(*registry, key, u"v", "after") == Status::ok ? "written" : "not written");
    fflush(nullptr);
    _exit(0);
  });
  EXPECT_EQ(child.out, "lost written");
  for (int i = 0; i < 10; ++i) {
    std::ostringstream bytes;
    bytes << std::ifstream(folder / ("own" + std::to_string(i)), std::ios::binary).rdbuf();
    EXPECT_EQ(bytes.str(), "my own log\n") << i;
  }
  EXPECT_EQ(get(*registry, key, u"v"), "after");
  EXPECT_EQ(counts_of(*registry, key).values, 1u);
}

TEST_F(Batches, CountWhatWasPutBelowAKeyOneAfterTheOther) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, key, u"a", "1");
  put(*registry, key, u"bbb", "22");
  put(*registry, key, u"cc", "4444");
  put(*registry, key, u"cc", "55555");
  hive::Key_Counts counts = counts_of(*registry, key);
  EXPECT_EQ(counts.values, 3u);
  EXPECT_EQ(counts.max_value_name_units, 3u);
  EXPECT_EQ(counts.max_value_size, 5u);
  put(*registry, key, u"d", "666666");
  EXPECT_EQ(status_of_get(*registry, key, u"missing"), Status::not_found);
  put(*registry, key, u"eeee", "7");
  EXPECT_EQ(registry->remove_value(key, u"d"), Status::ok);
  put(*registry, key, u"f", "");
  put(*registry, key, u"g", "");
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(root_of(*registry), &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
  EXPECT_EQ(commit(), Status::ok);
  counts = counts_of(*registry, key);
  EXPECT_EQ(counts.values, 6u);
  EXPECT_EQ(counts.max_value_name_units, 4u);
  EXPECT_EQ(counts.max_value_size, 5u);
  EXPECT_EQ(registry->check(root_of(*registry), &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
}

TEST_F(Batches, PutNothingBelowAKeyThatTheyHaveRemoved) {
  const Key other = make_key(*registry, root_of(*registry), u"other");
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, other, u"v", "1");
  put(*registry, other, u"w", "2");
  EXPECT_EQ(registry->remove(root_of(*registry), u"other"), Status::ok);
  EXPECT_EQ(put(*registry, other, u"x", "3"), Status::key_deleted);
  put(*registry, key, u"v", "4");
  EXPECT_EQ(commit(), Status::ok);
  std::vector<hive::Found_Fault> faults;
  hive::Hive_Counts counts{};
  EXPECT_EQ(registry->check(root_of(*registry), &faults, &counts), Status::ok);
  EXPECT_TRUE(faults.empty());
  EXPECT_EQ(get(*registry, key, u"v"), "4");
}

// The same steps at random: in one registry in batches, in another one by one.
TEST_F(Batches, LeaveWhatSingleWritesLeave) {
  const Temp_Folder beside;
  const std::unique_ptr<Registry> single = registry_on(beside.path());
  std::minstd_rand random(20);
  const Names names{u"a", u"bb", u"ccc", u"dddd", u"eeeee"};
  const Names paths{u"k", u"l", u"m"};
  const auto step = [](Registry& to, unsigned kind, std::u16string_view path, std::u16string_view name, unsigned size) {
    Key at;
    create(to, root_of(to), path, &at);
    if (kind < 8) return put(to, at, name, std::string(size, 'x'));
    if (kind == 8) return to.remove_value(at, name);
    return kind == 9 ? to.remove(root_of(to), path) : status_of_get(to, at, name);
  };
  for (int i = 0; i < 3000; ++i) {
    if (i % 50 == 0) {
      ASSERT_EQ(registry->begin_batch(), Status::ok);
    }
    const unsigned kind = random() % 12;
    const std::u16string& path = paths[random() % paths.size()];
    const std::u16string& name = names[random() % names.size()];
    const unsigned size = random() % 3 == 0 ? 3000 : random() % 40;
    ASSERT_EQ(step(*registry, kind, path, name, size), step(*single, kind, path, name, size)) << i;
    if (i % 50 == 49) {
      ASSERT_EQ(commit(), Status::ok);
    }
  }
  for (const std::u16string& path : paths) {
    const Key ours = make_key(*registry, root_of(*registry), path);
    const Key theirs = make_key(*single, root_of(*single), path);
    EXPECT_EQ(value_names(*registry, ours), value_names(*single, theirs));
    EXPECT_EQ(counts_of(*registry, ours).values, counts_of(*single, theirs).values);
    EXPECT_EQ(counts_of(*registry, ours).max_value_name_units, counts_of(*single, theirs).max_value_name_units);
    EXPECT_EQ(counts_of(*registry, ours).max_value_size, counts_of(*single, theirs).max_value_size);
  }
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(root_of(*registry), &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
}

TEST_F(Batches, AreLostAtAFork) {
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  const Key made = make_key(*registry, key, u"made");
  ASSERT_EQ(put(*registry, key, u"v", "within"), Status::ok);
  const auto child = kvtest::run_child([&] {
    const bool has_none = registry->abandon_batch() == Status::no_batch;
    const bool writes = put(*registry, key, u"child", "x") == Status::ok && registry->begin_batch() == Status::ok &&
                        put(*registry, key, u"batch", "x") == Status::ok && commit() == Status::ok;
    _exit(has_none && writes ? 0 : 1);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(put(*registry, key, u"w", "x"), Status::batch_lost);
  EXPECT_EQ(get(*registry, key, u"batch"), "x");
  EXPECT_EQ(commit(), Status::batch_lost);
  EXPECT_EQ(value_names(*registry, key), (Names{u"batch", u"child"}));
  EXPECT_EQ(put(*registry, made, u"v", "x"), Status::key_deleted);
  EXPECT_EQ(put(*registry, key, u"w", "x"), Status::ok);
}

TEST_F(Batches, TellWatchersOnceAfterTheCommit) {
  const auto probe = std::make_shared<Probe>();
  ASSERT_EQ(registry->watch(key, false, hive::all_ways, probe), Status::ok);
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  for (char16_t name = u'a'; name < u'k'; ++name) put(*registry, key, std::u16string(1, name), "x");
  EXPECT_EQ(probe->count(), 0);
  EXPECT_EQ(commit(), Status::ok);
  EXPECT_TRUE(probe->wait());
  EXPECT_EQ(probe->count(), 1);
  const auto next = std::make_shared<Probe>();
  ASSERT_EQ(registry->watch(key, false, hive::all_ways, next), Status::ok);
  EXPECT_EQ(next->count(), 0);
}

TEST_F(Batches, ThatAreAbandonedTellNoWatcher) {
  const auto probe = std::make_shared<Probe>();
  ASSERT_EQ(registry->watch(key, false, hive::all_ways, probe), Status::ok);
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  put(*registry, key, u"v", "x");
  EXPECT_EQ(registry->abandon_batch(), Status::ok);
  EXPECT_EQ(put(*registry, key, u"w", "x"), Status::ok);
  EXPECT_TRUE(probe->wait());
  EXPECT_EQ(probe->count(), 1);
}

TEST_F(Batches, TakeTurnsWithOtherWriters) {
  std::atomic<int> done = 0;
  std::vector<std::thread> writers;
  for (int thread = 0; thread < 4; ++thread) {
    writers.emplace_back([&, thread] {
      std::vector<hive::Batch_Result> of_thread;
      for (int round = 0; round < 20; ++round) {
        const std::u16string name(1, static_cast<char16_t>(u'a' + thread));
        const bool in_batches = thread % 2 == 0;
        EXPECT_EQ(in_batches ? registry->begin_batch() : Status::ok, Status::ok);
        EXPECT_EQ(put(*registry, key, name, std::to_string(round)), Status::ok);
        EXPECT_EQ(get(*registry, key, name), std::to_string(round));
        EXPECT_EQ(in_batches ? registry->commit_batch(&of_thread) : Status::ok, Status::ok);
        ++done;
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(done, 80);
  for (const char16_t* name : {u"a", u"b", u"c", u"d"}) EXPECT_EQ(get(*registry, key, name), "19");
}

TEST_F(Batches, NeverShowReadersAPartOfThem) {
  put(*registry, key, u"a", "0");
  put(*registry, key, u"b", "0");
  std::atomic<bool> over = false;
  std::thread reader([&] {
    int last = 0;
    while (!over) {
      const int a = std::stoi(get(*registry, key, u"a"));
      const int b = std::stoi(get(*registry, key, u"b"));
      ASSERT_GE(b, a);
      ASSERT_GE(a, last);
      last = a;
    }
  });
  for (int round = 1; round <= 200; ++round) {
    ASSERT_EQ(registry->begin_batch(), Status::ok);
    put(*registry, key, u"a", std::to_string(round));
    put(*registry, key, u"b", std::to_string(round));
    ASSERT_EQ(round % 3 == 0 ? registry->abandon_batch() : commit(), Status::ok);
    if (round % 3 == 0) put(*registry, key, u"c", "between");
  }
  over = true;
  reader.join();
  EXPECT_EQ(get(*registry, key, u"a"), "200");
}

}  // namespace
