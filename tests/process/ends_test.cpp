// Every way in which a ported program ends: when and how often the registry is closed.
#include <gtest/gtest.h>

#include "tests/process/recorded_run.h"

namespace kvtest {
namespace {

class Closing_End : public testing::TestWithParam<const char*> {};
class Sudden_End : public testing::TestWithParam<const char*> {};

std::string end_name(const testing::TestParamInfo<const char*>& info) {
  std::string name = info.param;
  return name == "_exit"        ? "SystemExit"
         : name == "quick_exit" ? "QuickExit"
         : name == "Kv_Exit"    ? "KvSystemExit"
                                : name;
}

INSTANTIATE_TEST_SUITE_P(Program, Closing_End, testing::Values("return", "exit", "KvExit", "thread"), end_name);
INSTANTIATE_TEST_SUITE_P(Program, Sudden_End, testing::Values("quick_exit", "_exit", "Kv_Exit"), end_name);

void expect_run(const Recorded_Run& run, const std::string& record) {
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  EXPECT_EQ(run.record, record);
  EXPECT_EQ(run.result.out, "");
  EXPECT_EQ(run.result.err, "");
}

TEST_P(Closing_End, ClosesTheRegistryOnceBehindTheProgramsOwnDestructors) {
  expect_run(recorded_run({KVTEST_PROGRAM, GetParam()}),
             "load, create program-object, create program-function, "
             "close program-object, close program-function, end");
}

TEST_P(Closing_End, ClosesTheRegistryBehindTheDestructorsOfALinkedLibrary) {
  expect_run(recorded_run({KVTEST_PROGRAM_WITH_LIBRARY, GetParam()}),
             "load, create library-object, create library-function, create program-object, create program-function, "
             "close program-object, close program-function, close library-function, close library-object, end");
}

TEST_P(Closing_End, ClosesTheRegistryBehindTheDestructorsOfAPlugInThatIsOpen) {
  const Recorded_Run run = recorded_run({KVTEST_PROGRAM, "load", KVTEST_PLUG_IN, GetParam()});
  const std::string start =
      "load, create program-object, create program-function, create plug-in-object, create plug-in-function, ";
  EXPECT_EQ(run.result.exit_status, 5) << "signal " << run.result.signal;
  ASSERT_EQ(run.record.substr(0, start.size()), start);
  // Between the program and a plug-in the loader chooses the order.
  const std::string rest = run.record.substr(start.size());
  for (const char* closed :
       {"close program-object, ", "close program-function, ", "close plug-in-object, ", "close plug-in-function, "})
    EXPECT_NE(rest.find(closed), std::string::npos) << rest;
  EXPECT_EQ(rest.size(), std::string("close program-object, close program-function, "
                                     "close plug-in-object, close plug-in-function, end")
                             .size());
  EXPECT_EQ(rest.substr(rest.size() - 5), ", end");
}

TEST_P(Closing_End, LetsExitHandlersCallTheRegistry) {
  expect_run(recorded_run({KVTEST_PROGRAM, "exit-handler", GetParam()}),
             "load, create program-object, create program-function, "
             "flush, close program-object, close program-function, end");
}

TEST_P(Closing_End, WritesTheUsersHive) {
  Temp_Folder folder;
  const Child_Result result = run_program({KVTEST_PROGRAM, GetParam()},
                                          {"KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole", "KVTEST_IMAGE=the image",
                                           "KVREGISTRY=" + folder / "hklm.bin" + ":" + folder / "hkcu.bin"});
  EXPECT_EQ(result.exit_status, 5) << result.err;
  std::ifstream file(folder / "hkcu.bin");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "the image");
}

TEST_P(Sudden_End, ClosesNothing) {
  expect_run(recorded_run({KVTEST_PROGRAM, GetParam()}), "load, create program-object, create program-function");
}

TEST_P(Sudden_End, ClosesNothingOfALinkedLibraryEither) {
  expect_run(recorded_run({KVTEST_PROGRAM_WITH_LIBRARY, GetParam()}),
             "load, create library-object, create library-function, create program-object, create program-function");
}

TEST(ProgramInC, ClosesTheRegistryAtItsEnd) {
  expect_run(recorded_run({KVTEST_PROGRAM_IN_C}),
             "load, create program-object, create program-function, "
             "close program-object, close program-function, end");
}

TEST(Program, EndsWithItsOwnStatusWhenItsHiveCannotBeWritten) {
  const Child_Result result =
      run_program({KVTEST_PROGRAM, "return"}, {"KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole", "KVTEST_IMAGE=image",
                                               "KVREGISTRY=/nowhere/hklm.bin:/nowhere/hkcu.bin"});
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

TEST(Program, EndsWithStatus1BeforeItsFirstConstructorWithoutALibrary) {
  Temp_Folder folder;
  std::ofstream(folder / "advapi32impl.dll") << "no library";
  const Child_Result result =
      run_program({KVTEST_PROGRAM, "return"}, {"KVMODULE_PATH=" + folder.path(), "KVREGISTRY=/nowhere/hklm.bin"});
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_NE(result.out.find("Could not load library advapi32impl.dll. There is a problem with your Kelvane "
                            "installation.\n"),
            std::string::npos);
  EXPECT_EQ(result.err, "");
}

TEST(Program, WithHalfTheVariableEndsWith255InsideTheClose) {
  const Child_Result result = run_program(
      {KVTEST_PROGRAM, "return"},
      {"KVMODULE_PATH=" KVTEST_WITNESS_FOLDER "/whole", "KVTEST_IMAGE=image", "KVREGISTRY_MODE=1", "KVREGISTRY"});
  EXPECT_EQ(result.exit_status, 255);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "Fatal Error: environment variable KVREGISTRY is not defined !!!\n");
}

}  // namespace
}  // namespace kvtest
