// A hive file in the place of a key: all of it or nothing, and the file is never touched.
#include <csignal>

#include "hive/check.h"
#include "tests/hive/database.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;

struct Load : testing::Test {
  Load() {
    complaints().clear();
    app = make_key(*registry, root_of(*registry), u"App", {.class_name = u"Class of App"});
    put(*registry, app, u"Small", "s", 1);
    put(*registry, app, u"Large", std::string(70000, 'L'));
    make_key(*registry, app, u"Sub\\Deep", {.class_name = u"deep"});
    make_key(*registry, app, u"Link", {.class_name = {}, .is_link = true});
    put(*registry, make_key(*registry, app, u"Sub"), u"", "default");
    const std::uint32_t mode = 0640, owner = 12, group = 34;
    EXPECT_EQ(registry->set_rights(make_key(*registry, app, u"Sub"), &mode, &owner, &group), Status::ok);
    make_key(*registry, app, u"Gone", {.class_name = {}, .is_volatile = true});
    EXPECT_EQ(registry->save(app, saved), Status::ok);
  }
  ~Load() override {
    std::vector<hive::Found_Fault> faults;
    EXPECT_EQ(registry->check(root_of(*registry), &faults), Status::ok);
    for (const hive::Found_Fault& fault : faults) ADD_FAILURE() << fault.text;
  }

  Status load(std::u16string_view path) { return registry->load(root_of(*registry), path, saved); }
  Key open(std::u16string_view path) {
    Key key;
    EXPECT_EQ(registry->open(root_of(*registry), path, &key), Status::ok);
    return key;
  }
  Status status_of_open(std::u16string_view path) {
    Key key;
    return registry->open(root_of(*registry), path, &key);
  }
  // What was saved stands there, with its counts.
  void expect_app(std::u16string_view path) {
    Key key = open(path);
    EXPECT_EQ(key_names(*registry, key), (Names{u"Link", u"Sub"}));
    EXPECT_EQ(value_names(*registry, key), (Names{u"Large", u"Small"}));
    EXPECT_EQ(get(*registry, key, u"small"), "s");
    EXPECT_EQ(get(*registry, key, u"large"), std::string(70000, 'L'));
    hive::Key_Counts counts = counts_of(*registry, key);
    EXPECT_EQ(counts.sub_keys, 2u);
    EXPECT_EQ(counts.max_sub_key_units, 4u);
    EXPECT_EQ(counts.max_class_units, 0u);
    EXPECT_EQ(counts.values, 2u);
    EXPECT_EQ(counts.max_value_name_units, 5u);
    EXPECT_EQ(counts.max_value_size, 70000u);
    Key sub;
    EXPECT_EQ(registry->open(key, u"Sub", &sub), Status::ok);
    EXPECT_EQ(counts_of(*registry, sub).max_class_units, 4u);
    EXPECT_EQ(get(*registry, sub, u""), "default");
  }
  std::string class_of(const Key& key) {
    char16_t text[64];
    hive::Text_Out out{text, 64, 0};
    hive::Key_Counts counts{};
    EXPECT_EQ(registry->info(key, &out, &counts), Status::ok);
    return {text, text + out.length};
  }

  Temp_Folder folder;
  std::string saved = folder / "saved";
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key app;
};

TEST_F(Load, MakesTheKeyAndTheKeysAboveItWhenTheyAreMissing) {
  EXPECT_EQ(load(u"New\\Copy"), Status::ok);
  expect_app(u"New\\Copy");
  EXPECT_EQ(class_of(open(u"New\\Copy")), "Class of App");
  EXPECT_EQ(counts_of(*registry, open(u"New")).sub_keys, 1u);
  EXPECT_EQ(counts_of(*registry, open(u"New")).max_class_units, 12u);
}

TEST_F(Load, ReplacesAllThatAKeyIsAndHas) {
  Key old = make_key(*registry, root_of(*registry), u"Old", {.class_name = u"A class that is longer"});
  put(*registry, old, u"Value", std::string(100000, 'x'));
  put(*registry, make_key(*registry, old, u"Below\\Deeper"), u"v", std::string(2000, 'y'));
  EXPECT_EQ(counts_of(*registry, root_of(*registry)).max_class_units, 22u);
  EXPECT_EQ(load(u"old"), Status::ok);
  expect_app(u"Old");
  EXPECT_EQ(key_names(*registry, root_of(*registry)), (Names{u"App", u"Old"}));
  EXPECT_EQ(counts_of(*registry, root_of(*registry)).max_class_units, 12u);
  EXPECT_EQ(status_of_open(u"Old\\Below"), Status::not_found);
}

TEST_F(Load, TheKeysOwnHandlesStayAndThoseBelowItAreGone) {
  Key old = make_key(*registry, root_of(*registry), u"Old");
  Key below = make_key(*registry, old, u"Sub");
  EXPECT_EQ(load(u"Old"), Status::ok);
  EXPECT_EQ(get(*registry, old, u"Small"), "s");
  EXPECT_EQ(put(*registry, old, u"New", "n"), Status::ok);
  EXPECT_EQ(status_of_get(*registry, below, u"v"), Status::key_deleted);
  EXPECT_EQ(put(*registry, below, u"v", "x"), Status::key_deleted);
}

TEST_F(Load, VolatileKeysBelowGoToo) {
  Key old = make_key(*registry, root_of(*registry), u"Old");
  make_key(*registry, old, u"Volatile\\Deeper", {.class_name = {}, .is_volatile = true});
  EXPECT_EQ(load(u"Old"), Status::ok);
  expect_app(u"Old");
  EXPECT_EQ(status_of_open(u"Old\\Volatile"), Status::not_found);
}

TEST_F(Load, IntoAVolatileKeyOrBelowOneIsRefused) {
  Key old = make_key(*registry, root_of(*registry), u"Old", {.class_name = {}, .is_volatile = true});
  put(*registry, old, u"v", "kept");
  EXPECT_EQ(load(u"Old"), Status::must_be_volatile);
  EXPECT_EQ(load(u"Old\\New"), Status::must_be_volatile);
  EXPECT_EQ(get(*registry, old, u"v"), "kept");
  EXPECT_EQ(status_of_open(u"Old\\New"), Status::not_found);
}

TEST_F(Load, RightsLinksAndTimesAreThoseOfTheFile) {
  const std::uint64_t written = counts_of(*registry, open(u"App")).last_write_time;
  const std::uint64_t below = counts_of(*registry, open(u"App\\Sub\\Deep")).last_write_time;
  make_key(*registry, root_of(*registry), u"Old");
  EXPECT_EQ(load(u"Old"), Status::ok);
  EXPECT_EQ(counts_of(*registry, open(u"Old")).last_write_time, written);
  EXPECT_EQ(counts_of(*registry, open(u"Old\\Sub\\Deep")).last_write_time, below);
  hive::Key_Rights rights{};
  EXPECT_EQ(registry->rights(open(u"Old\\Sub"), &rights), Status::ok);
  EXPECT_EQ(rights.mode, 0640u);
  EXPECT_EQ(rights.owner, 12u);
  EXPECT_EQ(rights.group, 34u);
  registry.reset();
  {
    Database hive(folder / "machine.bin");
    EXPECT_EQ(hive.ask("SELECT count(*) FROM node WHERE name = 'Link' AND flags = 1"), "2");
    EXPECT_EQ(hive.ask("SELECT count(*) FROM node WHERE kind = 0 AND name = 'Gone' AND boot IS NULL"), "0");
    EXPECT_EQ(hive.ask("SELECT count(*) - count(DISTINCT seq) FROM node WHERE kind = 0"), "0");
  }
  registry = registry_on(folder.path());
}

TEST_F(Load, AKeyAndItsParentGetStatesOfTheirOwn) {
  make_key(*registry, root_of(*registry), u"Old");
  registry.reset();
  const std::string file = folder / "machine.bin";
  const std::string states =
      "SELECT group_concat(seq) FROM node WHERE kind = 0 AND (key = 1 OR folded = 'OLD') ORDER BY key";
  const std::string before = Database(file).ask(states);
  registry = registry_on(folder.path());
  EXPECT_EQ(load(u"Old"), Status::ok);
  registry.reset();
  const std::string after = Database(file).ask(states);
  EXPECT_NE(before.substr(0, before.find(',')), after.substr(0, after.find(',')));
  EXPECT_NE(before.substr(before.find(',')), after.substr(after.find(',')));
  registry = registry_on(folder.path());
}

TEST_F(Load, AnEmptyPathIsTheKeyItself) {
  Key old = make_key(*registry, root_of(*registry), u"Old\\Inner");
  EXPECT_EQ(registry->load(old, u"", saved), Status::ok);
  expect_app(u"Old\\Inner");
}

TEST_F(Load, RootsAreReplacedToo) {
  EXPECT_EQ(registry->load(root_of(*registry, Root::classes), u"", saved), Status::ok);
  expect_app(u"Software\\Classes");
  EXPECT_EQ(registry->load(root_of(*registry, Root::users), u".default", saved), Status::ok);
  EXPECT_EQ(registry->load(root_of(*registry, Root::current_user), u"", saved), Status::ok);
  EXPECT_EQ(key_names(*registry, root_of(*registry, Root::current_user)), (Names{u"Link", u"Sub"}));
  EXPECT_EQ(load(u""), Status::ok);
  expect_app(u"");
  EXPECT_EQ(key_names(*registry, root_of(*registry, Root::users))[0], u".DEFAULT");
}

TEST_F(Load, NothingIsMadeBelowUsersOrInAPerformanceRoot) {
  EXPECT_EQ(registry->load(root_of(*registry, Root::users), u"New", saved), Status::denied);
  EXPECT_EQ(registry->load(root_of(*registry, Root::users), u"", saved), Status::denied);
  EXPECT_EQ(registry->load(root_of(*registry, Root::performance), u"", saved), Status::denied);
}

TEST_F(Load, ABackupAndAHiveOfAnotherFolderAreLoadedToo) {
  ASSERT_EQ(registry->backup(folder / "backup"), Status::ok);
  EXPECT_EQ(registry->load(root_of(*registry), u"Old", folder / "backup/machine.hive"), Status::ok);
  EXPECT_EQ(key_names(*registry, open(u"Old")), Names{u"App"});
  expect_app(u"Old\\App");
}

TEST_F(Load, ADeletedKeyIsTold) {
  Key old = make_key(*registry, root_of(*registry), u"Old");
  ASSERT_EQ(registry->remove(root_of(*registry), u"Old"), Status::ok);
  EXPECT_EQ(registry->load(old, u"", saved), Status::key_deleted);
  EXPECT_EQ(registry->load(old, u"Sub", saved), Status::key_deleted);
}

TEST_F(Load, NoDeeperThanAHiveMayBe) {
  std::u16string path = u"Deep";
  for (int depth = 2; depth <= 511; ++depth) path += u"\\d";
  Key at = make_key(*registry, root_of(*registry), path);
  put(*registry, at, u"v", "kept");
  EXPECT_EQ(registry->load(at, u"", saved), Status::invalid);  // it has keys two below its root
  EXPECT_EQ(get(*registry, at, u"v"), "kept");
  EXPECT_EQ(registry->load(at, u"Sub\\Deeper", saved), Status::invalid);
  std::u16string above = path.substr(0, path.size() - 2);
  EXPECT_EQ(load(above), Status::ok);
  expect_app(above);
}

// The answers to files that cannot be loaded; the key stays as it was.
struct Load_Nothing : Load {
  Load_Nothing() {
    put(*registry, app, u"Small", "newer", 1);
    gathered = bytes_of(saved);
  }
  void expect_refused(Status expected) {
    const std::string before = std::filesystem::is_regular_file(saved) ? bytes_of(saved) : "";
    EXPECT_EQ(load(u"App"), expected);
    EXPECT_EQ(load(u"New"), expected);
    EXPECT_EQ(std::filesystem::is_regular_file(saved) ? bytes_of(saved) : "", before);
    EXPECT_EQ(get(*registry, app, u"Small"), "newer");
    EXPECT_EQ(status_of_open(u"App\\Sub\\Deep"), Status::ok);
    EXPECT_EQ(status_of_open(u"New"), Status::not_found);
    EXPECT_TRUE(complaints().empty());
  }
  std::string gathered;
};

TEST_F(Load_Nothing, OfAFileThatIsMissing) {
  std::filesystem::remove(saved);
  expect_refused(Status::not_found);
  EXPECT_FALSE(std::filesystem::exists(saved));
  saved = folder / "no/such/folder/saved";
  expect_refused(Status::not_found);
}

TEST_F(Load_Nothing, OfWhatIsNoHive) {
  write_bytes(saved, "");
  expect_refused(Status::not_a_hive);
  write_bytes(saved, std::string(20000, 'x'));
  expect_refused(Status::not_a_hive);
  std::filesystem::remove(saved);
  std::filesystem::create_directory(saved);
  expect_refused(Status::not_a_hive);
}

TEST_F(Load_Nothing, OfALaterVersion) {
  Database(saved).run("PRAGMA user_version = 2");
  expect_refused(Status::newer_version);
}

TEST_F(Load_Nothing, OfALaterVersionThatOnlyItsLogTells) {
  {
    Database hive(saved);
    hive.leave_log();
    hive.run("PRAGMA journal_mode = WAL; PRAGMA user_version = 2");
  }
  ASSERT_EQ(bytes_of(saved)[63], 1);
  expect_refused(Status::newer_version);
  std::filesystem::remove(saved + "-shm");
  expect_refused(Status::newer_version);
}

TEST_F(Load_Nothing, OfAFileThatIsCutOrOverwritten) {
  ASSERT_GT(gathered.size(), 20000u);
  write_bytes(saved, gathered.substr(0, 8192));
  expect_refused(Status::damaged);
  write_bytes(saved, gathered.substr(0, 4096) + std::string(gathered.size() - 4096, '\x5A'));
  expect_refused(Status::damaged);
  write_bytes(saved, gathered.substr(0, 4096) + std::string(gathered.size() - 4096, '\0'));
  expect_refused(Status::damaged);
}

TEST_F(Load_Nothing, OfAFileWhoseRowsDoNotHoldTogether) {
  Database(saved).run("UPDATE node SET children = 7 WHERE key = 1 AND kind = 0");
  expect_refused(Status::damaged);
}

TEST_F(Load_Nothing, OfAFileThatWasNeverFinished) {
  Database(saved).run("UPDATE meta SET value = 1 WHERE name = 'fresh'");
  expect_refused(Status::damaged);
}

TEST_F(Load_Nothing, OfAHiveThatIsInUseHere) {
  make_key(*registry, root_of(*registry, Root::current_user), u"Mine");
  EXPECT_EQ(registry->load(root_of(*registry), u"New", folder / "user.bin"), Status::busy);
  EXPECT_EQ(registry->load(root_of(*registry), u"New", folder / "machine.bin"), Status::busy);
  EXPECT_EQ(status_of_open(u"New"), Status::not_found);
}

// Files that are only read.
struct Load_Beside_A_Log : Load {
  // A hive with its newest change in its log.
  void put_into_log() {
    Database hive(saved);
    hive.leave_log();
    hive.run("PRAGMA journal_mode = WAL; UPDATE node SET data = x'4E' WHERE key = 1 AND kind = 1 AND folded = 'SMALL'");
  }
  void expect_loaded_and_untouched() {
    const std::string file = bytes_of(saved);
    const std::string log = bytes_of(saved + "-wal");
    ASSERT_GT(log.size(), 4096u);
    bool had_index = std::filesystem::exists(saved + "-shm");
    const std::string index = bytes_of(saved + "-shm");
    EXPECT_EQ(load(u"New"), Status::ok);
    EXPECT_EQ(get(*registry, open(u"New"), u"Small"), "N");
    EXPECT_EQ(bytes_of(saved), file);
    EXPECT_EQ(bytes_of(saved + "-wal"), log);
    EXPECT_EQ(std::filesystem::exists(saved + "-shm"), had_index);
    EXPECT_EQ(bytes_of(saved + "-shm"), index);
  }
};

TEST_F(Load_Beside_A_Log, TheLogCounts) {
  put_into_log();
  expect_loaded_and_untouched();
}

TEST_F(Load_Beside_A_Log, ALogWithoutItsIndexCountsAndLeavesNothingBehind) {
  put_into_log();
  std::filesystem::remove(saved + "-shm");
  std::filesystem::create_directory(folder / "tmp");
  setenv("TMPDIR", (folder / "tmp").c_str(), 1);
  expect_loaded_and_untouched();
  unsetenv("TMPDIR");
  EXPECT_TRUE(std::filesystem::is_empty(folder / "tmp"));
}

TEST_F(Load_Beside_A_Log, NothingIsMadeBesideAFileWithoutOne) {
  put_into_log();
  gather(saved);
  const std::string file = bytes_of(saved);
  EXPECT_EQ(load(u"New"), Status::ok);
  EXPECT_EQ(get(*registry, open(u"New"), u"Small"), "N");
  EXPECT_EQ(bytes_of(saved), file);
  EXPECT_FALSE(std::filesystem::exists(saved + "-wal"));
  EXPECT_FALSE(std::filesystem::exists(saved + "-shm"));
}

TEST_F(Load_Beside_A_Log, AHiveThatAnotherProcessWritesIsLoadedAsItIsAtOneMoment) {
  Temp_Folder other;
  int ready[2];
  ASSERT_EQ(pipe2(ready, O_CLOEXEC), 0);
  pid_t writer = fork();
  if (writer == 0) {
    std::unique_ptr<Registry> theirs = registry_on(other.path());
    Key key = make_key(*theirs, root_of(*theirs), u"a");
    for (int i = 0;; ++i) {
      put(*theirs, key, u"x", std::to_string(i));
      if (i == 0 && write(ready[1], "+", 1) != 1) _exit(1);
    }
  }
  char byte = 0;
  EXPECT_EQ(read(ready[0], &byte, 1), 1);
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(registry->load(root_of(*registry), u"New", other / "machine.bin"), Status::ok);
  }
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  EXPECT_EQ(value_names(*registry, open(u"New\\a")), Names{u"x"});
}

TEST(Load_As_Another_User, AFileThatMayNotBeReadIsDenied) {
  if (geteuid() != 0) GTEST_SKIP() << "needs to act as two users, which root alone can";
  Open_Folder folder;
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0777));
  {
    std::unique_ptr<Registry> maker = registry_on(folder.path());
    ASSERT_EQ(maker->save(make_key(*maker, root_of(*maker), u"App"), folder / "saved"), Status::ok);
  }
  std::filesystem::create_directory(folder / "own");
  ASSERT_EQ(chown((folder / "own").c_str(), nobody, nobody), 0);
  as_nobody([&] {
    std::unique_ptr<Registry> mine = registry_on(folder / "own");
    return mine->load(root_of(*mine), u"New", folder / "saved") == Status::denied;
  });
  std::filesystem::permissions(folder / "saved", std::filesystem::perms(0444));
  as_nobody([&] {
    std::unique_ptr<Registry> mine = registry_on(folder / "own");
    return mine->load(root_of(*mine), u"New", folder / "saved") == Status::ok;
  });
}

}  // namespace
