// Storing wide values: what of the caller's data crosses the table, the look at the last character and at the
// byte a quarter of the size into the data.
#include <signal.h>

#include <vector>

#include "tests/registry/fronts.h"
#include "tests/registry/wide_text.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

const char* bytes_of(const wchar_t* text) { return reinterpret_cast<const char*>(text); }

class Wide_Set_Value_Ex : public Fronts {
 protected:
  // Stores the data under the name "n" and gives the bytes that crossed the table.
  std::string stored(DWORD type, const void* data, DWORD size) {
    recording.reset();
    guarded_regions().clear();
    EXPECT_EQ(RegSetValueExW(key, L"n", 0, type, static_cast<const BYTE*>(data), size), 0);
    const Call set = call();
    EXPECT_EQ(set["data"].bytes.size(), set.raw("data_size"));
    return set["data"].bytes;
  }
};

class Wide_Set_Value : public Fronts {};

// Characters whose second, third and fourth bytes are zero, so that every look into them finds a zero.
constexpr wchar_t low_text[] = L"abcdef";
// The first character has no zero byte but the highest: looks at its second and third byte find none.
constexpr wchar_t high_text[] = {0x00014142, L'b', L'c', L'd', 0};

TEST_F(Wide_Set_Value_Ex, HandsEveryArgumentOn) {
  recording.script("KvIRegSetValueEx", answer(1018));
  const wchar_t text[] = L"abc";
  EXPECT_EQ(RegSetValueExW(key, L"n\u00E4me", 0x89ABCDEF, REG_SZ, reinterpret_cast<const BYTE*>(text), 16), 1018);
  ASSERT_EQ(entries(), "KvIRegSetValueEx ");
  ASSERT_EQ(call().arguments.size(), 7u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(call().raw("reserved"), 0x89ABCDEFu);
  EXPECT_EQ(call().raw("type"), 1u);
  EXPECT_EQ(call()["data"].bytes, "\0a\0b\0c\0\0"s);
  EXPECT_EQ(call().raw("data_size"), 8u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Wide_Set_Value_Ex, ANullNameStaysNullAndAnEmptyOneIsAnEmptyText) {
  RegSetValueExW(key, nullptr, 0, REG_BINARY, nullptr, 0);
  RegSetValueExW(key, L"", 0, REG_BINARY, nullptr, 0);
  EXPECT_EQ(call(0).raw("value_name"), 0u);
  EXPECT_TRUE(call(1)["value_name"].has_text);
  EXPECT_EQ(call(1)["value_name"].text, u"");
}

TEST_F(Wide_Set_Value_Ex, TypesOtherThanTextCrossAsTheCallersOwnBytes) {
  const std::string data = "ab\0\xFF"s;
  for (DWORD type : {0u, 3u, 4u, 5u, 6u, 8u, 9u, 11u, 12u, 31u, 32u, 33u, 34u, 39u, 0x80000001u, 0xFFFFFFFFu}) {
    EXPECT_EQ(stored(type, data.data(), 4), data) << type;
    EXPECT_EQ(call().raw("type"), type);
    EXPECT_EQ(call().raw("data"), number_of(data.data())) << type;
    EXPECT_EQ(guarded_regions(), "") << type;
  }
}

TEST_F(Wide_Set_Value_Ex, BytesAreNotLookedAt) {
  for (DWORD type : {3u, 33u}) {
    recording.reset();
    EXPECT_EQ(RegSetValueExW(key, L"n", 0, type, unreadable<BYTE>(0x10), 0xFFFFFFFF), 0);
    EXPECT_EQ(call().raw("data"), 0x10u);
    EXPECT_EQ(call().raw("data_size"), 0xFFFFFFFFu);
  }
}

TEST_F(Wide_Set_Value_Ex, NullDataKeepsTheSizeGivenWhateverTheType) {
  for (DWORD type : {1u, 2u, 3u, 7u, 33u}) {
    for (DWORD size : {0u, 5u, 0xFFFFFFFFu}) {
      recording.reset();
      EXPECT_EQ(RegSetValueExW(key, L"n", 0, type, nullptr, size), 0);
      EXPECT_EQ(call().raw("type"), type);
      EXPECT_EQ(call().raw("data"), 0u);
      EXPECT_EQ(call().raw("data_size"), size);
    }
  }
  EXPECT_EQ(guarded_regions(), "");
}

TEST_F(Wide_Set_Value_Ex, TheThreeTextTypesAreConverted) {
  const wchar_t text[] = L"a\u00E4\u20AC";
  for (DWORD type : {1u, 2u, 7u}) {
    EXPECT_EQ(stored(type, text, 16), "\0a\0\xE4\x20\xAC\0\0"s) << type;
    EXPECT_EQ(call().raw("type"), type);
  }
}

TEST_F(Wide_Set_Value_Ex, ACharacterAboveTheSixteenBitsLosesItsUpperBits) {
  EXPECT_EQ(stored(REG_SZ, L"\U0001F600", 8), "\xF6\x00\0\0"s);
}

TEST_F(Wide_Set_Value_Ex, TextThatEndsWithAZeroIsNotProbedAndReadNoFurther) {
  Guarded_Page page;
  const std::string text(bytes_of(L"abc"), 16);
  EXPECT_EQ(stored(REG_SZ, page.ending_with(text), 16), "\0a\0b\0c\0\0"s);
  EXPECT_EQ(guarded_regions(), "");
}

TEST_F(Wide_Set_Value_Ex, TextThatDoesNotEndWithAZeroIsProbedInsideAGuardedRegion) {
  stored(REG_SZ, low_text, 8);
  EXPECT_EQ(guarded_regions(), "begin end ");
  stored(REG_MULTI_SZ, high_text, 8);
  EXPECT_EQ(guarded_regions(), "begin end ");
}

// QUIRK wide-probe-growth
TEST_F(Wide_Set_Value_Ex, TextWithAZeroAtTheProbedByteGrowsByTheCharacterBehindIt) {
  for (DWORD type : {1u, 2u, 7u}) {
    EXPECT_EQ(stored(type, low_text, 8), "\0a\0b\0c"s) << type;
    EXPECT_EQ(stored(type, L"ab", 8), "\0a\0b\0\0"s) << type;
  }
}

TEST_F(Wide_Set_Value_Ex, TextThatGrowsIsReadBehindTheDataWithoutAGuard) {
  Guarded_Page page;
  const char* const data = page.ending_with(std::string(bytes_of(L"ab"), 8));
  static void* end;
  end = page.end();
  const Child_Result child = run_child([&] {
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int, siginfo_t* info, void*) {
      _exit(info->si_addr == end && guarded_regions() == "begin end " ? 41 : 42);
    };
    sigaction(SIGSEGV, &action, nullptr);
    stored(REG_SZ, data, 8);
  });
  EXPECT_EQ(child.exit_status, 41);
}

// QUIRK wide-probe-offset
TEST_F(Wide_Set_Value_Ex, TheProbedByteIsAQuarterOfTheSizeIntoTheData) {
  const wchar_t at_offset_1[] = {0x4142, 0, 0};
  EXPECT_EQ(stored(REG_SZ, at_offset_1, 4), "\x41\x42"s);
  const wchar_t zero_at_offset_1[] = {0x10041, L'x', 0};
  EXPECT_EQ(stored(REG_SZ, zero_at_offset_1, 4), "\0\x41\0x"s);
  const wchar_t at_offset_2[] = {0x10041, L'b', 0, 0};
  EXPECT_EQ(stored(REG_SZ, at_offset_2, 8), "\0\x41\0b"s);
  const wchar_t zero_at_offset_2[] = {0x4142, L'b', L'x', 0};
  EXPECT_EQ(stored(REG_SZ, zero_at_offset_2, 8), "\x41\x42\0b\0x"s);
  const wchar_t at_offset_4[] = {L'a', L'b', L'c', L'd', 0, 0};
  EXPECT_EQ(stored(REG_SZ, at_offset_4, 16), "\0a\0b\0c\0d"s);
  const wchar_t zero_at_offset_4[] = {L'a', 0x4100, L'c', L'd', L'x', 0};
  EXPECT_EQ(stored(REG_SZ, zero_at_offset_4, 16), "\0a\x41\0\0c\0d\0x"s);
}

TEST_F(Wide_Set_Value_Ex, OnlyOneCharacterIsAdded) {
  const wchar_t text[] = {L'a', L'b', 0, 0, 0};
  EXPECT_EQ(stored(REG_MULTI_SZ, text, 8), "\0a\0b\0\0"s);
}

// Text whose start cannot be read until a fault in the guarded region has been completed.
class Wide_Probe_Fault : public Wide_Set_Value_Ex {
 protected:
  Wide_Probe_Fault() {
    page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    mprotect(page.end(), page_size, PROT_READ | PROT_WRITE);
    start_page = page.end() - page_size;
    memcpy(page.end() - 4, low_text, sizeof low_text);
    mprotect(start_page, page_size, PROT_NONE);
    on_guarded_fault([] { mprotect(start_page, page_size, PROT_READ); });
  }
  ~Wide_Probe_Fault() override { on_guarded_fault(nullptr); }

  static std::size_t page_size;
  static char* start_page;
  Guarded_Page page;
};

std::size_t Wide_Probe_Fault::page_size;
char* Wide_Probe_Fault::start_page;

TEST_F(Wide_Probe_Fault, LeavesTheSizeAndIsCompletedOnce) {
  EXPECT_EQ(stored(REG_SZ, page.end() - 4, 8), "\0a\0b"s);
  EXPECT_EQ(guarded_regions(), "begin except 1 ");
}

TEST_F(Wide_Probe_Fault, DoesNotMatterToTheNextCall) {
  EXPECT_EQ(stored(REG_SZ, page.end() - 4, 8), "\0a\0b"s);
  EXPECT_EQ(stored(REG_SZ, page.end() - 4, 8), "\0a\0b\0c"s);
  EXPECT_EQ(guarded_regions(), "begin end ");
}

// In a child: ends with 41 when the first fault is at this address and no guarded region was opened before.
void end_at_unguarded_fault(void* address) {
  static void* expected;
  expected = address;
  struct sigaction action = {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = [](int, siginfo_t* info, void*) {
    _exit(info->si_addr == expected && guarded_regions().empty() ? 41 : 42);
  };
  sigaction(SIGSEGV, &action, nullptr);
}

TEST_F(Wide_Set_Value_Ex, TheLastCharacterIsReadFirstAndWithoutAGuard) {
  Guarded_Page page;
  const Child_Result child = run_child([&] {
    end_at_unguarded_fault(page.end() + 12);
    RegSetValueExW(key, unreadable<wchar_t>(0x10), 0, REG_SZ, reinterpret_cast<BYTE*>(page.end()), 16);
  });
  EXPECT_EQ(child.exit_status, 41);
}

TEST_F(Wide_Set_Value_Ex, TheDataIsConvertedBeforeTheName) {
  Guarded_Page page;
  const std::size_t page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  mprotect(page.end() - page_size, page_size, PROT_NONE);
  mprotect(page.end(), page_size, PROT_READ);
  const Child_Result child = run_child([&] {
    end_at_unguarded_fault(page.end() - 4);
    RegSetValueExW(key, unreadable<wchar_t>(0x10), 0, REG_SZ, reinterpret_cast<BYTE*>(page.end() - 4), 8);
  });
  EXPECT_EQ(child.exit_status, 41);
}

TEST_F(Wide_Set_Value_Ex, ASizeBelowOneCharacterReadsTheCharacterBeforeTheData) {
  for (DWORD size : {0u, 1u, 2u, 3u}) {
    Guarded_Page page;
    const std::size_t page_size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    mprotect(page.end() - page_size, page_size, PROT_NONE);
    mprotect(page.end(), page_size, PROT_READ);
    const Child_Result child = run_child([&] {
      end_at_unguarded_fault(page.end() - 4);
      RegSetValueExW(key, L"n", 0, REG_SZ, reinterpret_cast<BYTE*>(page.end()), size);
    });
    EXPECT_EQ(child.exit_status, 41) << size;
  }
}

TEST_F(Wide_Set_Value_Ex, ASizeBelowOneCharacterBehindAZeroIsNotProbed) {
  const wchar_t text[] = {0, 0x4142, L'b', 0};
  const std::string expected[] = {"", "", "\x41", "\x41"};
  for (DWORD size : {0u, 1u, 2u, 3u}) {
    EXPECT_EQ(stored(REG_SZ, text + 1, size), expected[size]) << size;
    EXPECT_NE(call().raw("data"), 0u);
    EXPECT_EQ(guarded_regions(), "");
  }
}

TEST_F(Wide_Set_Value_Ex, ASizeBelowOneCharacterProbesTheFirstByte) {
  const wchar_t text[] = {L'x', 0x4142, L'b', 0};
  const std::string expected[] = {"", "", "\x41", "\x41"};
  for (DWORD size : {0u, 1u, 2u, 3u}) {
    EXPECT_EQ(stored(REG_SZ, text + 1, size), expected[size]) << size;
    EXPECT_NE(call().raw("data"), 0u);
    EXPECT_EQ(guarded_regions(), "begin end ");
  }
}

TEST_F(Wide_Set_Value_Ex, ASizeBelowOneCharacterGrowsToOne) {
  const wchar_t text[] = {L'x', 0x4100, L'b', 0};
  const std::string expected[] = {"\x41\0"s, "\x41\0"s, "\x41\0\0"s, "\x41\0\0"s};
  for (DWORD size : {0u, 1u, 2u, 3u}) {
    EXPECT_EQ(stored(REG_SZ, text + 1, size), expected[size]) << size;
    EXPECT_EQ(guarded_regions(), "begin end ");
  }
}

TEST_F(Wide_Set_Value_Ex, TheCharacterBeforeTheDataIsLookedAtWhole) {
  for (wchar_t before : {0x1, 0x100, 0x10000, 0x1000000}) {
    const wchar_t text[] = {before, 0, 0};
    EXPECT_EQ(stored(REG_SZ, text + 1, 0), "\0\0"s) << static_cast<int>(before);
  }
}

TEST_F(Wide_Set_Value_Ex, OddSizesGiveHalfTheirBytesAndNeverMoreThanThereAre) {
  const std::string two = "\x41\x42\0b"s;
  const std::string expected[] = {"\x41\x42"s, "\x41\x42\0"s, "\x41\x42\0"s, two, two, two + "\0"s, two + "\0"s};
  for (DWORD size = 5; size <= 11; ++size) EXPECT_EQ(stored(REG_SZ, high_text, size), expected[size - 5]) << size;
}

TEST_F(Wide_Set_Value_Ex, OddSizesGrowByOneCharacterToo) {
  const std::string two = "\0a\0b"s, three = "\0a\0b\0c"s;
  const std::string expected[] = {two, two + "\0"s, two + "\0"s, three, three, three + "\0"s, three + "\0"s};
  for (DWORD size = 5; size <= 11; ++size) EXPECT_EQ(stored(REG_SZ, low_text, size), expected[size - 5]) << size;
}

TEST_F(Wide_Set_Value_Ex, TheLastWholeCharacterOfAnOddSizeDecides) {
  const wchar_t text[] = {L'a', 0, L'c', 0};
  for (DWORD size : {8u, 9u, 10u, 11u}) {
    stored(REG_SZ, text, size);
    EXPECT_EQ(guarded_regions(), "") << size;
  }
  stored(REG_SZ, text, 7);
  EXPECT_EQ(guarded_regions(), "begin end ");
  stored(REG_SZ, text, 12);
  EXPECT_EQ(guarded_regions(), "begin end ");
}

TEST_F(Wide_Set_Value_Ex, TheDataNeedNotBeAligned) {
  for (std::size_t shift : {1u, 2u, 3u}) {
    std::vector<char> room(40, '\x7F');
    char* const data = room.data() + shift;
    memcpy(data, low_text, sizeof low_text);
    EXPECT_EQ(stored(REG_SZ, data, 28), "\0a\0b\0c\0d\0e\0f\0\0"s);
    EXPECT_EQ(stored(REG_SZ, data, 8), "\0a\0b\0c"s);
    EXPECT_EQ(stored(REG_SZ, data + 4, 0), ""s);
    memcpy(data, high_text, sizeof high_text);
    EXPECT_EQ(stored(REG_SZ, data, 8), "\x41\x42\0b"s);
  }
}

TEST_F(Wide_Set_Value_Ex, EmbeddedZerosAreTextToo) {
  EXPECT_EQ(stored(REG_MULTI_SZ, L"a\0bc\0", 24), "\0a\0\0\0b\0c\0\0\0\0"s);
  EXPECT_EQ(stored(REG_SZ, L"a\0b", 16), "\0a\0\0\0b\0\0"s);
  const wchar_t unterminated[] = {0x00014142, 0, L'b', L'x', 0};
  EXPECT_EQ(stored(REG_MULTI_SZ, unterminated, 12), "\x41\x42\0\0\0b\0x"s);
}

TEST_F(Wide_Set_Value_Ex, TextOfAnyLengthArrivesWhole) {
  for (std::size_t length : {1u, 7u, 8u, 9u, 31u, 32u, 33u, 2046u, 2047u, 2048u, 70000u}) {
    const std::wstring text = std::wstring(length - 1, L'\u20AC') + L"z";
    EXPECT_EQ(stored(REG_SZ, text.c_str(), static_cast<DWORD>(4 * length + 4)),
              crossing(std::u16string(length - 1, u'\u20AC') + u"z") + "\0\0"s)
        << length;
  }
}

TEST_F(Wide_Set_Value, ThePerformanceKeyIsRefusedBeforeAnythingElse) {
  EXPECT_EQ(RegSetValueW(HKEY_PERFORMANCE_DATA, unreadable<wchar_t>(0x10), REG_BINARY, unreadable<wchar_t>(0x20), 0),
            6);
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Set_Value, TypesOtherThanTextAreRefused) {
  for (DWORD type : {0u, 2u, 3u, 7u, 33u, 0x80000001u}) {
    EXPECT_EQ(RegSetValueW(key, unreadable<wchar_t>(0x10), type, unreadable<wchar_t>(0x20), 0), 87) << type;
    EXPECT_EQ(RegSetValueW(nullptr, nullptr, type, nullptr, 0), 87) << type;
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Set_Value, ANullKeyIsAnInvalidHandle) {
  EXPECT_EQ(RegSetValueW(nullptr, unreadable<wchar_t>(0x10), REG_SZ, unreadable<wchar_t>(0x20), 0), 6);
  EXPECT_EQ(entries(), "");
}

TEST_F(Wide_Set_Value, TheSignExtendedPerformanceKeyIsAnOrdinaryHandle) {
  EXPECT_EQ(RegSetValueW(key_of(0xFFFFFFFF80000004), nullptr, REG_SZ, L"abc", 0), 0);
  EXPECT_EQ(call().raw("key"), 0xFFFFFFFF80000004u);
}

TEST_F(Wide_Set_Value, WithoutSubKeyTheKeysOwnDefaultValueIsSet) {
  recording.script("KvIRegSetValueEx", answer(5));
  recording.script("KvIRegSetValueEx", answer(0));
  EXPECT_EQ(RegSetValueW(key, nullptr, REG_SZ, L"abc", 99), 5);
  EXPECT_EQ(RegSetValueW(key, L"", REG_SZ, L"abc", 0), 0);
  ASSERT_EQ(entries(), "KvIRegSetValueEx KvIRegSetValueEx ");
  for (int i : {0, 1}) {
    EXPECT_EQ(call(i).raw("key"), 0x1122334455667788u);
    EXPECT_EQ(call(i).raw("value_name"), 0u);
    EXPECT_EQ(call(i).raw("reserved"), 0u);
    EXPECT_EQ(call(i).raw("type"), 1u);
    EXPECT_EQ(call(i)["data"].bytes, "\0a\0b\0c\0\0"s);
    EXPECT_EQ(call(i).raw("null"), 0u);
  }
  EXPECT_EQ(guarded_regions(), "");
}

TEST_F(Wide_Set_Value, TheTextsOwnLengthCounts) {
  RegSetValueW(key, nullptr, REG_SZ, L"", 50);
  RegSetValueW(key, nullptr, REG_SZ, L"abc\0def", 28);
  EXPECT_EQ(call(0)["data"].bytes, "\0\0"s);
  EXPECT_EQ(call(1)["data"].bytes, "\0a\0b\0c\0\0"s);
}

TEST_F(Wide_Set_Value, ASubKeyIsCreatedSetAndClosed) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  EXPECT_EQ(RegSetValueW(key, L"s\u20AC", REG_SZ, L"abc", 0), 0);
  ASSERT_EQ(entries(), "KvIRegCreateKeyEx KvIRegSetValueEx KvIRegCloseKey ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["sub_key"].text, u"s\u20AC");
  EXPECT_EQ(call(0).raw("access"), 2u);
  EXPECT_NE(call(0).raw("out_key"), 0u);
  for (const char* name : {"reserved", "class_name", "options", "security", "out_disposition", "zero", "null"}) {
    EXPECT_EQ(call(0).raw(name), 0u) << name;
  }
  EXPECT_EQ(call(1).raw("key"), 0x99u);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
  EXPECT_EQ(call(1).raw("type"), 1u);
  EXPECT_EQ(call(1)["data"].bytes, "\0a\0b\0c\0\0"s);
  EXPECT_EQ(call(2).raw("key"), 0x99u);
}

TEST_F(Wide_Set_Value, ASubKeyThatCannotBeCreatedEndsTheCall) {
  recording.script("KvIRegCreateKeyEx", answer(5));
  EXPECT_EQ(RegSetValueW(key, L"sub", REG_SZ, L"abc", 0), 5);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx ");
}

// QUIRK set-value-wide-result
TEST_F(Wide_Set_Value, BelowASubKeyTheResultOfTheSetIsAnsweredAndThatOfTheCloseIsNot) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegSetValueEx", answer(5));
  recording.script("KvIRegCloseKey", answer(0));
  EXPECT_EQ(RegSetValueW(key, L"sub", REG_SZ, L"abc", 0), 5);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx KvIRegSetValueEx KvIRegCloseKey ");
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegSetValueEx", answer(0));
  recording.script("KvIRegCloseKey", answer(6));
  EXPECT_EQ(RegSetValueW(key, L"sub", REG_SZ, L"abc", 0), 0);
}

TEST_F(Wide_Set_Value, ASubKeyThatIsTheKeyItselfIsNotClosed) {
  recording.script("KvIRegCreateKeyEx", answer_key(key));
  recording.script("KvIRegSetValueEx", answer(5));
  EXPECT_EQ(RegSetValueW(key, L"\\", REG_SZ, L"abc", 0), 5);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx KvIRegSetValueEx ");
}

}  // namespace
}  // namespace kvtest
