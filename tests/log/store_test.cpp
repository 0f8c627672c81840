// A log's settings in a real registry: that of the empty HOME which every test has.
#include <gtest/gtest.h>
#include <kelvane/log.h>
#include <windows.h>

#include "tests/support/child.h"

namespace kvtest {
namespace {

constexpr char settings_path[] = "Software\\Tressaly\\regss\\log";

void set_number(const char* name, DWORD value) {
  HKEY key;
  EXPECT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, settings_path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  EXPECT_EQ(RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<BYTE*>(&value), sizeof value), ERROR_SUCCESS);
  RegCloseKey(key);
}

TEST(LogSettings, TakeEffectAtTheNextRecord) {
  testing::internal::CaptureStdout();
  RegLog().Output(2, "dropped");
  set_number("LogLevel", 2);
  RegLog().Output(2, "written");
  set_number("LogLevel", 0);
  RegLog().Output(1, "dropped");
  RegLog().Output(0, "zero");
  set_number("LogLevel", 1);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.find("dropped"), std::string::npos) << out;
  EXPECT_NE(out.find("] ->\nwritten\n"), std::string::npos) << out;
  EXPECT_NE(out.find("] ->\nzero\n"), std::string::npos) << out;
}

TEST(LogSettings, HaveTheirKeyMadeByTheFirstUse) {
  RpcssLog();
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Tressaly\\rpcss\\log", 0, KEY_READ, &key), ERROR_SUCCESS);
  RegCloseKey(key);
}

TEST(LogSettings, GiveTheSizes) {
  set_number("MaxSize", 77);
  set_number("BaseSize", 7);
  EXPECT_EQ(RegLog().MaxSize(), 78848u);
  EXPECT_EQ(RegLog().BaseSize(), 7168u);
}

TEST(LogSettings, OfAStoredLevelThatIsTextAreTheDefaults) {
  HKEY key;
  ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, settings_path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            ERROR_SUCCESS);
  RegSetValueExA(key, "LogLevel", 0, REG_SZ, reinterpret_cast<const BYTE*>("9"), 2);
  EXPECT_EQ(RegLog().Level(), 1);
  RegDeleteValueA(key, "LogLevel");
  EXPECT_EQ(RegLog().Level(), 1);
  RegCloseKey(key);
}

}  // namespace
}  // namespace kvtest
