// MultiByteToWideChar in UTF-8, the code page of the environment that the tests run in.
#include <gtest/gtest.h>
#include <winbase.h>
#include <winerror.h>

#include <string>

namespace {

class MultiByteToWideCharTest : public testing::Test {
 protected:
  MultiByteToWideCharTest() : out_(8, L'#') { SetLastError(12345); }

  int convert(const char* source, int size, int room, DWORD flags = 0, UINT code_page = CP_UTF8) {
    return MultiByteToWideChar(code_page, flags, source, size, out_.data(), room);
  }

  std::wstring out_;
};

}  // namespace

TEST_F(MultiByteToWideCharTest, ConvertsExactlyTheGivenSizeAndLeavesTheRestOfTheRoom) {
  EXPECT_EQ(convert("a\0\xC3\xA9z", 4, 8), 3);
  EXPECT_EQ(out_, std::wstring(L"a\0\x00E9#####", 8));
  EXPECT_EQ(GetLastError(), 12345u);
}

TEST_F(MultiByteToWideCharTest, TakesTheEnvironmentsCodePageAsPageZero) {
  EXPECT_EQ(convert("\xC3\xA9", 2, 8, MB_PRECOMPOSED, CP_ACP), 1);
  EXPECT_EQ(out_, L"\x00E9#######");
}

TEST_F(MultiByteToWideCharTest, ConvertsTheTerminatorTooWithASizeOfMinusOne) {
  EXPECT_EQ(convert("ab", -1, 8), 3);
  EXPECT_EQ(out_, std::wstring(L"ab\0#####", 8));
}

TEST_F(MultiByteToWideCharTest, TellsTheCharactersNeededWhenThereIsNoRoom) {
  EXPECT_EQ(convert("a\xC3\xA9z", 4, 0), 3);
  EXPECT_EQ(out_, L"########");
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "ab", -1, nullptr, 0), 3);
  EXPECT_EQ(GetLastError(), 12345u);
}

TEST_F(MultiByteToWideCharTest, NeedsNoMoreRoomThanTheTextHasCharacters) {
  EXPECT_EQ(convert("\xC3\xA9\xF0\x9F\x98\x80", 6, 2), 2);
  EXPECT_EQ(out_, L"\x00E9\x1F600######");
}

TEST_F(MultiByteToWideCharTest, RefusesTooLittleRoomAndWritesNothing) {
  EXPECT_EQ(convert("abc", 3, 2), 0);
  EXPECT_EQ(GetLastError(), 122u);
  EXPECT_EQ(out_, L"########");
}

TEST_F(MultiByteToWideCharTest, CarriesAnUndecodableByte) {
  EXPECT_EQ(convert("a\xFFz", 3, 8), 3);
  EXPECT_EQ(out_, (std::wstring{L'a', wchar_t(0xDCFF), L'z'} + L"#####"));
}

TEST_F(MultiByteToWideCharTest, RefusesAnUndecodableByteWhenAskedTo) {
  EXPECT_EQ(convert("a\xFFz", 3, 8, MB_ERR_INVALID_CHARS), 0);
  EXPECT_EQ(GetLastError(), 1113u);
  EXPECT_EQ(out_, L"########");
  EXPECT_EQ(convert("a\xFFz", 3, 0, MB_ERR_INVALID_CHARS), 0);
  EXPECT_EQ(convert("a\xC3\xA9", 3, 8, MB_ERR_INVALID_CHARS), 2);
}

TEST_F(MultiByteToWideCharTest, RefusesWrongSizesAndNullPointers) {
  const auto refused = [&](int result) {
    const DWORD error = GetLastError();
    SetLastError(12345);
    return result == 0 && error == 87;
  };
  EXPECT_TRUE(refused(convert("abc", 0, 8)));
  EXPECT_TRUE(refused(convert("abc", -2, 8)));
  EXPECT_TRUE(refused(convert("abc", 3, -1)));
  EXPECT_TRUE(refused(convert(nullptr, 3, 8)));
  EXPECT_TRUE(refused(MultiByteToWideChar(CP_UTF8, 0, "abc", 3, nullptr, 8)));
  EXPECT_EQ(out_, L"########");
}

TEST_F(MultiByteToWideCharTest, RefusesOtherCodePages) {
  EXPECT_EQ(convert("abc", 3, 8, 0, 1252), 0);
  EXPECT_EQ(GetLastError(), 87u);
}
