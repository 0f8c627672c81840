// Storing values: what of the caller's data crosses the table, and the look at the byte behind the text.
#include "tests/registry/fronts.h"

#include <fcntl.h>
#include <signal.h>

#include <thread>

#include "tests/support/child.h"

namespace kvtest {
namespace {

class Set_Value_Ex : public Fronts {
 protected:
  // Stores the data under the name "n" and gives the bytes that crossed the table.
  std::string stored(DWORD type, const void* data, DWORD size) {
    recording.reset();
    EXPECT_EQ(RegSetValueExA(key, "n", 0, type, static_cast<const BYTE*>(data), size), 0);
    const Call set = call();
    EXPECT_EQ(set["data"].bytes.size(), set.raw("data_size"));
    return set["data"].bytes;
  }
};

class Set_Value : public Fronts {};

const std::string stored_abc_unterminated = "\0a\0b\0c"s;
const std::string stored_abc = "\0a\0b\0c\0\0"s;

TEST_F(Set_Value_Ex, HandsEveryArgumentOn) {
  recording.script("KvIRegSetValueEx", answer(1018));
  EXPECT_EQ(RegSetValueExA(key, "n\xC3\xA4me", 0x89ABCDEF, REG_SZ, reinterpret_cast<const BYTE*>("abc"), 4), 1018);
  ASSERT_EQ(entries(), "KvIRegSetValueEx ");
  ASSERT_EQ(call().arguments.size(), 7u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(call().raw("reserved"), 0x89ABCDEFu);
  EXPECT_EQ(call().raw("type"), 1u);
  EXPECT_EQ(call()["data"].bytes, stored_abc);
  EXPECT_EQ(call().raw("data_size"), 8u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Set_Value_Ex, ANullNameStaysNull) {
  RegSetValueExA(key, nullptr, 0, REG_BINARY, nullptr, 0);
  EXPECT_EQ(call().raw("value_name"), 0u);
}

TEST_F(Set_Value_Ex, TypesOtherThanTextCrossAsTheCallersOwnBytes) {
  const std::string data = "ab\0\xFF"s;
  for (DWORD type : {0u, 3u, 4u, 5u, 6u, 8u, 9u, 11u, 12u, 31u, 32u, 33u, 34u, 39u, 0x80000001u, 0xFFFFFFFFu}) {
    EXPECT_EQ(stored(type, data.data(), 4), data) << type;
    EXPECT_EQ(call().raw("type"), type);
    EXPECT_EQ(call().raw("data"), number_of(data.data())) << type;
  }
}

TEST_F(Set_Value_Ex, TheThreeTextTypesAreConverted) {
  for (DWORD type : {1u, 2u, 7u}) {
    EXPECT_EQ(stored(type, "abc", 4), stored_abc) << type;
    EXPECT_EQ(call().raw("type"), type);
  }
}

TEST_F(Set_Value_Ex, BytesAreNeverProbedForATerminator) {
  for (DWORD type : {0u, 3u, 6u, 33u}) EXPECT_EQ(stored(type, "abc", 3), "abc") << type;
}

TEST_F(Set_Value_Ex, ATerminatorJustBehindTheTextIsStoredToo) {
  for (DWORD type : {1u, 2u, 7u}) EXPECT_EQ(stored(type, "abc", 3), stored_abc) << type;
}

TEST_F(Set_Value_Ex, AnotherByteBehindTheTextIsNotStored) {
  EXPECT_EQ(stored(REG_SZ, "abcd", 3), stored_abc_unterminated);
}

TEST_F(Set_Value_Ex, OnlyOneByteBehindTheTextIsAdded) { EXPECT_EQ(stored(REG_MULTI_SZ, "abc\0\0", 3), stored_abc); }

TEST_F(Set_Value_Ex, TextThatEndsWithAZeroIsNotProbed) {
  EXPECT_EQ(stored(REG_SZ, "abc\0\0", 4), stored_abc);
  Guarded_Page page;
  EXPECT_EQ(stored(REG_SZ, page.ending_with("abc\0"s), 4), stored_abc);
}

TEST_F(Set_Value_Ex, AFaultBehindTheTextLeavesTheSize) {
  Guarded_Page page;
  EXPECT_EQ(stored(REG_SZ, page.ending_with("abc"), 3), stored_abc_unterminated);
}

TEST_F(Set_Value_Ex, TheByteBehindTheTextIsReadInsideAGuardedRegion) {
  stored(REG_SZ, "abc", 3);
  EXPECT_EQ(guarded_regions(), "begin end ");
}

TEST_F(Set_Value_Ex, AByteOnTheNextPageIsReadInsideAGuardedRegion) {
  Guarded_Page page;
  mprotect(page.end(), static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), PROT_READ);
  EXPECT_EQ(stored(REG_SZ, page.ending_with("abc"), 3), stored_abc);
  EXPECT_EQ(guarded_regions(), "begin end ");
}

TEST_F(Set_Value_Ex, AFaultBehindTheTextIsCompletedOnce) {
  Guarded_Page page;
  stored(REG_SZ, page.ending_with("abc"), 3);
  EXPECT_EQ(guarded_regions(), "begin except 1 ");
}

TEST_F(Set_Value_Ex, WithoutALookBehindTheDataThereIsNoGuardedRegion) {
  stored(REG_SZ, "abc", 4);
  stored(REG_SZ, "abc", 0);
  stored(REG_SZ, nullptr, 3);
  stored(REG_BINARY, "abc", 3);
  EXPECT_EQ(guarded_regions(), "");
}

TEST_F(Set_Value_Ex, FaultsBehindTheTextAreBorneAgainAndAgain) {
  Guarded_Page page;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(stored(REG_EXPAND_SZ, page.ending_with("abc"), 3), stored_abc_unterminated);
  EXPECT_EQ(stored(REG_SZ, "abc", 3), stored_abc);
}

TEST_F(Set_Value_Ex, AFaultBehindTheTextIsBorneInAnyThread) {
  Guarded_Page page;
  std::thread([&] { EXPECT_EQ(stored(REG_SZ, page.ending_with("abc"), 3), stored_abc_unterminated); }).join();
}

TEST_F(Set_Value_Ex, AFaultBehindTheTextLeavesTheSignalMask) {
  Guarded_Page page;
  sigset_t before, after;
  sigemptyset(&before);
  sigaddset(&before, SIGUSR2);
  pthread_sigmask(SIG_SETMASK, &before, &after);
  const sigset_t usual = after;
  stored(REG_SZ, page.ending_with("abc"), 3);
  pthread_sigmask(SIG_SETMASK, &usual, &after);
  EXPECT_EQ(sigismember(&after, SIGUSR2), 1);
  EXPECT_EQ(sigismember(&after, SIGSEGV), 0);
}

TEST_F(Set_Value_Ex, TheEndOfAMappedFileBehindTheTextLeavesTheSize) {
  Temp_Folder folder;
  const long page_size = sysconf(_SC_PAGESIZE);
  const int file = open((folder / "text").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(ftruncate(file, page_size), 0);
  char* text = static_cast<char*>(
      mmap(nullptr, static_cast<std::size_t>(2 * page_size), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
  ASSERT_NE(static_cast<void*>(text), MAP_FAILED);
  memcpy(text + page_size - 3, "abc", 3);
  EXPECT_EQ(stored(REG_SZ, text + page_size - 3, 3), stored_abc_unterminated);
  munmap(text, static_cast<std::size_t>(2 * page_size));
  close(file);
}

TEST_F(Set_Value_Ex, AFaultInsideTheTextIsNotBorne) {
  Guarded_Page page;
  EXPECT_EQ(run_child([&] { stored(REG_SZ, page.end(), 3); }).signal, SIGSEGV);
}

TEST_F(Set_Value_Ex, AFaultInsideTheNameIsNotBorne) {
  Guarded_Page page;
  EXPECT_EQ(run_child([&] { RegSetValueExA(key, page.end(), 0, REG_BINARY, nullptr, 0); }).signal, SIGSEGV);
}

TEST_F(Set_Value_Ex, TheDataIsConvertedBeforeTheName) {
  Guarded_Page data, name;
  mprotect(data.ending_with(""s) - sysconf(_SC_PAGESIZE), static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), PROT_NONE);
  mprotect(data.end(), static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), PROT_READ);
  char* const text = data.end() - 1;  // its last byte, a zero, can be read, its first cannot
  static char* name_end;
  name_end = name.end();
  const Child_Result child = run_child([&] {
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int, siginfo_t* info, void*) { _exit(info->si_addr == name_end ? 41 : 42); };
    sigaction(SIGSEGV, &action, nullptr);
    RegSetValueExA(key, name.end(), 0, REG_SZ, reinterpret_cast<BYTE*>(text), 2);
  });
  EXPECT_EQ(child.exit_status, 42);
}

TEST_F(Set_Value_Ex, TextOfNoBytesIsNotReadAndStaysEmpty) {
  Guarded_Page page;
  EXPECT_EQ(stored(REG_SZ, page.end(), 0), "");
  EXPECT_NE(call().raw("data"), 0u);
  EXPECT_EQ(call().raw("data_size"), 0u);
}

TEST_F(Set_Value_Ex, NullTextHasNoBytesWhateverTheSize) {
  for (DWORD type : {1u, 2u, 7u}) {
    stored(type, nullptr, 5);
    EXPECT_EQ(call().raw("data"), 0u);
    EXPECT_EQ(call().raw("data_size"), 0u);
  }
}

TEST_F(Set_Value_Ex, NullBytesKeepTheSizeGiven) {
  EXPECT_EQ(RegSetValueExA(key, "n", 0, REG_BINARY, nullptr, 5), 0);
  EXPECT_EQ(call().raw("data"), 0u);
  EXPECT_EQ(call().raw("data_size"), 5u);
}

TEST_F(Set_Value_Ex, EmbeddedZerosAreTextToo) {
  EXPECT_EQ(stored(REG_MULTI_SZ, "a\0bc\0\0", 6), "\0a\0\0\0b\0c\0\0\0\0"s);
}

TEST_F(Set_Value_Ex, MultiByteTextHasFewerUnitsThanBytes) {
  EXPECT_EQ(stored(REG_SZ, "Gr\xC3\xBC", 5), "\0G\0r\0\xFC\0\0"s);
  EXPECT_EQ(stored(REG_SZ, "\xE2\x82\xAC", 3), "\x20\xAC\0\0"s);
}

TEST_F(Set_Value_Ex, ACharacterCutShortIsKeptByteForByte) { EXPECT_EQ(stored(REG_SZ, "a\xC3\xBC", 2), "\0a\xDC\xC3"s); }

TEST_F(Set_Value_Ex, TextOnBothSidesOfTheInlineRoomArrivesWhole) {
  for (std::size_t length : {2046u, 2047u, 2048u, 2049u, 70000u}) {
    const std::string text(length, 'x');
    std::string expected;
    for (std::size_t i = 0; i < length; ++i) expected += "\0x"s;
    EXPECT_EQ(stored(REG_SZ, text.c_str(), static_cast<DWORD>(length)), expected + "\0\0"s) << length;
  }
}

TEST_F(Set_Value, ThePerformanceKeyIsRefusedBeforeAnythingElse) {
  EXPECT_EQ(RegSetValueA(HKEY_PERFORMANCE_DATA, unreadable<char>(0x10), REG_BINARY, unreadable<char>(0x20), 0), 6);
  EXPECT_EQ(entries(), "");
}

TEST_F(Set_Value, TypesOtherThanTextAreRefused) {
  for (DWORD type : {0u, 2u, 3u, 7u, 0x80000001u}) {
    EXPECT_EQ(RegSetValueA(key, unreadable<char>(0x10), type, unreadable<char>(0x20), 0), 87) << type;
    EXPECT_EQ(RegSetValueA(nullptr, nullptr, type, nullptr, 0), 87) << type;
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Set_Value, ANullKeyIsAnInvalidHandle) {
  EXPECT_EQ(RegSetValueA(nullptr, unreadable<char>(0x10), REG_SZ, unreadable<char>(0x20), 0), 6);
  EXPECT_EQ(entries(), "");
}

TEST_F(Set_Value, WithoutSubKeyTheKeysOwnDefaultValueIsSet) {
  recording.script("KvIRegSetValueEx", answer(5));
  recording.script("KvIRegSetValueEx", answer(0));
  EXPECT_EQ(RegSetValueA(key, nullptr, REG_SZ, "abc", 99), 5);
  EXPECT_EQ(RegSetValueA(key, "", REG_SZ, "abc", 0), 0);
  ASSERT_EQ(entries(), "KvIRegSetValueEx KvIRegSetValueEx ");
  for (int i : {0, 1}) {
    EXPECT_EQ(call(i).raw("key"), 0x1122334455667788u);
    EXPECT_EQ(call(i).raw("value_name"), 0u);
    EXPECT_EQ(call(i).raw("reserved"), 0u);
    EXPECT_EQ(call(i).raw("type"), 1u);
    EXPECT_EQ(call(i)["data"].bytes, stored_abc);
    EXPECT_EQ(call(i).raw("null"), 0u);
  }
}

TEST_F(Set_Value, TheTextsOwnLengthCounts) {
  RegSetValueA(key, nullptr, REG_SZ, "", 50);
  RegSetValueA(key, nullptr, REG_SZ, "abc\0def", 7);
  EXPECT_EQ(call(0)["data"].bytes, "\0\0"s);
  EXPECT_EQ(call(1)["data"].bytes, stored_abc);
}

TEST_F(Set_Value, ASubKeyIsCreatedSetAndClosed) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  EXPECT_EQ(RegSetValueA(key,
                         "s\xC3\xBC"
                         "b",
                         REG_SZ, "abc", 0),
            0);
  ASSERT_EQ(entries(), "KvIRegCreateKeyEx KvIRegSetValueEx KvIRegCloseKey ");
  EXPECT_EQ(call(0).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(0)["sub_key"].text,
            u"s\u00FC"
            u"b");
  EXPECT_EQ(call(0).raw("access"), 2u);
  EXPECT_NE(call(0).raw("out_key"), 0u);
  for (const char* name : {"reserved", "class_name", "options", "security", "out_disposition", "zero", "null"}) {
    EXPECT_EQ(call(0).raw(name), 0u) << name;
  }
  EXPECT_EQ(call(1).raw("key"), 0x99u);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
  EXPECT_EQ(call(1).raw("type"), 1u);
  EXPECT_EQ(call(1)["data"].bytes, stored_abc);
  EXPECT_EQ(call(2).raw("key"), 0x99u);
}

TEST_F(Set_Value, ASubKeyThatCannotBeCreatedEndsTheCall) {
  recording.script("KvIRegCreateKeyEx", answer(5));
  EXPECT_EQ(RegSetValueA(key, "sub", REG_SZ, "abc", 0), 5);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx ");
}

// QUIRK set-value-close-result
TEST_F(Set_Value, AFailedSetBelowASubKeyAnswersTheResultOfTheClose) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegSetValueEx", answer(5));
  recording.script("KvIRegCloseKey", answer(0));
  EXPECT_EQ(RegSetValueA(key, "sub", REG_SZ, "abc", 0), 0);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx KvIRegSetValueEx KvIRegCloseKey ");
}

TEST_F(Set_Value, AFailedCloseIsTheResult) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegCloseKey", answer(6));
  EXPECT_EQ(RegSetValueA(key, "sub", REG_SZ, "abc", 0), 6);
}

TEST_F(Set_Value, ASubKeyThatIsTheKeyItselfIsNotClosed) {
  recording.script("KvIRegCreateKeyEx", answer_key(key));
  recording.script("KvIRegSetValueEx", answer(5));
  EXPECT_EQ(RegSetValueA(key, "\\", REG_SZ, "abc", 0), 5);
  EXPECT_EQ(entries(), "KvIRegCreateKeyEx KvIRegSetValueEx ");
}

TEST_F(Set_Value, TheSignExtendedPerformanceKeyIsAnOrdinaryHandle) {
  EXPECT_EQ(RegSetValueA(key_of(0xFFFFFFFF80000004), nullptr, REG_SZ, "abc", 0), 0);
  EXPECT_EQ(call().raw("key"), 0xFFFFFFFF80000004u);
}

}  // namespace
}  // namespace kvtest
