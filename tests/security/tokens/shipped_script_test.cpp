// The script that is installed beside the programs, with real users and groups.
#include "tests/security/tokens/access_checks.h"

namespace kvtest {
namespace {

const std::string users = "anna:x:500:100::/:/bin/sh\notto:x:501:101::/:/bin/sh\n";
const std::string groups = "users:x:100:\nothers:x:101:\nproject:x:600:anna\nbig:x:4000000000:anna\n";

// What the script prints for a login name.
std::string output_for(const std::string& name) {
  const Host_Of_Users host(users, groups);
  return host.run([&] {
    const Child_Result script = run_program({KVTEST_SCRIPT_FOLDER "/getgr.sh", name});
    return script.out + "status " + std::to_string(script.exit_status);
  });
}

TEST(ShippedScript, PrintsTheNumbersOfAllGroupsOfAUser) {
  EXPECT_ANSWER(output_for("anna"), "100 600 4000000000\nstatus 0");
  EXPECT_ANSWER(output_for("otto"), "101\nstatus 0");
}

// As an option it would name the groups of whoever runs the script.
TEST(ShippedScript, TakesANameThatLooksLikeAnOptionForAName) { EXPECT_ANSWER(output_for("-n"), "status 1"); }

TEST(ShippedScript, PrintsNothingForNobody) {
  EXPECT_ANSWER(output_for("nobody-here"), "status 1");
  EXPECT_ANSWER(output_for(""), "status 1");
}

TEST(ShippedScript, LetsTheCheckDecideByRealGroups) {
  const Host_Of_Users host(users, groups);
  EXPECT_ANSWER(host.run([] {
    setenv("PATH", KVTEST_SCRIPT_FOLDER ":/usr/bin:/bin", 1);
    return verdict(Ids{1}, Ids{600}, 500) + verdict(Ids{1}, Ids{600}, 501) + verdict(Ids{1}, Ids{7, 101}, 501) +
           verdict(Ids{1}, Ids{4000000000}, 500) + verdict(Ids{1}, Ids{0, 7}, 500);
  }),
                "granteddeniedgrantedgranteddenied");
}

}  // namespace
}  // namespace kvtest
