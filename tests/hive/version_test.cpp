// Hives of other versions: a later one is left alone, an earlier one is brought up to date in one transaction.
#include "hive/store/version.h"
#include "hive/store/rows.h"
#include "hive/store/transaction.h"
#include "tests/hive/database.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;
using hive::Connection;

// The tables of version 1 with a key "Software" and a value in it, as the first version of the library made them.
constexpr const char* version_1 =
    "CREATE TABLE node("
    " key INTEGER NOT NULL, kind INTEGER NOT NULL, folded TEXT NOT NULL, name TEXT NOT NULL,"
    " type INTEGER, size INTEGER, large INTEGER, data BLOB,"
    " parent INTEGER, class TEXT, written INTEGER, seq INTEGER,"
    " children INTEGER, value_count INTEGER, max_child_units INTEGER, max_class_units INTEGER,"
    " max_value_name_units INTEGER, max_value_size INTEGER,"
    " mode INTEGER, owner INTEGER, grp INTEGER, descriptor BLOB, flags INTEGER, boot TEXT,"
    " PRIMARY KEY(key, kind, folded)) WITHOUT ROWID;"
    "CREATE UNIQUE INDEX child ON node(parent, folded) WHERE kind = 0;"
    "CREATE INDEX volatile_key ON node(boot) WHERE boot IS NOT NULL;"
    "CREATE TABLE large(id INTEGER PRIMARY KEY, data BLOB NOT NULL);"
    "CREATE TABLE meta(name TEXT PRIMARY KEY, value) WITHOUT ROWID;"
    "INSERT INTO meta VALUES('identity', x'000102030405060708090A0B0C0D0E0F'), ('next_id', 2000), ('number', 0),"
    " ('imaged', 1), ('fresh', 0), ('boot', 'an earlier run');"
    "INSERT INTO node VALUES(1, 0, '', '', NULL, NULL, NULL, NULL, NULL, '', 132000000000000000, 1, 1, 0, 8, 0, 0, 0,"
    " 493, 0, 0, NULL, 0, NULL);"
    "INSERT INTO node VALUES(2, 0, '', '', NULL, NULL, NULL, NULL, NULL, '', 132000000000000000, 2, 1, 0, 8, 0, 0, 0,"
    " 493, 0, 0, NULL, 0, NULL);"
    "INSERT INTO node VALUES(3, 0, '.DEFAULT', '.DEFAULT', NULL, NULL, NULL, NULL, 2, '', 132000000000000000, 3, 0, 0,"
    " 0, 0, 0, 0, 493, 0, 0, NULL, 0, NULL);"
    "INSERT INTO node VALUES(1000, 0, 'SOFTWARE', 'Software', NULL, NULL, NULL, NULL, 1, '', 132000000000000000, 1001,"
    " 0, 1, 0, 0, 4, 3, 493, 0, 0, NULL, 0, NULL);"
    "INSERT INTO node VALUES(1000, 1, 'NAME', 'Name', 3, 3, NULL, x'616263', NULL, NULL, NULL, NULL, NULL, NULL, NULL,"
    " NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL);"
    "PRAGMA application_id = 1263945814; PRAGMA user_version = 1;";

struct Version : testing::Test {
  Version() {
    complaints().clear();
    Database(file).run(version_1);
  }
  // Takes the steps over a connection of its own.
  Status take(std::span<const char* const> steps) {
    std::unique_ptr<Connection> connection;
    std::string reason;
    Status opened = Connection::open(file, Connection::Mode::shared, &connection, &reason);
    if (opened != Status::ok) return opened;
    Connection::Use use(*connection);
    return hive::in_transaction(*connection, hive::Access::write,
                                [&](Connection& hive) { return hive::bring_up_to_date(hive, steps); });
  }
  std::string ask(const std::string& statement) { return Database(file).ask(statement); }

  Temp_Folder folder;
  std::string file = folder / "machine.bin";
};

TEST_F(Version, AHiveOfVersionOneIsUsedAsItIs) {
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key;
  ASSERT_EQ(registry->open(root_of(*registry), u"software", &key), Status::ok);
  EXPECT_EQ(get(*registry, key, u"name"), "abc");
  EXPECT_EQ(put(*registry, key, u"other", "x"), Status::ok);
  EXPECT_EQ(counts_of(*registry, key).values, 2u);
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(key, &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
  EXPECT_TRUE(complaints().empty());
}

TEST_F(Version, EveryStepIsTakenInItsOrder) {
  const char* steps[] = {"ALTER TABLE meta ADD COLUMN note TEXT", "UPDATE meta SET note = 'second'"};
  EXPECT_EQ(take(steps), Status::ok);
  EXPECT_EQ(ask("PRAGMA user_version"), "3");
  EXPECT_EQ(ask("SELECT note FROM meta WHERE name = 'number'"), "second");
  EXPECT_EQ(ask("SELECT data FROM node WHERE folded = 'NAME'"), "abc");
}

TEST_F(Version, OnlyTheStepsThatAreLeftAreTaken) {
  const char* first[] = {"CREATE TABLE extra(number INTEGER)"};
  const char* both[] = {"CREATE TABLE extra(number INTEGER)", "INSERT INTO extra VALUES(2)"};
  EXPECT_EQ(take(first), Status::ok);
  EXPECT_EQ(take(both), Status::ok);
  EXPECT_EQ(take(both), Status::ok);
  EXPECT_EQ(ask("SELECT count(*) FROM extra"), "1");
  EXPECT_EQ(ask("PRAGMA user_version"), "3");
}

TEST_F(Version, AStepThatFailsLeavesTheHiveAsItWas) {
  const std::string before = bytes_of(file);
  const char* steps[] = {"CREATE TABLE extra(number INTEGER)", "INSERT INTO no_such_table VALUES(1)"};
  EXPECT_NE(take(steps), Status::ok);
  EXPECT_EQ(bytes_of(file), before);
  EXPECT_EQ(ask("PRAGMA user_version"), "1");
}

TEST_F(Version, TwoProcessesTakeEachStepOnce) {
  { Database(file).run("PRAGMA journal_mode = WAL"); }
  const char* steps[] = {"CREATE TABLE extra(number INTEGER)", "INSERT INTO extra VALUES(2)"};
  std::vector<pid_t> children;
  for (int i = 0; i < 8; ++i) {
    pid_t child = fork();
    if (child == 0) {
      Status status = Status::busy;
      while (status == Status::busy) status = take(steps);
      _exit(status == Status::ok ? 0 : 1);
    }
    children.push_back(child);
  }
  for (pid_t child : children) {
    int ended = -1;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_EQ(ended, 0);
  }
  EXPECT_EQ(ask("SELECT count(*) FROM extra"), "1");
  EXPECT_EQ(ask("PRAGMA user_version"), "3");
}

TEST_F(Version, ALaterOneIsRefusedWithALineAndLeftAlone) {
  Database(file).run("PRAGMA user_version = 2");
  const std::string before = bytes_of(file);
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key;
  EXPECT_EQ(registry->open(root_of(*registry), u"software", &key), Status::newer_version);
  EXPECT_EQ(complaints(),
            std::vector<std::string>{file + ": a hive of a newer version (this library knows versions up to 1)"});
  EXPECT_EQ(bytes_of(file), before);
  EXPECT_FALSE(std::filesystem::exists(file + "-wal"));
}

TEST_F(Version, ALaterOneThatOnlyTheLogTellsIsRefusedToo) {
  {
    Database hive(file);
    hive.leave_log();
    hive.run("PRAGMA journal_mode = WAL; PRAGMA user_version = 2");
  }
  ASSERT_EQ(bytes_of(file)[63], 1);
  const std::string log = bytes_of(file + "-wal");
  std::unique_ptr<Registry> registry = registry_on(folder.path());
  Key key;
  EXPECT_EQ(registry->open(root_of(*registry), u"software", &key), Status::newer_version);
  EXPECT_EQ(create(*registry, root_of(*registry), u"new", &key), Status::newer_version);
  EXPECT_EQ(complaints().size(), 1u);
  EXPECT_EQ(bytes_of(file + "-wal"), log);
}

}  // namespace
