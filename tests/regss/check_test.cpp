// Hives are looked through before they are served.
#include "tests/regss/running.h"

namespace kvtest {
namespace {

class Check : public Regss {};

TEST_F(Check, ChecksTheHivesWhenAsked) {
  const auto server = serve(machine({"--check", "--log-level", "2"}));
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_EQ(server->said().find("regss: The machine's hive: "), 0u);
  EXPECT_NE(server->said().find(" keys without fault\n"), std::string::npos);
}

TEST_F(Check, DoesNotServeAHiveWithAFault) {
  const Words checked = machine({"--check"});
  const auto first = serve(checked);
  ASSERT_NE(first, nullptr);
  first->send(SIGTERM);
  ASSERT_EQ(first->status(), 0);
  const std::string tool = "/usr/bin/sqlite3", hive = folder / "core/registry/hklm.bin";
  if (access(tool.c_str(), X_OK) != 0) GTEST_SKIP() << tool << " is not installed";
  ASSERT_EQ(run({tool, hive, "UPDATE node SET children = 77 WHERE key = 1 AND kind = 0"}).exit_status, 0);
  const auto second = begin(checked);
  EXPECT_EQ(second->status(), 1);
  EXPECT_NE(second->said().find("\nregss: The machine's hive has faults: 1\n"), std::string::npos) << second->said();
  EXPECT_EQ(second->said().find("regss: The machine's hive: "), 0u) << second->said();
  // Served when nobody asks.
  const auto third = serve(machine());
  EXPECT_NE(third, nullptr);
}

TEST_F(Check, LooksTheHiveOfAllUsersThroughToo) {
  mkdir((folder / "core/registry").c_str(), 0700);
  write_file(folder / "core/registry/users", "no hive");
  const auto second = begin(machine({"--check"}));
  EXPECT_EQ(second->status(), 1);
  EXPECT_EQ(second->said(), "regss: The users' hive cannot be looked through: error 1017\n");
}

// As it is, and as a backup of it is that was put in its place.
TEST_F(Check, FindsNoFaultInTheHiveOfAllUsers) {
  const std::string hive = folder / "core/registry/users";
  const auto server = serve(machine(), {"KVMODULE_PATH"});
  ASSERT_NE(server, nullptr);
  ASSERT_EQ(run({KVTEST_PROGRAM, "user"}, {"KVREGISTRY_MODE=0", "KVMODULE_PATH"}).exit_status, 0);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  ASSERT_TRUE(exists(hive));
  for (int i = 0; i < 2; ++i) {
    const auto checked = serve(machine({"--check", "--log-level", "2"}));
    ASSERT_NE(checked, nullptr);
    checked->send(SIGTERM);
    ASSERT_EQ(checked->status(), 0);
    EXPECT_NE(checked->said().find("\nregss: The users' hive: 4 keys without fault\n"), std::string::npos)
        << checked->said();
    if (i > 0) continue;
    const std::string tool = "/usr/bin/sqlite3";
    if (access(tool.c_str(), X_OK) != 0) GTEST_SKIP() << tool << " is not installed";
    ASSERT_EQ(run({tool, hive, "PRAGMA wal_checkpoint(TRUNCATE)"}).exit_status, 0);
    for (const char* beside : {"-wal", "-shm"}) unlink((hive + beside).c_str());
  }
}

TEST_F(Check, OfAUserLooksHisHiveThroughToo) {
  const auto server = serve(user({"--check", "--log-level", "2"}));
  ASSERT_NE(server, nullptr);
  server->send(SIGTERM);
  ASSERT_EQ(server->status(), 0);
  EXPECT_NE(server->said().find("\nregss: The user's hive: "), std::string::npos) << server->said();
}

TEST_F(Check, DoesNotServeADamagedHiveWhenAskedToCheck) {
  mkdir((folder / "core/registry").c_str(), 0700);
  write_file(folder / "core/registry/hklm.bin", "this is no hive, and nobody may take it for one");
  const auto server = begin(machine({"--check"}));
  EXPECT_EQ(server->status(), 1);
  EXPECT_NE(server->said().find("regss: The machine's hive cannot be looked through: error 1017\n"), std::string::npos)
      << server->said();
  EXPECT_EQ(content_of(folder / "core/registry/hklm.bin"), "this is no hive, and nobody may take it for one");
  EXPECT_FALSE(exists(endpoint_file));
}

}  // namespace
}  // namespace kvtest
