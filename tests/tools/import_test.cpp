// An import is all or nothing, also where a server has the registry: run again in the other modes.
#include "tests/tools/kvreg.h"

namespace {

// On the registry of the environment, which the test's modes bring.
class Import : public testing::Test {
 protected:
  static kvtest::Child_Result run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), KVTEST_KVREG);
    return kvtest::run_program(arguments);
  }
  kvtest::Child_Result import(const std::string& text) const {
    std::ofstream(folder_ / "in.reg", std::ios::binary) << "Windows Registry Editor Version 5.00\r\n\r\n" << text;
    return run({"import", folder_ / "in.reg"});
  }

 private:
  kvtest::Temp_Folder folder_;
};

TEST_F(Import, KeepsAllOfAFile) {
  const kvtest::Child_Result result =
      import("[HKEY_CURRENT_USER\\All\\One]\r\n\"a\"=\"1\"\r\n[HKEY_CURRENT_USER\\All\\Two]\r\n\"b\"=dword:2\r\n");
  EXPECT_EQ(result.exit_status, 0) << result.err;
  EXPECT_EQ(run({"query", "HKCU\\All", "/s"}).out,
            "\nHKEY_CURRENT_USER\\All\n"
            "\nHKEY_CURRENT_USER\\All\\One\n    a    REG_SZ    1\n"
            "\nHKEY_CURRENT_USER\\All\\Two\n    b    REG_DWORD    0x2\n");
}

TEST_F(Import, ThatTheRegistryRefusesInTheMiddleChangesNothing) {
  std::string too_deep = "[HKEY_CLASSES_ROOT";  // two keys deep itself
  for (int i = 0; i < 511; ++i) too_deep += "\\k";
  const kvtest::Child_Result result = import("[HKEY_CURRENT_USER\\Nothing\\One]\r\n\"a\"=\"1\"\r\n" + too_deep +
                                             "]\r\n[HKEY_CURRENT_USER\\Nothing\\Two]\r\n");
  EXPECT_EQ(result.exit_status, 1);
  EXPECT_NE(result.err.find("(ERROR_INVALID_PARAMETER, 87)"), std::string::npos) << result.err;
  EXPECT_EQ(run({"query", "HKCU\\Nothing"}).exit_status, 1);
  EXPECT_EQ(import("[HKEY_CURRENT_USER\\Nothing]\r\n\"a\"=\"2\"\r\n").exit_status, 0);
}

}  // namespace
