// The environment's code page is settled once in a process: another one than UTF-8 has a child of its own.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <winbase.h>
#include <winerror.h>

#include <string>

#include "tests/support/child.h"

namespace {

int convert(UINT page, DWORD flags, LPCWSTR source, int length, std::string& out, LPCSTR standing_in = nullptr,
            LPBOOL used = nullptr) {
  return WideCharToMultiByte(page, flags, source, length, out.data(), static_cast<int>(out.size()), standing_in, used);
}

TEST(WideCharToMultiByte, WithoutRoomTellsTheSizeWithTheTerminator) {
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, L"dé", -1, nullptr, 0, nullptr, nullptr), 4);
}

TEST(WideCharToMultiByte, ConvertsExactlyTheLengthWithItsZeros) {
  std::string out = "######";
  EXPECT_EQ(convert(CP_UTF8, 0, L"a\0é", 3, out), 4);
  EXPECT_EQ(out, std::string("a\0\xC3\xA9##", 6));
}

TEST(WideCharToMultiByte, WritesNothingThatDoesNotFit) {
  std::string out = "##";
  SetLastError(0);
  EXPECT_EQ(convert(CP_UTF8, 0, L"abc", 3, out), 0);
  EXPECT_EQ(GetLastError(), 122u);
  EXPECT_EQ(out, "##");
}

TEST(WideCharToMultiByte, RefusesWhatIsNoRequest) {
  char out[8];
  auto error_of = [&](UINT page, LPCWSTR source, int length, LPSTR to, int room) {
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(page, 0, source, length, to, room, nullptr, nullptr), 0);
    return GetLastError();
  };
  EXPECT_EQ(error_of(CP_UTF8, nullptr, 1, out, 8), 87u);
  EXPECT_EQ(error_of(CP_UTF8, L"a", 0, out, 8), 87u);
  EXPECT_EQ(error_of(CP_UTF8, L"a", -2, out, 8), 87u);
  EXPECT_EQ(error_of(CP_UTF8, L"a", 1, nullptr, 8), 87u);
  EXPECT_EQ(error_of(CP_UTF8, L"a", 1, out, -1), 87u);
  EXPECT_EQ(error_of(850, L"a", 1, out, 8), 87u);
}

TEST(WideCharToMultiByte, GivesAnUndecodableByteBack) {
  std::string out = "##";
  EXPECT_EQ(convert(CP_UTF8, 0, L"\xDCFF", 1, out), 1);
  EXPECT_EQ(out, "\xFF#");
}

TEST(WideCharToMultiByte, RefusesLoneSurrogatesWhenAskedTo) {
  std::string out = "####";
  SetLastError(0);
  EXPECT_EQ(convert(CP_UTF8, WC_ERR_INVALID_CHARS, L"a\xD800", 2, out), 0);
  EXPECT_EQ(GetLastError(), 1113u);
  EXPECT_EQ(convert(CP_UTF8, WC_ERR_INVALID_CHARS, L"a\x1F600", 2, out), 0);
  EXPECT_EQ(GetLastError(), 122u) << "a character of five bytes in all";
}

TEST(WideCharToMultiByte, TakesNoDefaultForUtf8) {
  std::string out = "####";
  BOOL used = 7;
  SetLastError(0);
  EXPECT_EQ(convert(CP_UTF8, 0, L"a", 1, out, "!", nullptr), 0);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(convert(CP_UTF8, 0, L"a", 1, out, nullptr, &used), 0);
  EXPECT_EQ(used, 7);
}

TEST(WideCharToMultiByte, PutsTheDefaultForWhatThePageCannotExpress) {
  const auto child = kvtest::run_child([] {
    setenv("LC_ALL", "en_US.ISO-8859-1", 1);
    for (LPCSTR standing_in : {static_cast<LPCSTR>(nullptr), "!"}) {
      char out[8] = "#######";
      BOOL used = 7;
      const int size = WideCharToMultiByte(CP_ACP, 0, L"é\x4E2D?", -1, out, 8, standing_in, &used);
      printf("%d %d %s\n", size, used, out + 1);
      WideCharToMultiByte(CP_ACP, 0, L"é?", -1, out, 8, standing_in, &used);
      printf("%d %s\n", used, out + 1);
    }
  });
  EXPECT_EQ(child.out, "4 1 ??\n0 ?\n4 1 !?\n0 ?\n");
}

}  // namespace
