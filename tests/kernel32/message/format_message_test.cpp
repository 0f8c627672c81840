// Texts of system codes, in both forms.
#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>
#include <regex>
#include <string>

namespace {

constexpr DWORD from_system = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

struct Answer {
  DWORD length;
  DWORD error;
  std::string text;
};

Answer message(DWORD code, DWORD language = 0, DWORD flags = from_system) {
  char buffer[2048] = "untouched";
  SetLastError(0);
  const DWORD length = FormatMessageA(flags, nullptr, code, language, buffer, sizeof buffer, nullptr);
  return {length, GetLastError(), buffer};
}

TEST(FormatMessage, GivesThePublishedTextWithItsLineEnd) {
  EXPECT_EQ(message(0).text, "The operation completed successfully.\r\n");
  EXPECT_EQ(message(2).text, "The system cannot find the file specified.\r\n");
  EXPECT_EQ(message(2).length, 44u);
  EXPECT_EQ(message(5).text, "Access is denied.\r\n");
  EXPECT_EQ(message(234).text, "More data is available.\r\n");
  EXPECT_EQ(message(1018).text, "Illegal operation attempted on a registry key that has been marked for deletion.\r\n");
}

TEST(FormatMessage, KnowsResultsOfComponents) {
  EXPECT_EQ(message(0x80004001).text, "Not implemented\r\n");
  EXPECT_EQ(message(0x80070057).text, "The parameter is incorrect.\r\n");
  EXPECT_EQ(message(0x80070070).text, "There is not enough space on the disk.\r\n");
}

TEST(FormatMessage, AnswersAnUnknownCodeWith317) {
  const Answer answer = message(0x20001234);
  EXPECT_EQ(answer.length, 0u);
  EXPECT_EQ(answer.error, 317u);
  EXPECT_EQ(answer.text, "untouched");
}

TEST(FormatMessage, TakesNeutralAndEnglishAndNoOtherLanguage) {
  EXPECT_EQ(message(5, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT)).length, 19u);
  EXPECT_EQ(message(5, MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT)).length, 19u);
  EXPECT_EQ(message(5, 0x0409).length, 19u);
  EXPECT_EQ(message(5, 0x0809).length, 19u);
  EXPECT_EQ(message(5, 0x0407).length, 0u);
  EXPECT_EQ(message(5, 0x0407).error, 1815u);
}

TEST(FormatMessage, LanguageNumbersAreThePublishedOnes) {
  EXPECT_EQ(MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), 0x400);
  EXPECT_EQ(MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), 0x409);
}

TEST(FormatMessage, AllocatesABlockOfAtLeastTheSizeAskedFor) {
  char* text = nullptr;
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | from_system, nullptr, 6, 0,
                                      reinterpret_cast<LPSTR>(&text), 100, nullptr);
  ASSERT_EQ(length, 24u);
  EXPECT_STREQ(text, "The handle is invalid.\r\n");
  memset(text, '#', 100);
  LocalFree(text);
}

TEST(FormatMessage, AllocatesWideTextToo) {
  wchar_t* text = nullptr;
  const DWORD length = FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | from_system, nullptr, 6, 0,
                                      reinterpret_cast<LPWSTR>(&text), 0, nullptr);
  ASSERT_EQ(length, 24u);
  EXPECT_STREQ(text, L"The handle is invalid.\r\n");
  LocalFree(text);
}

TEST(FormatMessage, WritesNothingThatDoesNotFit) {
  char buffer[19] = "untouched";
  SetLastError(0);
  EXPECT_EQ(FormatMessageA(from_system, nullptr, 5, 0, buffer, 19, nullptr), 0u);
  EXPECT_EQ(GetLastError(), 122u);
  EXPECT_STREQ(buffer, "untouched");
  wchar_t wide[20] = L"untouched";
  EXPECT_EQ(FormatMessageW(from_system, nullptr, 5, 0, wide, 20, nullptr), 19u);
  EXPECT_STREQ(wide, L"Access is denied.\r\n");
}

TEST(FormatMessage, WithTheWidestMaskHasNoLineEnd) {
  EXPECT_EQ(message(5, 0, from_system | FORMAT_MESSAGE_MAX_WIDTH_MASK).text, "Access is denied. ");
}

TEST(FormatMessage, BreaksLinesAtAWidth) {
  EXPECT_EQ(message(2, 0, from_system | 20).text, "The system cannot\r\nfind the file\r\nspecified.\r\n");
  EXPECT_EQ(message(5, 0, from_system | 3).text, "Access\r\nis\r\ndenied.\r\n");
}

TEST(FormatMessage, RefusesWhatItHasNoMessagesFor) {
  EXPECT_EQ(message(5, 0, FORMAT_MESSAGE_IGNORE_INSERTS).error, 87u);
  EXPECT_EQ(message(5, 0, FORMAT_MESSAGE_FROM_STRING).error, 120u);
  EXPECT_EQ(message(5, 0, FORMAT_MESSAGE_FROM_HMODULE).error, 1813u);
  EXPECT_EQ(message(5, 0, FORMAT_MESSAGE_FROM_HMODULE | from_system).error, 0u);
  SetLastError(0);
  EXPECT_EQ(FormatMessageA(from_system, nullptr, 5, 0, nullptr, 0, nullptr), 0u);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST(FormatMessage, HasATextForEveryCodeOfTheHeader) {
  std::ifstream header(KVTEST_WINERROR);
  const std::regex definition("#define ((?:ERROR|WAIT|RPC_S)_\\w+) (\\d+)");
  int codes = 0;
  for (std::string line; std::getline(header, line);) {
    std::smatch match;
    if (!std::regex_match(line, match, definition)) continue;
    ++codes;
    EXPECT_GT(message(static_cast<DWORD>(std::stoul(match[2]))).length, 2u) << match[1];
  }
  EXPECT_GT(codes, 100);
}

TEST(FormatMessage, ReadsNoArguments) {
  char buffer[64];
  va_list* const nowhere = reinterpret_cast<va_list*>(16);
  EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, buffer, 64, nowhere), 19u);
}

}  // namespace
