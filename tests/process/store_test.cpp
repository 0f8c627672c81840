// The ends of a program over the real store: every closing end leaves a whole file of the user's hive, from
// which another host's store is filled.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/child.h"

namespace kvtest {
namespace {

// One user's files: the machine's hive, the core data of a host, and the user's hive file.
class User {
 public:
  Child_Result run(std::vector<std::string> argv, const std::string& host = "host") const {
    argv.insert(argv.begin(), KVTEST_SAVER);
    return run_program(argv, {"KVREGISTRY=" + folder_ / (host + "-hklm.bin") + ":" + file(), "HOME=" + folder_.path(),
                              "KVCORE_PRIVATE_DATA=" + folder_ / host});
  }
  std::string file() const { return folder_ / "hkcu.bin"; }

 private:
  Temp_Folder folder_;
};

std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void expect_end(const Child_Result& result, const std::string& out) {
  EXPECT_EQ(result.exit_status, 5) << "signal " << result.signal;
  EXPECT_EQ(result.out, out);
  EXPECT_EQ(result.err, "");
}

class Closing_End_With_Store : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Ways, Closing_End_With_Store, testing::Values("return", "exit", "KvExit", "thread"));

TEST_P(Closing_End_With_Store, LeavesAFileFromWhichAnotherHostReads) {
  User user;
  expect_end(user.run({"set", "kept", GetParam()}), "");
  ASSERT_TRUE(std::filesystem::exists(user.file()));
  expect_end(user.run({"get"}, "other-host"), "kept\n");
}

TEST_P(Closing_End_With_Store, ReplacesTheFileOfAnEarlierRun) {
  User user;
  expect_end(user.run({"set", "first", GetParam()}), "");
  const std::string first = content_of(user.file());
  expect_end(user.run({"set", "second", GetParam()}), "");
  EXPECT_NE(content_of(user.file()), first);
  expect_end(user.run({"get"}, "other-host"), "second\n");
}

class Sudden_End_With_Store : public testing::TestWithParam<const char*> {};
INSTANTIATE_TEST_SUITE_P(Ways, Sudden_End_With_Store, testing::Values("quick_exit", "_exit"));

TEST_P(Sudden_End_With_Store, LeavesNoFileAndLosesNothing) {
  User user;
  expect_end(user.run({"set", "kept", GetParam()}), "");
  EXPECT_FALSE(std::filesystem::exists(user.file()));
  expect_end(user.run({"get"}), "kept\n");
  EXPECT_TRUE(std::filesystem::exists(user.file()));
}

}  // namespace
}  // namespace kvtest
