// Several writers of one log.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "log/registry_log_impl.h"
#include "tests/log/log_test.h"

namespace kvtest {
namespace {

const std::string short_text(20, 's');
const std::string long_text(3000, 'l');

void log_many(KvLog* log, const std::string* text) {
  for (int i = 0; i < 100; ++i) log->Output(0, "%s", text->c_str());
}

TEST(LogThreads, RecordsOfAFileAreWholeAndNumberedInOrder) {
  Temp_Folder folder;
  RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back(log_many, &log, i % 2 == 0 ? &short_text : &long_text);
  for (std::thread& thread : threads) thread.join();
  std::string rest = content_of(folder / "test.log");
  for (int i = 1; i <= 800; ++i) {
    const bool is_short = rest.rfind(record(i, short_text), 0) == 0;
    ASSERT_TRUE(is_short || rest.rfind(record(i, long_text), 0) == 0) << i << rest.substr(0, 100);
    rest.erase(0, record(i, is_short ? short_text : long_text).size());
  }
  EXPECT_EQ(rest, "");
}

TEST(LogThreads, ShortRecordsOfTwoProcessesAreWhole) {
  Temp_Folder folder;
  const auto write_all = [&] {
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    log_many(&log, &short_text);
    _exit(0);
  };
  std::thread first([&] { run_child(write_all); });
  run_child(write_all);
  first.join();
  std::string content = content_of(folder / "test.log");
  size_t records = 0;
  while (!content.empty()) {
    const size_t header_end = content.find('\n');
    ASSERT_EQ(content.rfind("25/04 07:08:09  [# ", 0), 0u) << content.substr(0, 80);
    ASSERT_EQ(content.compare(header_end + 1, short_text.size() + 1, short_text + "\n"), 0) << content.substr(0, 80);
    content.erase(0, header_end + 1 + short_text.size() + 1);
    ++records;
  }
  EXPECT_EQ(records, 200u);
}

TEST(LogThreads, TheSizeIsReadWhileTheLockIsFree) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    alarm(60);
    Settings_Double settings;
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    settings.on_query([&](const std::u16string&) {
      std::thread([&] {
        log.Lock();
        log.Unlock();
      }).join();
    });
    log.Output(0, "message");
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(content_of(folder / "test.log"), record(1, "message"));
}

TEST(LogThreads, TheTimeIsTakenBeforeTheLockAndTheNumberInsideIt) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    alarm(60);
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    log.Lock();
    std::thread waiting([&] { log.Output(0, "waited"); });
    while (clock_reads() == 0) std::this_thread::yield();
    log.Output(0, "first");
    log.Unlock();
    waiting.join();
    _exit(0);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(content_of(folder / "test.log"), record(1, "first") + record(2, "waited"));
}

// A thread that is inside a question when the registry is closed: the question never returns.
struct Parked_Thread {
  std::promise<void> asks;
  std::promise<void> closed;
  void ask() {
    asks.set_value();
    closed.get_future().wait();
  }
};

TEST(LogThreads, AThreadParkedInTheFirstUseHoldsNobodyUp) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    alarm(60);
    setenv("HOME", home.path().c_str(), 1);
    Settings_Double settings("2");
    Parked_Thread parked;
    settings.on_open([&] { parked.ask(); });
    std::thread([] { RegLog().Output(0, "never"); }).detach();
    parked.asks.get_future().wait();
    RegUxClose(0, 0);
    parked.closed.set_value();
    RegLog().Output(0, "free");
    _exit(0);
  });
  EXPECT_EQ(child.signal, 0);
  EXPECT_EQ(content_of(home / "logs/regss.log"), record(1, "free"));
}

TEST(LogThreads, AThreadParkedInTheQuestionForTheSizeHoldsNobodyUp) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    alarm(60);
    Settings_Double settings;
    Parked_Thread parked;
    settings.on_query([&](const std::u16string& name) {
      if (name == u"MaxSize") parked.ask();
    });
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    std::thread([&] { log.Output(0, "never"); }).detach();
    parked.asks.get_future().wait();
    RegUxClose(0, 0);
    parked.closed.set_value();
    log.Output(0, "free");
    _exit(0);
  });
  EXPECT_EQ(child.signal, 0);
  EXPECT_EQ(content_of(folder / "test.log"), record(1, "free"));
}

size_t count_of(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

TEST(LogThreads, EightGoOnOnStandardOutputWhenTheFileEndsUnderThem) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", (folder / "test.log").c_str());
    std::atomic<int> begun = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([&] {
        log.Output(0, "at first");
        ++begun;
        log_many(&log, &short_text);
      });
    }
    while (begun < 8) std::this_thread::yield();
    log.End();
    log.Output(0, "at last");
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  const std::string file = content_of(folder / "test.log");
  EXPECT_EQ(count_of(file, "] ->\nat first\n"), 8u);
  EXPECT_EQ(count_of(file, ending), 1u);
  EXPECT_EQ(count_of(child.out, "] ->\nat last\n"), 1u);
  EXPECT_EQ(count_of(file, short_text + "\n") + count_of(child.out, short_text + "\n"), 800u);
}

TEST(LogThreads, EightUseAllLogsOfTheProcessWhileTheyReadTheirSettings) {
  Temp_Folder home;
  const Child_Result child = run_child([&] {
    setenv("HOME", home.path().c_str(), 1);
    Settings_Double settings("2");
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
      threads.emplace_back([] {
        for (KvLog* log : {&RegLog(), &RpcssLog(), &StdoutLog()}) log_many(log, &short_text);
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(count_of(content_of(home / "logs/regss.log"), short_text + "\n"), 800u);
  EXPECT_EQ(count_of(content_of(home / "logs/kvrpcss_event.log"), short_text + "\n"), 800u);
  EXPECT_EQ(count_of(child.out, short_text), 800u);
}

TEST(LogThreads, FirstUseByManyThreadsMakesOneLogWithOneBanner) {
  Temp_Folder folder;
  const Child_Result child = run_child([&] {
    setenv("KVRPCSS_DEBUG_LOG", (folder / "rpc.log").c_str(), 1);
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) threads.emplace_back([] { RpcssLog().Output(0, "message"); });
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  const std::string content = content_of(folder / "rpc.log");
  EXPECT_NE(content.find(started), std::string::npos);
  EXPECT_EQ(content.find(started), content.rfind(started));
  EXPECT_NE(content.find("[# 9] ->"), std::string::npos);
  EXPECT_EQ(content.find("[# 10] ->"), std::string::npos);
}

}  // namespace
}  // namespace kvtest
