// Descriptors in a real registry: stored, read back, by either name.
#include <kelvane/security.h>

#include "tests/security/guarded.h"

namespace kvtest {
namespace {

const char* const in_memory =
    "01 00 00 80 00*4  28 00*7  34 00*7  00*8  00*8 "
    "01 01 00 00 00 00 00 05 20 02 00 00  01 02 01 02 03 04 05 06 11 22 33 44 f4 01 00 00";

class Stored_Descriptors : public testing::Test {
 protected:
  void SetUp() override {
    const std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    ASSERT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, name.c_str(), &key), 0);
    SetLastError(0x5A5A);
  }
  void TearDown() override {
    RegCloseKey(key);
    EXPECT_EQ(GetLastError(), 0x5A5Au);
  }
  HKEY key = nullptr;
};

TEST_F(Stored_Descriptors, WithTheirWireLengthAreReadBackWithTheirOwn) {
  Guarded descriptor(bytes(in_memory));
  ASSERT_EQ(RegSetSDExA(key, "d", 0, REG_BINARY, descriptor, 48), 0);
  Guarded raw(bytes("ee*48"));
  DWORD size = 48, type = 0;
  EXPECT_EQ(RegQueryValueExA(key, "d", nullptr, &type, raw.as<BYTE>(), &size), 0);
  EXPECT_EQ(type, 3u);
  EXPECT_BYTES(raw.content(),
               "01 00 80 00  00 00 00 14  00 00 00 20  00*8 "
               "01 01 00 00 00 00 00 05 00 00 02 20  01 02 01 02 03 04 05 06 44 33 22 11 00 00 01 f4");
  Guarded back(bytes("ee*68"));
  DWORD length = 68;
  EXPECT_EQ(RegQuerySDExA(key, "d", nullptr, &type, back, &length), 0);
  EXPECT_EQ(length, 68u);
  EXPECT_BYTES(back.content(), in_memory);
}

TEST_F(Stored_Descriptors, WithTheirOwnLengthNeedTwentyBytesMore) {
  Guarded descriptor(bytes(in_memory));
  ASSERT_EQ(RegSetSDExA(key, "d", 0, REG_BINARY, descriptor, 68), 0);
  Guarded small(bytes("ee*68"));
  DWORD length = 68;
  EXPECT_EQ(RegQuerySDExA(key, "d", nullptr, nullptr, small, &length), 234);
  EXPECT_EQ(length, 88u);
  EXPECT_BYTES(small.content(), "ee*68");
  Guarded large(bytes("ee*88"));
  EXPECT_EQ(RegQuerySDExA(key, "d", nullptr, nullptr, large, &length), 0);
  EXPECT_EQ(length, 88u);
  EXPECT_BYTES(large.content(), std::string(in_memory) + " ee*20");
  length = 0;
  EXPECT_EQ(RegQuerySDExA(key, "d", nullptr, nullptr, nullptr, &length), 0);
  EXPECT_EQ(length, 88u);
}

TEST_F(Stored_Descriptors, AreTheSameByWideAndNarrowNames) {
  Guarded descriptor(bytes(in_memory));
  ASSERT_EQ(RegSetSDExW(key, L"gr\u00F6\u00DFe", 0, 99, descriptor, 48), 0);
  Guarded back(bytes("ee*68"));
  DWORD length = 68, type = 0;
  EXPECT_EQ(RegQuerySDExA(key,
                          "gr\xC3\xB6\xC3\x9F"
                          "e",
                          nullptr, &type, back, &length),
            0);
  EXPECT_EQ(type, 99u);
  EXPECT_BYTES(back.content(), in_memory);
  ASSERT_EQ(RegSetSDExA(key, "\xC3\xA4", 0, REG_BINARY, descriptor, 48), 0);
  Guarded wide(bytes("ee*68"));
  EXPECT_EQ(RegQuerySDExW(key, L"\u00E4", nullptr, &type, wide, &length), 0);
  EXPECT_EQ(type, 3u);
  EXPECT_BYTES(wide.content(), in_memory);
}

TEST_F(Stored_Descriptors, ThatAreMissingAre2) {
  DWORD length = 100;
  EXPECT_EQ(RegQuerySDExA(key, "missing", nullptr, nullptr, nullptr, &length), 2);
  EXPECT_EQ(RegQuerySDExW(key, L"missing", nullptr, nullptr, nullptr, &length), 2);
  EXPECT_EQ(length, 100u);
}

}  // namespace
}  // namespace kvtest
