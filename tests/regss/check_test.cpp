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
