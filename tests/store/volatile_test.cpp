// Volatile keys: they outlive programs, not the run of the machine.
#include "tests/store/act.h"
#include "tests/store/store_test.h"
#include "tests/support/own_mounts.h"

namespace kvtest {
namespace {

class Volatile_Keys : public Store_Test {};

TEST_F(Volatile_Keys, AreLikeOthersInOneProcess) {
  Key passing = created(key, "passing", REG_OPTION_VOLATILE);
  ASSERT_EQ(set_value(passing, "v", REG_BINARY, "x"), 0);
  EXPECT_EQ(value_of(opened(key, "passing"), "v").data(), "x");
  EXPECT_EQ(sub_keys(key), std::vector<std::string>{"passing"});
  EXPECT_EQ(RegDeleteKey(key, "passing"), 0);
}

TEST_F(Volatile_Keys, HaveNoLastingKeysBelow) {
  Key passing = created(key, "passing", REG_OPTION_VOLATILE);
  HKEY out = handle_of(0x77);
  EXPECT_EQ(RegCreateKeyEx(passing, "lasting", 0, nullptr, 0, KEY_READ, nullptr, &out, nullptr), 1021);
  EXPECT_EQ(number_of(out), 0x77u);
  EXPECT_NE(created(passing, "also passing", REG_OPTION_VOLATILE), nullptr);
  EXPECT_EQ(sub_keys(passing), std::vector<std::string>{"also passing"});
}

TEST_F(Volatile_Keys, ThatStandAlreadyStayWhatTheyAre) {
  ASSERT_NE(created(key, "lasting"), nullptr);
  Key again = created(key, "lasting", REG_OPTION_VOLATILE);
  ASSERT_NE(again, nullptr);
  EXPECT_NE(created(again, "lasting too"), nullptr);
}

TEST_F(Volatile_Keys, OutliveTheProgramThatMadeThem) {
  Temp_Folder folder;
  const std::vector<std::string> hive = {"KVREGISTRY=" + folder / "m.hive"};
  EXPECT_TRUE(answered(act({{"volatile", "HKLM\\Passing"}, {"set", "HKLM\\Passing", "n", "x"}}, hive), "0 1\n0\n"));
  EXPECT_TRUE(answered(act({{"get", "HKLM\\Passing", "n"}}, hive), "0 x\n"));
}

// Runs the steps as in another run of the machine, as far as processes can see.
Child_Result act_after_restart(const std::string& identity_file, const std::vector<Step>& steps,
                               const std::string& variable) {
  return run_child([&] {
    begin_own_mounts();
    if (mount(identity_file.c_str(), "/proc/sys/kernel/random/boot_id", nullptr, MS_BIND, nullptr) != 0) {
      give_up_on_mounts("no mount over the boot's identity");
    }
    Child_Result result = act(steps, {variable});
    fputs(result.out.c_str(), stdout);
    fputs(result.err.c_str(), stderr);
  });
}

TEST_F(Volatile_Keys, AreGoneAfterARestartWithAllBelowThem) {
  Temp_Folder folder;
  const std::string variable = "KVREGISTRY=" + folder / "m.hive";
  write_file(folder / "boot", "11111111-2222-3333-4444-555555555555\n");
  ASSERT_TRUE(answered(act({{"make", "HKLM\\Stays"},
                            {"volatile", "HKLM\\Stays\\Passing"},
                            {"set", "HKLM\\Stays\\Passing", "n", "x"},
                            {"volatile", "HKLM\\Stays\\Passing\\Deep"}},
                           {variable}),
                       "0 1\n0 1\n0\n0 1\n"));
  Child_Result later = act_after_restart(folder / "boot",
                                         {{"open", "HKLM\\Stays"},
                                          {"open", "HKLM\\Stays\\Passing"},
                                          {"make", "HKLM\\Stays\\Passing"},
                                          {"names", "HKLM\\Stays\\Passing"},
                                          {"open", "HKLM\\Stays\\Passing\\Deep"}},
                                         variable);
  if (later.exit_status == no_own_mounts) GTEST_SKIP() << later.err;
  EXPECT_TRUE(answered(later, "0\n2\n0 1\n0 0\n2\n"));
}

}  // namespace
}  // namespace kvtest
