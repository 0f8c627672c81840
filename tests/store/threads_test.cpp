// Many threads at once: on one value, on one key, on keys of their own, and on a handle that one of them closes.
#include <signal.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <thread>

#include "tests/store/store_test.h"

namespace kvtest {
namespace {

void run_threads(int count, const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  for (int number = 0; number < count; ++number) threads.emplace_back(body, number);
  for (std::thread& thread : threads) thread.join();
}

class Threads : public Store_Test {};

TEST_F(Threads, NeverSeeATornValue) {
  const std::array<std::string, 3> whole = {std::string(24, 'a'), std::string(3000, 'b'), std::string(9000, 'c')};
  ASSERT_EQ(set_value(key, "v", REG_BINARY, whole[0]), 0);
  std::atomic<bool> done = false;
  std::atomic<int> torn = 0, seen = 0;
  std::thread writer([&] {
    for (int i = 0; i < 600; ++i) {
      if (set_value(key, "v", REG_BINARY, whole[i % 3]) != 0) ++torn;
    }
    done = true;
  });
  do {
    Answer answer = query(key, "v", 10000);
    if (answer.code != 0 || std::find(whole.begin(), whole.end(), answer.data()) == whole.end()) ++torn;
    ++seen;
  } while (!done);
  writer.join();
  EXPECT_EQ(torn, 0);
  EXPECT_GT(seen, 1);
}

TEST_F(Threads, NeverSeeTypeAndDataOfDifferentWrites) {
  ASSERT_EQ(set_number(key, "v", 1), 0);
  std::atomic<bool> done = false;
  std::atomic<int> mixed = 0;
  std::thread writer([&] {
    for (int i = 0; i < 300; ++i) {
      set_value(key, "v", REG_SZ, "some text\0"s);
      set_number(key, "v", 1);
    }
    done = true;
  });
  while (!done) {
    Answer answer = query(key, "v", 64);
    bool text = answer.type == REG_SZ && answer.data() == "some text\0"s;
    bool number = answer.type == REG_DWORD && answer.data() == "\1\0\0\0"s;
    if (answer.code != 0 || (!text && !number)) ++mixed;
  }
  writer.join();
  EXPECT_EQ(mixed, 0);
}

// One thread's life on a key of its own; the number of calls that went wrong.
int work_alone(HKEY at, int number) {
  int wrong = 0;
  std::string name = "thread" + std::to_string(number);
  for (DWORD round = 0; round < 20; ++round) {
    Key own = created(at, name);
    wrong += set_number(own, "n", round) != 0;
    wrong += set_value(own, "t", REG_SZ, name) != 0;
    wrong += value_of(own, "t").data() != name;
    wrong += value_of(own, "n").data() != std::string(reinterpret_cast<char*>(&round), 4);
    wrong += value_names(own) != std::vector<std::string>{"n", "t"};
    wrong += created(own, "sub") == nullptr;
    wrong += sub_keys(own) != std::vector<std::string>{"sub"};
    wrong += RegDeleteKey(own, "sub") != 0;
    wrong += RegDeleteKey(at, name.c_str()) != 0;
    wrong += query_size(own, "n").code != 1018;
  }
  return wrong;
}

TEST_F(Threads, SixteenWorkOnKeysOfTheirOwn) {
  std::atomic<int> wrong = 0;
  run_threads(16, [&](int number) { wrong += work_alone(key, number); });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(sub_keys(key).size(), 0u);
}

TEST_F(Threads, SixteenFillOneKeyAndNothingIsLost) {
  std::atomic<int> wrong = 0, made = 0;
  run_threads(16, [&](int number) {
    for (int i = 0; i < 25; ++i) {
      std::string name = std::to_string(number) + "_" + std::to_string(i);
      wrong += set_number(key, name.c_str(), 1) != 0;
      Key shared;
      DWORD disposition = 0;
      wrong += RegCreateKeyEx(key, ("shared" + std::to_string(i)).c_str(), 0, nullptr, 0, KEY_READ, nullptr,
                              shared.out(), &disposition) != 0;
      made += disposition == REG_CREATED_NEW_KEY;
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(made, 25);
  EXPECT_EQ(value_names(key).size(), 400u);
  EXPECT_EQ(sub_keys(key).size(), 25u);
}

TEST_F(Threads, MeetAHandleThatAnotherOneCloses) {
  ASSERT_EQ(set_number(key, "v", 7), 0);
  std::atomic<int> wrong = 0;
  for (int round = 0; round < 50; ++round) {
    HKEY handle = nullptr;
    ASSERT_EQ(RegOpenKeyEx(key, "", 0, KEY_READ, &handle), 0);
    std::atomic<int> started = 0;
    run_threads(3, [&](int number) {
      ++started;
      while (started < 3) {
      }
      if (number == 0) {
        wrong += RegCloseKey(handle) != 0;
        return;
      }
      LSTATUS code = query(handle, "v", 4).code;
      wrong += code != 0 && code != 6;
    });
    EXPECT_EQ(query(handle, "v", 4).code, 6);
  }
  EXPECT_EQ(wrong, 0);
}

TEST_F(Threads, ListThroughOneHandleAndEachSeesAll) {
  for (int i = 0; i < 60; ++i) ASSERT_NE(created(key, "k" + std::to_string(100 + i)), nullptr);
  const std::vector<std::string> all = sub_keys(key);
  ASSERT_EQ(all.size(), 60u);
  std::atomic<int> wrong = 0;
  run_threads(4, [&](int) {
    for (int round = 0; round < 10; ++round) wrong += sub_keys(key) != all;
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(Threads, AreNotDisturbedBySignals) {
  struct sigaction ignore_briefly = {};
  ignore_briefly.sa_handler = [](int) {};  // without SA_RESTART: system calls are interrupted
  struct sigaction before = {};
  ASSERT_EQ(sigaction(SIGALRM, &ignore_briefly, &before), 0);
  const itimerval often = {{0, 300}, {0, 300}}, never = {};
  ASSERT_EQ(setitimer(ITIMER_REAL, &often, nullptr), 0);
  int wrong = 0;
  for (DWORD i = 0; i < 300; ++i) {
    wrong += set_value(key, "v", REG_BINARY, std::string(100 * (i % 50), 's')) != 0;
    wrong += query_size(key, "v").size != 100 * (i % 50);
    if (i % 10 == 0) wrong += RegFlushKey(key) != 0;
  }
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &before, nullptr);
  EXPECT_EQ(wrong, 0);
}

TEST_F(Threads, HaveALastErrorOfTheirOwnThatNoCallChanges) {
  std::atomic<int> wrong = 0;
  run_threads(4, [&](int number) {
    SetLastError(1000u + static_cast<DWORD>(number));
    query(key, "missing", 4);
    set_number(key, "v", 1);
    RegCloseKey(handle_of(0x1234));
    wrong += GetLastError() != 1000u + static_cast<DWORD>(number);
  });
  EXPECT_EQ(wrong, 0);
}

// Writes a value of the thread's own by one family and reads it by the other; the number of calls that went wrong.
int write_and_read_across(HKEY at, int number, int round) {
  const std::string text = "thread " + std::to_string(number) + " round " + std::to_string(round);
  const std::wstring wide_text(text.begin(), text.end());
  const std::string name = "a" + std::to_string(number);
  const std::wstring wide_name = L"w" + std::to_wstring(number);
  const auto size = static_cast<DWORD>(text.size() + 1);
  const auto wide_size = static_cast<DWORD>(size * sizeof(wchar_t));
  char answer[64] = "";
  wchar_t wide_answer[64] = L"";
  DWORD room = sizeof answer, wide_room = sizeof wide_answer;
  int wrong = 0;
  wrong += RegSetValueExA(at, name.c_str(), 0, REG_SZ, bytes_of(text), size) != 0;
  wrong += RegSetValueExW(at, wide_name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(wide_text.c_str()),
                          wide_size) != 0;
  wrong += RegQueryValueExW(at, std::wstring(name.begin(), name.end()).c_str(), nullptr, nullptr,
                            reinterpret_cast<BYTE*>(wide_answer), &wide_room) != 0;
  wrong += RegQueryValueExA(at, ("w" + std::to_string(number)).c_str(), nullptr, nullptr,
                            reinterpret_cast<BYTE*>(answer), &room) != 0;
  wrong += wide_text != wide_answer || wide_room != wide_size;
  wrong += text != answer || room != size;
  return wrong;
}

TEST_F(Threads, EightMixBothFamiliesOnKeysOfTheirOwn) {
  std::atomic<int> wrong = 0;
  run_threads(8, [&](int number) {
    for (int round = 0; round < 20; ++round) {
      const std::wstring name = L"own" + std::to_wstring(number);
      HKEY own = nullptr;
      wrong += RegCreateKeyExW(key, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &own, nullptr) != 0;
      wrong += write_and_read_across(own, number, round);
      DWORD values = 0;
      wrong += RegQueryInfoKeyW(own, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                                nullptr, nullptr) != 0;
      wrong += values != 2;
      wrong += RegCloseKey(own) != 0;
      wrong += RegDeleteKeyA(key, std::string(name.begin(), name.end()).c_str()) != 0;
    }
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(sub_keys(key).size(), 0u);
}

TEST_F(Threads, EightMixBothFamiliesOnOneKey) {
  std::atomic<int> wrong = 0;
  run_threads(8, [&](int number) {
    for (int round = 0; round < 20; ++round) {
      wrong += write_and_read_across(key, number, round);
      wchar_t name[64];
      DWORD count = 64;
      wrong += RegEnumValueW(key, 0, name, &count, nullptr, nullptr, nullptr, nullptr) != 0;
      DWORD size = 0;
      const LSTATUS other =
          RegQueryValueExA(key, ("a" + std::to_string(7 - number)).c_str(), nullptr, nullptr, nullptr, &size);
      wrong += other != 0 && other != 2;
    }
    wrong += RegDeleteValueW(key, (L"a" + std::to_wstring(number)).c_str()) != 0;
  });
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(value_names(key).size(), 8u);
}

}  // namespace
}  // namespace kvtest
