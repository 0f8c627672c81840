// The code pages of other environments. A process has one code page for its life, so that each question is
// asked in a child; this program itself never converts.
#include <gtest/gtest.h>
#include <kelvane/text.h>
#include <stdio.h>
#include <stdlib.h>
#include <winbase.h>
#include <winerror.h>

#include <functional>
#include <initializer_list>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/child.h"

namespace {

using kvtest::run_child;

using Environment = std::vector<std::pair<const char*, const char*>>;

std::string in(const Environment& environment, const std::function<void()>& body) {
  return run_child([&] {
           for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) unsetenv(name);
           for (const auto& [name, value] : environment) setenv(name, value, 1);
           body();
         })
      .out;
}

// The characters in hexadecimal, each behind a blank.
std::string decoded_in(const Environment& environment, const std::string& text) {
  return in(environment, [&] {
    const KvUnicodeStringWithLength wide(text.data(), static_cast<int>(text.size()));
    for (int i = 0; i < wide.length(); ++i) printf(" %X", static_cast<unsigned>(wide.text()[i]));
  });
}

std::string decoded_in(const char* locale, const std::string& text) { return decoded_in({{"LC_ALL", locale}}, text); }

// The bytes in hexadecimal, each behind a blank.
std::string encoded_in(const char* locale, const std::wstring& text) {
  return in({{"LC_ALL", locale}}, [&] {
    const KvAnsiStringWithLength narrow(text.data(), static_cast<int>(text.size()));
    for (int i = 0; i < narrow.size(); ++i) printf(" %02X", static_cast<unsigned char>(narrow.text()[i]));
  });
}

std::string keeps_ascii_in(const char* locale) {
  return in({{"LC_ALL", locale}}, [] { printf("%d", KvCodePageKeepsAscii()); });
}

void print_whether_bytes_come_back(std::mt19937& random) {
  for (int i = 0; i < 300; ++i) {
    std::string text;
    for (size_t size = random() % 60; text.size() < size;) text.push_back(static_cast<char>(random() % 256));
    const KvUnicodeStringWithLength wide(text.data(), static_cast<int>(text.size()));
    const KvAnsiStringWithLength back(wide.text(), wide.length());
    if (std::string(back.text(), static_cast<size_t>(back.size())) != text) {
      printf("lost");
      return;
    }
  }
  printf("all came back");
}

std::string bytes_come_back_in(const char* locale) {
  return in({{"LC_ALL", locale}}, [] {
    std::mt19937 random(20240103);
    print_whether_bytes_come_back(random);
  });
}

// The locale's definition made on the spot; false when this machine has no sources of locales.
bool make_locale(const std::string& folder, const char* name, const char* source, const char* charmap) {
  return kvtest::run_program({"/usr/bin/localedef", "-i", source, "-f", charmap, folder + "/" + name}).exit_status == 0;
}

constexpr char e_acute_in_utf8[] = "\xC3\xA9";
constexpr char one_character[] = " E9";
constexpr char two_characters[] = " C3 A9";

}  // namespace

TEST(CodePageOfTheEnvironment, IsUtf8WhenNothingIsSet) {
  EXPECT_EQ(decoded_in(Environment{}, e_acute_in_utf8), one_character);
}

TEST(CodePageOfTheEnvironment, IsUtf8InTheCLocale) {
  EXPECT_EQ(decoded_in("C", e_acute_in_utf8), one_character);
  EXPECT_EQ(decoded_in("POSIX", e_acute_in_utf8), one_character);
}

TEST(CodePageOfTheEnvironment, IsThatOfTheFirstVariableThatIsSetAndNotEmpty) {
  EXPECT_EQ(decoded_in({{"LC_ALL", "xx.ISO-8859-1"}, {"LC_CTYPE", "C.UTF-8"}, {"LANG", "C.UTF-8"}}, e_acute_in_utf8),
            two_characters);
  EXPECT_EQ(decoded_in({{"LC_ALL", ""}, {"LC_CTYPE", "xx.ISO-8859-1"}, {"LANG", "C.UTF-8"}}, e_acute_in_utf8),
            two_characters);
  EXPECT_EQ(decoded_in({{"LANG", "xx.ISO-8859-1"}}, e_acute_in_utf8), two_characters);
  EXPECT_EQ(decoded_in({{"LC_ALL", "C"}, {"LANG", "xx.ISO-8859-1"}}, e_acute_in_utf8), one_character);
}

TEST(CodePageOfTheEnvironment, TakesTheSpellingsOfUtf8) {
  for (const char* locale : {"xx.UTF-8", "xx.utf8", "xx.Utf_8", "xx.utf-8@euro"}) {
    EXPECT_EQ(decoded_in(locale, e_acute_in_utf8), one_character) << locale;
  }
}

TEST(CodePageOfTheEnvironment, EndsTheCodesetAtTheModifier) {
  EXPECT_EQ(decoded_in("de_DE.ISO-8859-15@euro", "\xA4"), " 20AC");
}

TEST(CodePageOfTheEnvironment, IsUtf8ForAnUnknownCodeset) {
  EXPECT_EQ(decoded_in("xx.no-such-codeset", e_acute_in_utf8), one_character);
  EXPECT_EQ(decoded_in("xx.", e_acute_in_utf8), one_character);
  EXPECT_EQ(decoded_in("xx.ISO-8859-1//TRANSLIT", e_acute_in_utf8), one_character);
  EXPECT_EQ(decoded_in(("xx." + std::string(300, 'x')).c_str(), e_acute_in_utf8), one_character);
}

TEST(CodePageOfTheEnvironment, IsUtf8ForALocaleThatIsNotInstalled) {
  EXPECT_EQ(decoded_in("xx_XX", e_acute_in_utf8), one_character);
}

TEST(CodePageOfTheEnvironment, IsUtf8WhereAZeroByteIsNoCharacter) {
  EXPECT_EQ(decoded_in("xx.UTF-16", e_acute_in_utf8), one_character);
  EXPECT_EQ(decoded_in("xx.UCS-4", e_acute_in_utf8), one_character);
  EXPECT_EQ(decoded_in("xx.UTF-7", e_acute_in_utf8), one_character);
}

TEST(CodePageOfTheEnvironment, ComesFromTheInstalledLocaleWhenItsNameTellsNone) {
  const kvtest::Temp_Folder folder;
  if (!make_locale(folder.path(), "kv_TEST", "C", "ISO-8859-1") &&
      !make_locale(folder.path(), "kv_TEST", "en_US", "ISO-8859-1")) {
    GTEST_SKIP() << "no locale can be made here: localedef or its sources are missing";
  }
  EXPECT_EQ(decoded_in({{"LOCPATH", folder.path().c_str()}, {"LC_ALL", "kv_TEST"}}, e_acute_in_utf8), two_characters);
}

TEST(CodePageOfTheEnvironment, IsSettledByTheFirstConversion) {
  EXPECT_EQ(in({{"LC_ALL", "xx.ISO-8859-1"}},
               [] {
                 printf("%d ", KvUnicodeStringWithLength(e_acute_in_utf8, 2).length());
                 setenv("LC_ALL", "C.UTF-8", 1);
                 printf("%d", KvUnicodeStringWithLength(e_acute_in_utf8, 2).length());
               }),
            "2 2");
}

TEST(CodePageOfTheEnvironment, IsTheSameForThreadsThatAskAtOnce) {
  EXPECT_EQ(in({{"LC_ALL", "xx.KOI8-R"}},
               [] {
                 unsigned found[8] = {};
                 std::vector<std::thread> threads;
                 for (unsigned& result : found) {
                   threads.emplace_back(
                       [&result] { result = static_cast<unsigned>(KvUnicodeStringWithLength("\xEB", 1).text()[0]); });
                 }
                 for (std::thread& thread : threads) thread.join();
                 for (unsigned result : found) printf(" %X", result);
               }),
            " 41A 41A 41A 41A 41A 41A 41A 41A");
}

TEST(SingleByteCodePage, DecodesAndEncodesByItsTable) {
  EXPECT_EQ(decoded_in("ru_RU.KOI8-R", "A\xEB\xCF"), " 41 41A 43E");
  EXPECT_EQ(encoded_in("ru_RU.KOI8-R", L"A\x041A\x043E"), " 41 EB CF");
  EXPECT_EQ(decoded_in("xx.CP1252", "\x80 \x9F"), " 20AC 20 178");
}

TEST(SingleByteCodePage, ConvertsZeroCharactersAndLongText) {
  EXPECT_EQ(decoded_in("xx.CP1251", std::string("\xCA\0\xCA", 3)), " 41A 0 41A");
  EXPECT_EQ(in({{"LC_ALL", "xx.CP1251"}},
               [] {
                 const std::string text(5000, '\xCA');
                 const KvUnicodeStringWithLength wide(text.data(), 5000);
                 const KvAnsiStringWithLength back(wide.text(), wide.length());
                 printf("%d %d %d", wide.length(), std::wstring(wide.text()) == std::wstring(5000, L'\x041A'),
                        back.text() == text);
               }),
            "5000 1 1");
}

TEST(SingleByteCodePage, CarriesAnUndecodableByte) {
  EXPECT_EQ(decoded_in("xx.CP1252", "a\x81"), " 61 DC81");
  EXPECT_EQ(encoded_in("xx.CP1252", L"a\xDC81"), " 61 81");
  EXPECT_EQ(decoded_in("xx.US-ASCII", e_acute_in_utf8), " DCC3 DCA9");
}

TEST(SingleByteCodePage, WritesAQuestionMarkForWhatItCannotExpress) {
  EXPECT_EQ(encoded_in("xx.ISO-8859-1", L"a\x041A\x1F600\xD800\xDC41z"), " 61 3F 3F 3F 3F 7A");
  EXPECT_EQ(encoded_in("xx.IBM037", L"A\x041A"), " C1 6F");
}

TEST(SingleByteCodePage, BringsEveryByteBack) {
  for (const char* locale : {"xx.ISO-8859-1", "xx.CP1251", "xx.CP1255", "xx.CP1258", "xx.KOI8-R", "xx.IBM037"}) {
    EXPECT_EQ(bytes_come_back_in(locale), "all came back") << locale;
  }
}

TEST(MultiByteCodePage, DecodesAndEncodesThroughTheConverter) {
  EXPECT_EQ(decoded_in("ja_JP.EUC-JP", "A\xC6\xFC\xCB\xDC"), " 41 65E5 672C");
  EXPECT_EQ(encoded_in("ja_JP.EUC-JP", L"A\x65E5\x672C"), " 41 C6 FC CB DC");
  EXPECT_EQ(decoded_in("zh_CN.GB18030", "\x94\x39\xFC\x36"), " 1F600");
  EXPECT_EQ(encoded_in("zh_CN.GB18030", L"\x1F600"), " 94 39 FC 36");
}

TEST(MultiByteCodePage, CarriesAnUndecodableByte) {
  EXPECT_EQ(decoded_in("xx.EUC-JP", "a\xFFz"), " 61 DCFF 7A");
  EXPECT_EQ(decoded_in("xx.EUC-JP", "a\xC6"), " 61 DCC6");
  EXPECT_EQ(decoded_in("xx.EUC-KR",
                       "\xA1"
                       "A"),
            " DCA1 41");
  EXPECT_EQ(encoded_in("xx.EUC-JP", L"a\xDCFFz\xDCC6"), " 61 FF 7A C6");
}

TEST(MultiByteCodePage, WritesAQuestionMarkForWhatItCannotExpress) {
  EXPECT_EQ(encoded_in("xx.EUC-JP", L"a\x1F600\x65E5\xD800z"), " 61 3F C6 FC 3F 7A");
  EXPECT_EQ(encoded_in("xx.EUC-JP", L"a\xE0041z"), " 61 3F 7A");
}

TEST(MultiByteCodePage, ConvertsZeroCharactersAndLongText) {
  EXPECT_EQ(decoded_in("xx.EUC-JP", std::string("\xC6\xFC\0\xC6\xFC", 5)), " 65E5 0 65E5");
  EXPECT_EQ(in({{"LC_ALL", "xx.EUC-JP"}},
               [] {
                 std::string text;
                 for (int i = 0; i < 5000; ++i) text += "\xC6\xFC";
                 const KvUnicodeStringWithLength wide(text.data(), 10000);
                 const KvAnsiStringWithLength back(wide.text(), wide.length());
                 printf("%d %d %d", wide.length(), std::wstring(wide.text()) == std::wstring(5000, L'\x65E5'),
                        back.text() == text);
               }),
            "5000 1 1");
}

TEST(MultiByteCodePage, BringsAnyBytesOfEucKrBack) { EXPECT_EQ(bytes_come_back_in("xx.EUC-KR"), "all came back"); }

TEST(MultiByteCodePage, EndsAShiftedTextInTheInitialState) {
  EXPECT_EQ(encoded_in("xx.ISO-2022-JP", L"A\x65E5"), " 41 1B 24 42 46 7C 1B 28 42");
  EXPECT_EQ(decoded_in("xx.ISO-2022-JP", "A\x1B$BF|\x1B(BA"), " 41 65E5 41");
}

TEST(MultiByteCodePage, ServesMultiByteToWideChar) {
  EXPECT_EQ(in({{"LC_ALL", "xx.EUC-JP"}},
               [] {
                 wchar_t out[4] = {};
                 printf("%d ", MultiByteToWideChar(CP_ACP, 0, "\xC6\xFC", 2, out, 4));
                 printf("%X ", static_cast<unsigned>(out[0]));
                 printf("%d ", MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, "\xC6\xFC\xFF", 3, out, 4));
                 printf("%u ", GetLastError());
                 printf("%d", MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "\xC3\xA9", 2, out, 4));
               }),
            "1 65E5 0 1113 1");
}

TEST(CodePageKeepsAscii, IsTrueWhereEveryAsciiByteIsThatCharacterEverywhere) {
  for (const char* locale :
       {"C", "xx.UTF-8", "xx.ISO-8859-1", "xx.CP1251", "xx.US-ASCII", "xx.EUC-JP", "xx.EUC-KR", "xx.EUC-TW"}) {
    EXPECT_EQ(keeps_ascii_in(locale), "1") << locale;
  }
}

TEST(CodePageKeepsAscii, IsFalseWhereAnAsciiByteIsAnotherCharacter) {
  for (const char* locale : {"xx.IBM037", "xx.VISCII", "xx.TCVN"}) EXPECT_EQ(keeps_ascii_in(locale), "0") << locale;
}

TEST(CodePageKeepsAscii, IsFalseWhereAnAsciiByteMayBelongToALongerSequence) {
  for (const char* locale : {"xx.SJIS", "xx.CP932", "xx.BIG5", "xx.GBK", "xx.GB18030", "xx.UHC"}) {
    EXPECT_EQ(keeps_ascii_in(locale), "0") << locale;
  }
}

TEST(CodePageKeepsAscii, IsFalseWhereAnAsciiByteChangesTheState) {
  for (const char* locale : {"xx.ISO-2022-JP", "xx.ISO-2022-KR"}) {
    EXPECT_EQ(keeps_ascii_in(locale), "0") << locale;
  }
}
