// Batches among processes: what others see and wait for, kills, the limit.
#include <sqlite3.h>
#include <sys/prctl.h>

#include <csignal>
#include <thread>

#include "hive/batch.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

const std::string missing = "(status " + std::to_string(static_cast<int>(Status::not_found)) + ")";

// A pipe through which one process tells the other to go on.
class Signal {
 public:
  Signal() {
    if (pipe(ends_) != 0) std::abort();
  }
  ~Signal() {
    close(ends_[0]);
    close(ends_[1]);
  }
  Signal(const Signal&) = delete;
  Signal& operator=(const Signal&) = delete;

  void give() {
    if (write(ends_[1], "+", 1) != 1) _exit(9);
  }
  bool take() {
    char byte = 0;
    return read(ends_[0], &byte, 1) == 1;
  }

 private:
  int ends_[2];
};

// Changes two hives in one batch and waits in it.
[[noreturn]] void wait_in_a_batch(const std::string& folder, Signal& ready, Signal& go_on) {
  const std::unique_ptr<Registry> registry = registry_on(folder);
  const Key key = make_key(*registry, root_of(*registry), u"a");
  const Key user = root_of(*registry, Root::current_user);
  if (registry->begin_batch() != Status::ok) _exit(1);
  for (int i = 0; i < 2000; ++i) {
    const std::string number = std::to_string(i);
    make_key(*registry, key, std::u16string(number.begin(), number.end()));
  }
  if (put(*registry, key, u"v", std::string(100'000, 'x')) != Status::ok) _exit(2);
  if (put(*registry, user, u"v", "x") != Status::ok) _exit(3);
  ready.give();
  go_on.take();
  std::vector<hive::Batch_Result> results;
  _exit(registry->commit_batch(&results) == Status::ok ? 0 : 4);
}

struct Batches_Among_Processes : testing::Test {
  Batches_Among_Processes() { complaints().clear(); }

  // Starts the other process and waits until it is in its batch.
  void start() {
    fflush(nullptr);
    other = fork();
    if (other == 0 && prctl(PR_SET_PDEATHSIG, SIGKILL) == 0) wait_in_a_batch(folder.path(), ready, go_on);
    ASSERT_TRUE(ready.take());
  }
  int end_of_other() {
    int status = 0;
    waitpid(other, &status, 0);
    return status;
  }
  std::vector<hive::Found_Fault> faults() {
    std::vector<hive::Found_Fault> found;
    EXPECT_EQ(registry->check(root_of(*registry), &found), Status::ok);
    return found;
  }

  Temp_Folder folder;
  Signal ready;
  Signal go_on;
  pid_t other = -1;
  std::unique_ptr<Registry> registry = registry_on(folder.path());
};

TEST_F(Batches_Among_Processes, AreSeenWholeOrNotAtAll) {
  start();
  Key key;
  ASSERT_EQ(registry->open(root_of(*registry), u"a", &key), Status::ok);
  EXPECT_EQ(counts_of(*registry, key).sub_keys, 0u);
  EXPECT_EQ(get(*registry, key, u"v"), missing);
  EXPECT_EQ(get(*registry, root_of(*registry, Root::current_user), u"v"), missing);
  go_on.give();
  EXPECT_EQ(end_of_other(), 0);
  EXPECT_EQ(counts_of(*registry, key).sub_keys, 2000u);
  EXPECT_EQ(get(*registry, key, u"v").size(), 100'000u);
  EXPECT_EQ(get(*registry, root_of(*registry, Root::current_user), u"v"), "x");
  EXPECT_TRUE(faults().empty());
}

TEST_F(Batches_Among_Processes, AreGoneWhenTheirProcessIsKilled) {
  start();
  kill(other, SIGKILL);
  EXPECT_TRUE(WIFSIGNALED(end_of_other()));
  Key key;
  ASSERT_EQ(registry->open(root_of(*registry), u"a", &key), Status::ok);
  EXPECT_EQ(counts_of(*registry, key).sub_keys, 0u);
  EXPECT_EQ(get(*registry, key, u"v"), missing);
  EXPECT_EQ(get(*registry, root_of(*registry, Root::current_user), u"v"), missing);
  EXPECT_TRUE(faults().empty());
  EXPECT_EQ(put(*registry, key, u"v", "y"), Status::ok);
}

TEST_F(Batches_Among_Processes, MakeWritersOfOtherProcessesWaitUntilTheTimeOut) {
  const Key key = make_key(*registry, root_of(*registry), u"a");
  start();
  EXPECT_EQ(put(*registry, key, u"w", "y"), Status::busy);
  go_on.give();
  EXPECT_EQ(end_of_other(), 0);
  EXPECT_EQ(put(*registry, key, u"w", "y"), Status::ok);
}

TEST_F(Batches_Among_Processes, MakeWritersOfOtherThreadsWaitUntilTheTimeOut) {
  const Key key = make_key(*registry, root_of(*registry), u"a");
  ASSERT_EQ(registry->begin_batch(), Status::ok);
  ASSERT_EQ(put(*registry, key, u"v", "x"), Status::ok);
  std::thread([&] { EXPECT_EQ(put(*registry, key, u"w", "y"), Status::busy); }).join();
  std::vector<hive::Batch_Result> results;
  EXPECT_EQ(registry->commit_batch(&results), Status::ok);
  EXPECT_EQ(get(*registry, key, u"w"), missing);
  EXPECT_TRUE(complaints().empty());
}

// Each with a limit of its own for its process.
int in_a_process(const std::function<bool()>& check) {
  const kvtest::Child_Result child = kvtest::run_child([&] { _exit(check() ? 0 : 1); });
  if (child.exit_status != 0) fprintf(stderr, "%s", child.err.c_str());
  return child.exit_status;
}

TEST(Batch_Limit, FreesTheHiveThoughTheThreadDoesNothing) {
  const Temp_Folder folder;
  EXPECT_EQ(in_a_process([&] {
              hive::Batch::assume_limit(std::chrono::milliseconds(200));
              const std::unique_ptr<Registry> registry = registry_on(folder.path());
              const Key key = make_key(*registry, root_of(*registry), u"a");
              const Key user = root_of(*registry, Root::current_user);
              if (registry->begin_batch() != Status::ok) return false;
              put(*registry, key, u"v", "x");
              put(*registry, user, u"v", "x");
              // Waits for its turn until the batch is over.
              Status others = Status::io_failed;
              std::thread([&] { others = put(*registry, key, u"w", "y"); }).join();
              std::vector<hive::Batch_Result> results;
              return others == Status::ok && put(*registry, key, u"v", "z") == Status::batch_lost &&
                     get(*registry, key, u"v") == missing && get(*registry, key, u"w") == "y" &&
                     registry->begin_batch() == Status::in_batch &&
                     registry->commit_batch(&results) == Status::batch_lost && results.empty() &&
                     put(*registry, key, u"v", "z") == Status::ok && get(*registry, user, u"v") == missing;
            }),
            0);
}

TEST(Batch_Limit, IsCountedFromTheFirstChange) {
  const Temp_Folder folder;
  EXPECT_EQ(in_a_process([&] {
              hive::Batch::assume_limit(std::chrono::milliseconds(0));
              const std::unique_ptr<Registry> registry = registry_on(folder.path());
              const Key key = make_key(*registry, root_of(*registry), u"a");
              if (registry->begin_batch() != Status::ok) return false;
              if (get(*registry, key, u"v") != missing || registry->abandon_batch() != Status::ok) return false;
              std::vector<hive::Batch_Result> results;
              return registry->begin_batch() == Status::ok && registry->commit_batch(&results) == Status::ok;
            }),
            0);
}

TEST(Batch_Limit, IsThatOfEveryLaterBatchToo) {
  const Temp_Folder folder;
  EXPECT_EQ(in_a_process([&] {
              hive::Batch::assume_limit(std::chrono::milliseconds(100));
              const std::unique_ptr<Registry> registry = registry_on(folder.path());
              const Key key = make_key(*registry, root_of(*registry), u"a");
              for (int round = 0; round < 3; ++round) {
                if (registry->begin_batch() != Status::ok) return false;
                put(*registry, key, u"v", "x");
                Status others = Status::io_failed;
                std::thread([&] { others = put(*registry, key, u"w", "y"); }).join();
                if (others != Status::ok || registry->abandon_batch() != Status::ok) return false;
              }
              return get(*registry, key, u"v") == missing;
            }),
            0);
}

TEST(Batch_At_The_End, OfTheProcessIsNotInTheUsersImage) {
  const Temp_Folder folder;
  EXPECT_EQ(in_a_process([&] {
              const std::unique_ptr<Registry> registry = registry_on(folder.path());
              const Key user = root_of(*registry, Root::current_user);
              put(*registry, user, u"kept", "x");
              std::vector<unsigned char> image;
              std::thread([&] {
                registry->begin_batch();
                put(*registry, user, u"lost", "x");
                std::thread([&] { registry->closing_user_image(&image); }).join();
              }).join();
              return !image.empty() && value_names(*registry, user) == Names{u"kept"};
            }),
            0);
}

TEST(Batch_Kills, AtAnyMomentLeaveAllOfABatchOrNothing) {
  const Temp_Folder folder;
  const std::unique_ptr<Registry> registry = registry_on(folder.path());
  const Key key = make_key(*registry, root_of(*registry), u"a");
  put(*registry, key, u"first", "0");
  put(*registry, key, u"second", "0");
  int last = 0;
  for (int round = 0; round < 20; ++round) {
    Signal told;
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
      std::vector<hive::Batch_Result> results;
      for (int i = last + 1;; ++i) {
        registry->begin_batch();
        put(*registry, key, u"first", std::to_string(i));
        put(*registry, key, u"large", std::string(5000, 'x'));
        put(*registry, key, u"second", std::to_string(i));
        if (registry->commit_batch(&results) != Status::ok) _exit(1);
        told.give();
      }
    }
    for (int i = 0; i <= round % 7; ++i) ASSERT_TRUE(told.take());
    usleep(static_cast<useconds_t>(round * 37));  // which moment of a batch it is shall be chance
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const int first = std::stoi(get(*registry, key, u"first"));
    ASSERT_EQ(std::to_string(first), get(*registry, key, u"second"));
    ASSERT_GE(first, last + 1 + round % 7);
    last = first;
  }
}

// Has a transaction open that keeps the log from being brought into the file.
[[noreturn]] void read_for_long(const std::string& hive, Signal& ready) {
  sqlite3* database = nullptr;
  const bool reads = sqlite3_open(hive.c_str(), &database) == SQLITE_OK &&
                     sqlite3_exec(database, "BEGIN; SELECT * FROM meta", nullptr, nullptr, nullptr) == SQLITE_OK;
  if (!reads) _exit(1);
  ready.give();
  for (;;) pause();
}

// Parts of it are in the log before the commit, and pages of these parts are changed once more.
TEST(Batch_Kills, AfterTheCommitLeaveAllOfABatchThatWasTooLargeForMemory) {
  const Temp_Folder folder;
  constexpr int values = 4000;
  const auto name_of = [](int i) { return std::u16string(1, static_cast<char16_t>(0x4E00 + i)); };
  const auto child = kvtest::run_child([&] {
    const std::unique_ptr<Registry> registry = registry_on(folder.path());
    const Key key = make_key(*registry, root_of(*registry), u"a");
    Signal ready;
    const pid_t reader = fork();
    if (reader == 0) read_for_long(folder / "machine.bin", ready);
    ready.take();
    EXPECT_EQ(registry->begin_batch(), Status::ok);
    for (int i = 0; i < values; ++i) put(*registry, key, name_of(i), std::string(900, 'x'));
    for (int i = 0; i < values; i += 7) put(*registry, key, name_of(i), std::string(900, 'y'));
    std::vector<hive::Batch_Result> results;
    if (registry->commit_batch(&results) == Status::ok) put(*registry, key, u"after", "z");
    kill(reader, SIGKILL);
    raise(SIGKILL);
  });
  EXPECT_EQ(child.signal, SIGKILL);
  EXPECT_GT(std::filesystem::file_size(folder / "machine.bin-wal"), 4'000'000u);
  std::filesystem::remove(folder / "machine.bin-shm");  // who opens the hive next reads the log from its beginning
  const std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key;
  ASSERT_EQ(registry->open(root_of(*registry), u"a", &key), Status::ok);
  EXPECT_EQ(counts_of(*registry, key).values, values + 1u);
  EXPECT_EQ(get(*registry, key, u"after"), "z");
  for (int i = 0; i < values; ++i)
    ASSERT_EQ(get(*registry, key, name_of(i)), std::string(900, i % 7 == 0 ? 'y' : 'x')) << i;
}

}  // namespace
