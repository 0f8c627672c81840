#include <gtest/gtest.h>
#include <winbase.h>

namespace {

TEST(TextLength, CountsBytesOrWideCharacters) {
  EXPECT_EQ(lstrlenA("dé"), 3);
  EXPECT_EQ(lstrlenW(L"dé"), 2);
  EXPECT_EQ(lstrlenA(""), 0);
  EXPECT_EQ(lstrlenW(L""), 0);
}

TEST(TextLength, OfNullIsZero) {
  EXPECT_EQ(lstrlenA(nullptr), 0);
  EXPECT_EQ(lstrlenW(nullptr), 0);
}

}  // namespace
