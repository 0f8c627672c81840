// Hives damaged by hand: the check names what is wrong, and where.
#include "hive/check.h"
#include "tests/hive/database.h"
#include "tests/hive/registry_on.h"

namespace {

using namespace hivetest;
using hive::Fault;

constexpr const char* root = "(root)";

struct Check : testing::Test {
  Check() {
    std::unique_ptr<Registry> maker = registry_on(folder.path());
    Key a = make_key(*maker, root_of(*maker), u"a", {.class_name = u"class"});
    put(*maker, a, u"v", "small");
    put(*maker, a, u"large", std::string(2000, 'L'));
    put(*maker, make_key(*maker, a, u"b\\c"), u"w", "x");
    make_key(*maker, root_of(*maker), u"volatile\\one", {.class_name = {}, .is_volatile = true});
    maker.reset();
    gather(file);
  }

  // Each fault as "<key's folded name or ->: <text>".
  std::vector<std::string> found() {
    std::vector<hive::Found_Fault> faults;
    EXPECT_EQ(registry->check_file(file, &faults), Status::ok);
    std::vector<std::string> lines;
    for (const hive::Found_Fault& fault : faults) {
      lines.push_back(std::to_string(static_cast<int>(fault.fault)) + " " + fault.text);
      kinds.push_back(fault.fault);
      keys.push_back(fault.key);
    }
    return lines;
  }
  // After these statements exactly one thing is wrong, with this key.
  void expect_fault(const std::string& statements, Fault fault, const std::string& key, const std::string& text) {
    std::string number;
    {
      Database hive(file);
      number = key.empty()   ? "0"
               : key == root ? "1"
                             : hive.ask("SELECT key FROM node WHERE kind = 0 AND folded = '" + key + "'");
      hive.run(statements);
    }
    remove_log(file);
    const std::vector<std::string> lines = found();
    ASSERT_EQ(lines.size(), 1u) << testing::PrintToString(lines);
    EXPECT_EQ(kinds[0], fault);
    EXPECT_EQ(std::to_string(keys[0]), number);
    EXPECT_EQ(lines[0].substr(lines[0].find(' ') + 1), (key.empty() ? "" : "key " + number + ": ") + text);
  }
  std::vector<std::string> faults_after(const std::string& statements) {
    { Database(file).run(statements); }
    remove_log(file);
    return found();
  }

  Temp_Folder folder;
  std::string file = folder / "machine.bin";
  std::unique_ptr<Registry> registry = registry_on(folder / "own");
  std::vector<Fault> kinds;
  std::vector<std::int64_t> keys;
};

TEST_F(Check, AGoodHiveHasNothing) { EXPECT_EQ(found(), std::vector<std::string>{}); }

TEST_F(Check, AHiveInUseIsLookedThroughByItsKey) {
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check(root_of(*registry), &faults), Status::ok);
  EXPECT_TRUE(faults.empty());
  EXPECT_EQ(registry->check(root_of(*registry, Root::performance), &faults), Status::ok);
}

TEST_F(Check, TheFileIsOnlyRead) {
  const std::string before = bytes_of(file);
  found();
  EXPECT_EQ(bytes_of(file), before);
  EXPECT_FALSE(std::filesystem::exists(file + "-wal"));
}

TEST_F(Check, PagesThatAreOverwrittenAreNamedByTheirStructure) {
  const std::string whole = bytes_of(file);
  write_bytes(file, whole.substr(0, whole.size() - 4096) + std::string(4096, '\x5A'));
  std::vector<hive::Found_Fault> faults;
  registry->check_file(file, &faults);
  ASSERT_FALSE(faults.empty());
  EXPECT_EQ(faults[0].fault, Fault::structure);
  EXPECT_GT(faults[0].text.size(), 5u);
}

TEST_F(Check, AnIndexThatLacksARowIsNamedByItsStructure) {
  {
    Database(file).run(
        "PRAGMA writable_schema = ON;"
        "UPDATE sqlite_schema SET rootpage = (SELECT rootpage FROM sqlite_schema WHERE name = 'volatile_key') "
        "WHERE name = 'child'");
  }
  remove_log(file);
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check_file(file, &faults), Status::damaged);
  ASSERT_FALSE(faults.empty());
  EXPECT_EQ(faults[0].fault, Fault::structure);
}

TEST_F(Check, AMissingIdentity) {
  expect_fault("DELETE FROM meta WHERE name = 'identity'", Fault::meta, "", "the hive's identity is missing or none");
}
TEST_F(Check, AnIdentityThatIsTooShort) {
  expect_fault("UPDATE meta SET value = x'01' WHERE name = 'identity'", Fault::meta, "",
               "the hive's identity is missing or none");
}
TEST_F(Check, ANumberOfTheLastChangeThatIsText) {
  expect_fault("UPDATE meta SET value = 'many' WHERE name = 'number'", Fault::meta, "",
               "the number of the last change is missing or none");
}
TEST_F(Check, AMarkThatIsNone) {
  expect_fault("UPDATE meta SET value = 7 WHERE name = 'imaged'", Fault::meta, "", "a mark is neither 0 nor 1");
}
TEST_F(Check, ABaseThatIsNoIdentity) {
  expect_fault("INSERT INTO meta VALUES('base', 'x')", Fault::meta, "", "the identity of what was imported is none");
}
TEST_F(Check, ARunOfTheMachineThatIsNoText) {
  expect_fault("UPDATE meta SET value = 1 WHERE name = 'boot'", Fault::meta, "", "the run of the machine is no text");
}

TEST_F(Check, ACounterThatWasSetBackIsTold) {
  const std::vector<std::string> lines = faults_after("UPDATE meta SET value = 1001 WHERE name = 'next_id'");
  EXPECT_GE(lines.size(), 4u);
  for (Fault fault : kinds) EXPECT_EQ(fault, Fault::number);
}
TEST_F(Check, AStateThatIsTooHigh) {
  expect_fault("UPDATE node SET seq = 1000000 WHERE folded = 'A' AND kind = 0", Fault::number, "A",
               "a state with a number that was never given out");
}
TEST_F(Check, ARowThatIsNeitherAKeyNorAValue) {
  expect_fault("INSERT INTO node(key, kind, folded, name) VALUES(1, 5, 'X', 'x')", Fault::number, root,
               "a row that is neither a key nor a value");
}

TEST_F(Check, AMissingRootAndItsOrphans) {
  const std::vector<std::string> lines = faults_after("DELETE FROM node WHERE key = 1");
  EXPECT_EQ(lines.size(), 3u) << testing::PrintToString(lines);
  EXPECT_EQ(kinds, (std::vector<Fault>{Fault::root, Fault::parent, Fault::parent}));
}
TEST_F(Check, ARootTooMany) {
  faults_after("UPDATE node SET parent = NULL, name = '', folded = '' WHERE folded = 'C' AND kind = 0");
  EXPECT_EQ(kinds, (std::vector<Fault>{Fault::root, Fault::counts, Fault::maxima}));
}
TEST_F(Check, AParentThatIsMissing) {
  const std::vector<std::string> lines = faults_after("UPDATE node SET parent = 1999 WHERE folded = 'C' AND kind = 0");
  EXPECT_EQ(kinds, (std::vector<Fault>{Fault::parent, Fault::counts, Fault::maxima}));
  EXPECT_NE(lines[0].find("the key above it is missing"), std::string::npos);
}
TEST_F(Check, KeysBelowThemselves) {
  faults_after("UPDATE node SET parent = (SELECT key FROM node WHERE folded = 'C') WHERE folded = 'B' AND kind = 0");
  EXPECT_EQ(std::count(kinds.begin(), kinds.end(), Fault::cycle), 2);
}
TEST_F(Check, KeysThatAreTooDeep) {
  std::string statements = "UPDATE meta SET value = 100000 WHERE name = 'next_id';";
  for (int i = 0; i < 513; ++i) {
    const std::string key = std::to_string(20000 + i), parent = i == 0 ? "1" : std::to_string(20000 + i - 1);
    statements +=
        "INSERT INTO node(key, kind, folded, name, parent, class, written, seq, children, value_count, "
        "max_child_units, max_class_units, max_value_name_units, max_value_size, mode, owner, grp, flags) "
        "VALUES(" +
        key + ", 0, 'D', 'd', " + parent + ", '', 0, " + key + ", " + (i < 512 ? "1" : "0") + ", 0, " +
        (i < 512 ? "1" : "0") + ", 0, 0, 0, 0, 0, 0, 0);";
  }
  const std::vector<std::string> lines =
      faults_after(statements + "UPDATE node SET children = children + 1 WHERE key = 1 AND kind = 0");
  ASSERT_EQ(kinds, std::vector<Fault>{Fault::depth}) << testing::PrintToString(lines);
  EXPECT_EQ(lines[0].substr(lines[0].find(' ') + 1), "key 20512: it is too deep");
}
TEST_F(Check, ALastingKeyBelowAVolatileOne) {
  expect_fault("UPDATE node SET boot = NULL WHERE folded = 'ONE'", Fault::volatility, "ONE",
               "a lasting key below a volatile one");
}

TEST_F(Check, AWrongNumberOfSubKeys) {
  expect_fault("UPDATE node SET children = 5 WHERE folded = 'A' AND kind = 0", Fault::counts, "A",
               "the number of its sub-keys is not what it says");
}
TEST_F(Check, AWrongNumberOfValues) {
  expect_fault("UPDATE node SET value_count = 0 WHERE folded = 'A' AND kind = 0", Fault::counts, "A",
               "the number of its values is not what it says");
}
TEST_F(Check, WrongLongestLengthsOfSubKeys) {
  expect_fault("UPDATE node SET max_class_units = 4 WHERE key = 1 AND kind = 0", Fault::maxima, root,
               "the longest name or class of its sub-keys is not what it says");
}
TEST_F(Check, WrongLongestLengthsOfValues) {
  expect_fault("UPDATE node SET max_value_size = NULL WHERE folded = 'A' AND kind = 0", Fault::maxima, "A",
               "the longest name or the largest of its values is not what it says");
}

TEST_F(Check, ValuesOfNoKey) {
  faults_after("DELETE FROM node WHERE folded = 'C' AND kind = 0");
  EXPECT_EQ(kinds, (std::vector<Fault>{Fault::counts, Fault::maxima, Fault::lost_value}));
}
TEST_F(Check, DataOfAnotherSize) {
  faults_after("UPDATE node SET data = x'00' WHERE folded = 'V' AND kind = 1");
  EXPECT_EQ(kinds, std::vector<Fault>{Fault::data});
}
TEST_F(Check, LargeDataThatIsMissing) {
  faults_after("DELETE FROM large");
  EXPECT_EQ(kinds, std::vector<Fault>{Fault::data});
}
TEST_F(Check, LargeDataOfAnotherSize) {
  faults_after("UPDATE large SET data = zeroblob(1999)");
  EXPECT_EQ(kinds, std::vector<Fault>{Fault::data});
}
TEST_F(Check, ASizeThatNoValueHas) {
  faults_after("UPDATE node SET type = -1 WHERE folded = 'V' AND kind = 1");
  EXPECT_EQ(kinds, std::vector<Fault>{Fault::data});
}
TEST_F(Check, LargeDataThatIsShared) {
  faults_after(
      "UPDATE node SET large = (SELECT id FROM large), size = 2000, data = NULL WHERE folded = 'V' AND kind = 1");
  EXPECT_EQ(kinds, std::vector<Fault>{Fault::data});
}
TEST_F(Check, LargeDataOfNoValue) {
  expect_fault("INSERT INTO large(data) VALUES(zeroblob(600))", Fault::unused_large, "",
               "large data that no value has");
}

TEST_F(Check, AFoldedNameThatIsNotTheNames) {
  expect_fault("UPDATE node SET name = 'q' WHERE folded = 'C' AND kind = 0", Fault::name, "C",
               "a folded name that is not the name's");
}
TEST_F(Check, NamesThatNoKeyHas) {
  faults_after("UPDATE node SET name = 'x\\y', folded = 'X\\Y' WHERE folded = 'C' AND kind = 0");
  EXPECT_EQ(kinds, (std::vector<Fault>{Fault::maxima, Fault::name}));
}
TEST_F(Check, ANameThatIsNoText) {
  const std::vector<std::string> lines =
      faults_after("UPDATE node SET name = CAST(x'FF' AS TEXT) WHERE folded = 'C' AND kind = 0");
  EXPECT_EQ(kinds, std::vector<Fault>{Fault::name}) << testing::PrintToString(lines);
}

TEST_F(Check, NoMoreThanAThousandAreTold) {
  std::string statements;
  for (int i = 0; i < 1100; ++i) statements += "INSERT INTO large(data) VALUES(zeroblob(600));";
  EXPECT_EQ(faults_after(statements).size(), 1000u);
}

TEST_F(Check, WhatIsNoHiveIsNotLookedThrough) {
  write_bytes(file, "text");
  std::vector<hive::Found_Fault> faults;
  EXPECT_EQ(registry->check_file(file, &faults), Status::not_a_hive);
  EXPECT_EQ(registry->check_file(folder / "missing", &faults), Status::not_found);
  EXPECT_TRUE(faults.empty());
}

}  // namespace
