// Records of the registry's log on standard output. It is 25 April, 07:08:09. Numbers run through a process,
// so each test logs in a child.
#include <gtest/gtest.h>
#include <kelvane/log.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/child.h"

namespace kvtest {
namespace {

std::string logged(void (*body)()) {
  const Child_Result child = run_child(body);
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.err, "");
  return child.out;
}

TEST(RegistryLog, ARecordHasAHeaderWithDayMonthTimeAndNumber) {
  EXPECT_EQ(logged([] { RegLog().Output(0, "message\n"); }), "25/04 07:08:09  [# 1] ->\nmessage\n");
}

TEST(RegistryLog, WritesNoBanner) {
  EXPECT_EQ(logged([] { RegLog(); }), "");
}

TEST(RegistryLog, RecordsAreNumberedFromOne) {
  EXPECT_EQ(logged([] {
              for (int i = 0; i < 3; ++i) RegLog().Output(0, "m\n");
            }),
            "25/04 07:08:09  [# 1] ->\nm\n25/04 07:08:09  [# 2] ->\nm\n25/04 07:08:09  [# 3] ->\nm\n");
}

TEST(RegistryLog, AFormatWithoutNewlineGetsOne) {
  EXPECT_EQ(logged([] { RegLog().Output(0, "message"); }), "25/04 07:08:09  [# 1] ->\nmessage\n");
}

TEST(RegistryLog, TheFormatDecidesNotTheText) {
  EXPECT_EQ(logged([] { RegLog().Output(0, "%s", "message\n"); }), "25/04 07:08:09  [# 1] ->\nmessage\n\n");
}

TEST(RegistryLog, AnEmptyMessageIsAnEmptyLine) {
  EXPECT_EQ(logged([] { RegLog().Output(0, "%s", ""); }), "25/04 07:08:09  [# 1] ->\n\n");
}

TEST(RegistryLog, FormatsItsArguments) {
  EXPECT_EQ(logged([] { RegLog().Output(0, "%s %d %% %05.1f\n", "text", -7, 2.5); }),
            "25/04 07:08:09  [# 1] ->\ntext -7 % 002.5\n");
}

TEST(RegistryLog, WritesAMessageOfAnyLengthWhole) {
  const std::string text(100000, 't');
  const Child_Result child = run_child([&] { RegLog().Output(0, "%s\n", text.c_str()); });
  EXPECT_EQ(child.out, "25/04 07:08:09  [# 1] ->\n" + text + "\n");
}

TEST(RegistryLog, DropsRecordsAboveLevelOneWithoutANumber) {
  EXPECT_EQ(logged([] {
              RegLog().Output(2, "dropped\n");
              RegLog().Output(1, "one\n");
              RegLog().Output(100, "dropped\n");
              RegLog().Output(0, "zero\n");
              RegLog().Output(-1, "below\n");
            }),
            "25/04 07:08:09  [# 1] ->\none\n25/04 07:08:09  [# 2] ->\nzero\n25/04 07:08:09  [# 3] ->\nbelow\n");
}

TEST(RegistryLog, ARecordIsOutWhenTheCallReturns) {
  EXPECT_EQ(logged([] {
              RegLog().Output(0, "message\n");
              _exit(0);
            }),
            "25/04 07:08:09  [# 1] ->\nmessage\n");
}

TEST(RegistryLog, IsOneLoggerNamedStdout) {
  EXPECT_EQ(logged([] { printf("%d %s %d\n", &RegLog() == &RegLog(), RegLog().Name(), RegLog().Level()); }),
            "1 stdout 1\n");
}

TEST(RegistryLog, StillWritesWhenStaticObjectsAreGone) {
  const Child_Result child = run_child([] {
    atexit([] { RegLog().Output(0, "at the end\n"); });
    RegLog().Output(0, "first used\n");
    exit(0);
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "25/04 07:08:09  [# 1] ->\nfirst used\n25/04 07:08:09  [# 1] ->\nat the end\n");
}

void log_many(const char* text) {
  for (int i = 0; i < 200; ++i) RegLog().Output(0, "%s\n", text);
}

TEST(RegistryLog, RecordsOfSeveralThreadsAreWholeAndNumberedInOrder) {
  const Child_Result child = run_child([] {
    std::thread first(log_many, "first");
    std::thread second(log_many, "second");
    first.join();
    second.join();
  });
  std::string rest = child.out;
  for (int i = 1; i <= 400; ++i) {
    const std::string header = "25/04 07:08:09  [# " + std::to_string(i) + "] ->\n";
    ASSERT_EQ(rest.rfind(header, 0), 0u) << rest.substr(0, 80);
    rest.erase(0, header.size());
    const std::string text = rest.substr(0, rest.find('\n'));
    ASSERT_TRUE(text == "first" || text == "second") << text;
    rest.erase(0, text.size() + 1);
  }
  EXPECT_EQ(rest, "");
}

// A logger of a program's own.
class Joining_Log final : public KvLog {
 public:
  void OutputV(int level, const char* format, va_list arguments) override {
    char text[64];
    vsnprintf(text, sizeof text, format, arguments);
    joined += std::to_string(level) + ":" + text + ";";
  }
  const char* Name() const override { return "joined"; }
  unsigned MaxSize() const override { return 1; }
  unsigned BaseSize() const override { return 2; }

  std::string joined;
};

TEST(Log, OutputPacksItsArgumentsForTheLogger) {
  Joining_Log log;
  log.Output(5, "%s-%d", "a", 7);
  log.Output(0, "b");
  EXPECT_EQ(log.joined, "5:a-7;0:b;");
}

TEST(Log, ALoggersLevelIsOneByDefault) {
  Joining_Log log;
  EXPECT_EQ(static_cast<KvLog&>(log).Level(), 1);
}

}  // namespace
}  // namespace kvtest
