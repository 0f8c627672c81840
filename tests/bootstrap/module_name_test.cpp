// The name under which a module is registered. Whether it is a full path is settled once in a process, by a
// value of the registry.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

using kvrecording::Call;
using kvrecording::Control;

// In a child: a started library whose registry answers the question for full paths with this text as it lies
// in the registry, or not at all.
Control& start_with_value(const char* value) {
  Control& recording = choose_recording();
  init_advapi32();
  recording.reset();
  recording.script("KvIRegQueryValueEx", [value](const Call& call) -> std::uint64_t {
    if (value == nullptr) return 2;
    std::string stored;
    for (const char* letter = value; letter == value || letter[-1] != '\0'; ++letter) stored += {'\0', *letter};
    call.store<DWORD>("out_type", REG_SZ);
    call.store("data_size", static_cast<DWORD>(stored.size()));
    call.write("data", stored);
    return 0;
  });
  return recording;
}

// In a child: the answer for a module /x/liby.so of the program app.
void tell_name(int size) {
  name_modules("/x/liby.so", "app");
  char name[16];
  memset(name, '.', sizeof name);
  const int count = AdvGetModuleDLLName(nullptr, name, size);
  say("%d ", count);
  for (char letter : name) say("%c", letter == '\0' ? '0' : letter);
  say("\n");
}

std::string name_with_value(const char* value, int size = 16) {
  return run_child([=] {
           start_with_value(value);
           tell_name(size);
         })
      .out;
}

TEST(ModuleName, IsTheFullPathWhenThereIsNoValue) { EXPECT_EQ(name_with_value(nullptr), "10 /x/liby.so0.....\n"); }

TEST(ModuleName, IsTheFullPathWhenTheValueIsTrue) { EXPECT_EQ(name_with_value("true"), "10 /x/liby.so0.....\n"); }

TEST(ModuleName, IsTheShortNameWhenTheValueIsFalse) { EXPECT_EQ(name_with_value("false"), "8 app.dll0........\n"); }

TEST(ModuleName, IsTheShortNameWhenTheValueIsAnythingElse) {
  for (const char* value : {"", "tru", "truer", "1", "yes", " true"})
    EXPECT_EQ(name_with_value(value), "8 app.dll0........\n") << value;
}

std::string name_with_answer(std::uint64_t result, DWORD type, const std::string& stored) {
  return run_child([=] {
           Control& recording = choose_recording();
           init_advapi32();
           recording.script("KvIRegQueryValueEx", [=](const Call& call) {
             call.store("out_type", type);
             call.store("data_size", static_cast<DWORD>(stored.size()));
             if (result == 0) call.write("data", stored);
             return result;
           });
           tell_name(16);
         })
      .out;
}

TEST(ModuleName, IsTheFullPathWhenTheQueryFailsForAnyCause) {
  for (std::uint64_t result : {5, 6, 1018})
    EXPECT_EQ(name_with_answer(result, REG_SZ, ""), "10 /x/liby.so0.....\n") << result;
}

TEST(ModuleName, ReadsTheDataWhateverItsTypeAndWithoutATerminator) {
  EXPECT_EQ(name_with_answer(0, REG_BINARY, "true"), "10 /x/liby.so0.....\n");
  EXPECT_EQ(name_with_answer(0, REG_BINARY, "truer"), "8 app.dll0........\n");
  EXPECT_EQ(name_with_answer(0, REG_BINARY, std::string("true\0false", 10)), "10 /x/liby.so0.....\n");
}

TEST(ModuleName, AsksTheMachinesRootForTheValue) {
  const Child_Result child = run_child([] {
    Control& recording = start_with_value(nullptr);
    tell_name(16);
    const Call call = recording.calls().at(0);
    say("%llx %s %u\n", static_cast<unsigned long long>(call.raw("key")),
        call["value_name"].text == u"register-full-paths" ? "register-full-paths" : "another value",
        call["data_size"].count);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "10 /x/liby.so0.....\n80000002 register-full-paths 8192\n");
}

TEST(ModuleName, DecidesOnceForAllModules) {
  const Child_Result child = run_child([] {
    Control& recording = start_with_value("false");
    tell_name(16);
    recording.script("KvIRegQueryValueEx", [](const Call&) { return 2; });
    tell_name(16);
    say("%zu call\n", recording.calls().size());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "8 app.dll0........\n8 app.dll0........\n1 call\n");
}

TEST(ModuleName, AShortNameThatFitsExactlyKeepsItsTerminator) {
  EXPECT_EQ(name_with_value("false", 8), "8 app.dll0........\n");
}

TEST(ModuleName, AShortNameThatDoesNotFitIsCutWithoutTerminator) {
  EXPECT_EQ(name_with_value("false", 7), "7 app.dll.........\n");
  EXPECT_EQ(name_with_value("false", 1), "1 a...............\n");
}

TEST(ModuleName, WithoutRoomNothingIsWritten) {
  EXPECT_EQ(name_with_value("false", 0), "0 ................\n");
  EXPECT_EQ(name_with_value("false", -1), "0 ................\n");
  EXPECT_EQ(name_with_value("true", -1), "0 ................\n");
}

std::string short_name(const char* file, const char* program) {
  return run_child([=] {
           start_with_value("false");
           name_modules(file, program);
           char name[64] = "untouched";
           const int count = AdvGetModuleDLLName(nullptr, name, sizeof name);
           say("%d %s", count, name);
         })
      .out;
}

TEST(ModuleName, AFileThatBeginsWithTheProgramNameKeepsItsName) {
  EXPECT_EQ(short_name("/x/app.exe", "app"), "8 app.exe");
  EXPECT_EQ(short_name("/x/application", "app"), "12 application");
}

TEST(ModuleName, AFileThatBeginsWithTheNameInOtherCaseIsReplaced) {
  EXPECT_EQ(short_name("/x/App.exe", "app"), "8 app.dll");
}

TEST(ModuleName, AFileNameWithoutFolderIsTakenWhole) { EXPECT_EQ(short_name("app.exe", "app"), "8 app.exe"); }

TEST(ModuleName, AnEmptyProgramNameBeginsEveryFile) { EXPECT_EQ(short_name("/x/liby.so", ""), "8 liby.so"); }

TEST(ModuleName, IsNothingWhenTheFileIsNotKnown) { EXPECT_EQ(short_name("", "app"), "0 untouched"); }

TEST(ModuleName, AsksForTheFileInto4096BytesForAShortName) {
  const Child_Result child = run_child([] {
    start_with_value("false");
    name_modules("/x/liby.so", "app");
    tell_questions_for_names();
    char name[64];
    AdvGetModuleDLLName(nullptr, name, sizeof name);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "module file in 4096\n");
}

TEST(ModuleName, TheFullPathIsThatOfTheRealModule) {
  const Child_Result child = run_child([] {
    start_with_value(nullptr);
    char name[4096];
    char expected[4096];
    HMODULE module = LoadLibraryA("advapi32impl.dll");
    const int count = AdvGetModuleDLLName(module, name, sizeof name);
    const DWORD length = GetModuleFileNameA(module, expected, sizeof expected);
    say("%s %s\n", count == static_cast<int>(length) ? "same" : "other",
        strcmp(name, expected) == 0 ? "same" : "other");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "same same\n");
}

// The answer of the wide form in a buffer of ten characters that held dots.
std::string wide_name(const char* file, unsigned size) {
  return run_child([=] {
           start_with_value("false");
           name_modules(file, "app");
           wchar_t name[10];
           wmemset(name, L'.', 10);
           say("%d", AdvGetModuleDLLNameW(nullptr, name, size));
           for (wchar_t letter : name) say(" %x", static_cast<unsigned>(letter));
         })
      .out;
}

TEST(WideModuleName, ConvertsTheWholeBufferWithTheZerosBehindTheName) {
  EXPECT_EQ(wide_name("/x/liby.so", 10), "8 61 70 70 2e 64 6c 6c 0 0 0");
}

TEST(WideModuleName, GivesTheNarrowCountAndACutName) {
  EXPECT_EQ(wide_name("/x/liby.so", 3), "3 61 70 70 2e 2e 2e 2e 2e 2e 2e");
}

TEST(WideModuleName, WithoutRoomWritesNothing) {
  EXPECT_EQ(wide_name("/x/liby.so", 0), "0 2e 2e 2e 2e 2e 2e 2e 2e 2e 2e");
}

TEST(WideModuleName, LeavesTheTailWhenBytesBecomeFewerCharacters) {
  EXPECT_EQ(wide_name("/x/app\xC3\xA9", 10), "6 61 70 70 e9 0 0 0 0 0 2e");
}

TEST(WideModuleName, ConvertsInTheEnvironmentsCodePageWithTheSizeOnBothSides) {
  const Child_Result child = run_child([] {
    start_with_value("false");
    name_modules("/x/liby.so", "app");
    tell_conversions();
    wchar_t name[10];
    AdvGetModuleDLLNameW(nullptr, name, 10);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "convert 0 0 10 10\n");
}

}  // namespace
}  // namespace kvtest
