// save, restore, load, unload, backup and check through the built program.
#include <sys/stat.h>
#include <unistd.h>

#include "tests/tools/kvreg.h"

namespace {

using namespace std::string_literals;

TEST_F(Kvreg, SavesAKeyAndRestoresIt) {
  add("HKCU\\S\\Sub", "a", "1");
  EXPECT_EQ(out({"save", "HKCU\\S", file("s.hive")}), done);
  EXPECT_EQ(out({"delete", "HKCU\\S\\Sub", "/f"}), done);
  add("HKCU\\S", "new", "2");
  EXPECT_EQ(complaint({"restore", "HKCU\\S", file("s.hive")}),
            "kvreg restore: Replace everything in HKEY_CURRENT_USER\\S by what " + file("s.hive") +
                " holds? Nobody can answer here; /f does it without asking.\n");
  EXPECT_EQ(out({"restore", "HKCU\\S", file("s.hive"), "/f"}), done);
  EXPECT_EQ(out({"query", "HKCU\\S", "/s"}),
            "\nHKEY_CURRENT_USER\\S\n\nHKEY_CURRENT_USER\\S\\Sub\n    a    REG_SZ    1\n");
}

TEST_F(Kvreg, ReplacesASavedFileOnlyWhenItIsTold) {
  add("HKCU\\S", "a", "1");
  write(file("s.hive"), "mine");
  EXPECT_EQ(
      complaint({"save", "HKCU\\S", file("s.hive")}),
      "kvreg save: " + file("s.hive") + " is there. Replace it? Nobody can answer here; /y does it without asking.\n");
  EXPECT_EQ(content(file("s.hive")), "mine");
  EXPECT_EQ(out({"save", "HKCU\\S", file("s.hive"), "/y"}), done);
  EXPECT_EQ(content(file("s.hive")).substr(0, 15), "SQLite format 3");
}

TEST_F(Kvreg, KeepsTheFileWhenTheKeyIsNotThere) {
  write(file("s.hive"), "mine");
  EXPECT_EQ(complaint({"save", "HKCU\\Nix", file("s.hive"), "/y"}),
            "kvreg save: HKEY_CURRENT_USER\\Nix: no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
  EXPECT_EQ(content(file("s.hive")), "mine");
}

TEST_F(Kvreg, RestoresNothingFromAFileThatIsNoHive) {
  add("HKCU\\S", "a", "1");
  write(file("text"), "no hive at all, just text that is long enough");
  EXPECT_EQ(
      complaint({"restore", "HKCU\\S", file("text"), "/f"}),
      "kvreg restore: HKEY_CURRENT_USER\\S: " + file("text") +
          ": the file is no hive, one of a later version, or has a second hard link (ERROR_NOT_REGISTRY_FILE, 1017)\n");
  EXPECT_EQ(complaint({"restore", "HKCU\\S", file("nix"), "/f"}),
            "kvreg restore: HKEY_CURRENT_USER\\S: " + file("nix") +
                ": no such key, value or file (ERROR_FILE_NOT_FOUND, 2)\n");
  EXPECT_EQ(out({"query", "HKCU\\S"}), "\nHKEY_CURRENT_USER\\S\n    a    REG_SZ    1\n");
}

TEST_F(Kvreg, LoadsAHiveAsANewKeyAndUnloadsIt) {
  add("HKCU\\S\\Sub", "a", "1");
  EXPECT_EQ(out({"save", "HKCU\\S", file("s.hive")}), done);
  EXPECT_EQ(out({"load", "HKLM\\Loaded", file("s.hive")}), done);
  EXPECT_EQ(out({"query", "HKLM\\Loaded\\Sub"}), "\nHKEY_LOCAL_MACHINE\\Loaded\\Sub\n    a    REG_SZ    1\n");
  EXPECT_EQ(complaint({"load", "HKLM\\Loaded", file("s.hive")}),
            "kvreg load: HKEY_LOCAL_MACHINE\\Loaded: it stands there already (ERROR_ALREADY_EXISTS, 183)\n");
  EXPECT_EQ(out({"unload", "HKLM\\Loaded"}), done);
  EXPECT_EQ(run({"query", "HKLM\\Loaded"}).exit_status, 1);
}

TEST_F(Kvreg, UnloadsNoOtherKey) {
  add("HKLM\\Mine", "a", "1");
  const std::string refusal = complaint({"unload", "HKLM\\Mine"});
  EXPECT_NE(refusal.find("kvreg unload: HKEY_LOCAL_MACHINE\\Mine: "), std::string::npos) << refusal;
  EXPECT_NE(refusal.find("(ERROR_INVALID_PARAMETER, 87)\n"), std::string::npos) << refusal;
  EXPECT_EQ(out({"query", "HKLM\\Mine"}), "\nHKEY_LOCAL_MACHINE\\Mine\n    a    REG_SZ    1\n");
}

TEST_F(Kvreg, BacksBothHivesUp) {
  add("HKLM\\M", "a", "1");
  add("HKCU\\U", "b", "2");
  const std::string told = out({"backup", file("backup")});
  // A server of the machine has all users in one hive, each below the name of his own.
  const bool is_of_all = Test_Registry::mode() == '0';
  const std::string user = file("backup") + (is_of_all ? "/users.hive" : "/user.hive");
  const std::string below =
      is_of_all ? "HKLM\\Back\\S-1-5-21-0-0-0-" + std::to_string(geteuid()) + "\\U" : "HKLM\\Back\\U";
  EXPECT_NE(told.find(file("backup") + "/machine.hive  "), std::string::npos) << told;
  EXPECT_NE(told.find(user + "  "), std::string::npos) << told;
  EXPECT_NE(out({"check", user}).find(user + ": good\n"), std::string::npos);
  EXPECT_EQ(out({"load", "HKLM\\Back", user}), done);
  EXPECT_NE(out({"query", below}).find("\n    b    REG_SZ    2\n"), std::string::npos);
}

TEST_F(Kvreg, BacksUpIntoNoFile) {
  write(file("taken"), "mine");
  EXPECT_EQ(complaint({"backup", file("taken")}),
            "kvreg backup: " + file("taken") + ": it stands there already (ERROR_ALREADY_EXISTS, 183)\n");
  EXPECT_EQ(content(file("taken")), "mine");
}

TEST_F(Kvreg, ChecksHivesAndCountsWhatTheyHold) {
  add("HKLM\\M", "a", "1");
  const std::string told = out({"check", "HKLM\\M"});
  // Where a server of the machine has the file, only it knows where.
  const std::string known_file = Test_Registry::mode() == '0' ? "" : " (" + machine_file() + ")";
  EXPECT_NE(told.find("HKEY_LOCAL_MACHINE\\M" + known_file + ": good\n"), std::string::npos) << told;
  EXPECT_NE(told.find(" 1 values, 4 bytes of data\n"), std::string::npos) << told;
  EXPECT_EQ(out({"save", "HKLM\\M", file("m.hive")}), done);
  EXPECT_NE(out({"check", file("m.hive"), "HKCU"}).find(file("m.hive") + ": good\n"), std::string::npos);
}

TEST_F(Kvreg, NamesWhatIsWrongWithAHive) {
  add("HKLM\\M", "a", "1");
  EXPECT_EQ(out({"save", "HKLM\\M", file("m.hive")}), done);
  std::string damaged = content(file("m.hive"));
  ASSERT_GT(damaged.size(), 8192u);
  damaged.resize(damaged.size() - 4096);
  write(file("m.hive"), damaged);
  const kvtest::Child_Result result = run({"check", file("m.hive")});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_EQ(result.out.substr(0, (file("m.hive") + ": not good\n").size()), file("m.hive") + ": not good\n")
      << result.out;
  EXPECT_NE(run({"check", "--json", file("m.hive")}).out.find("\"good\":false"), std::string::npos);
}

TEST_F(Kvreg, ChecksNoFileThatIsNotThere) {
  const kvtest::Child_Result result = run({"check", file("nix")});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_NE(result.out.find("(ERROR_FILE_NOT_FOUND, 2)"), std::string::npos) << result.out;
}

}  // namespace
