// Unique file names.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "registry/unique_name.h"
#include "tests/bootstrap/computer_name_double.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

std::string unique_name(const char* base, unsigned long capacity = 4096) {
  std::string name(capacity + 1, '.');
  KvCreateUniqFileName(name.data(), capacity, base);
  return name.c_str();
}

TEST(UniqueName, NamesComputerProcessAndACounterThatStartsAtOne) {
  const Child_Result child = run_child([] {
    const std::string process = std::to_string(getpid());
    printf("%d", unique_name("/home/u/hkcu") == "/home/u/hkcu.box." + process + "_1");
    printf("%d", unique_name("/home/u/hkcu") == "/home/u/hkcu.box." + process + "_2");
    printf("%d", unique_name("other") == "other.box." + process + "_3");
  });
  EXPECT_EQ(child.out, "111");
}

TEST(UniqueName, GivesTheLengthOfTheWholeName) {
  const Child_Result child = run_child([] {
    char name[64];
    const int length = KvCreateUniqFileName(name, sizeof name, "/a");
    printf("%d", length == static_cast<int>(strlen(name)));
    char cut[8] = "1234567";
    printf("%d %s", KvCreateUniqFileName(cut, 6, "/a") == length, cut);
  });
  EXPECT_EQ(child.out, "11 /a.bo");
}

TEST(UniqueName, IsCutToTheRoom) {
  const Child_Result child = run_child([] {
    const std::string base(5000, 'b');
    char name[4097];
    memset(name, '.', sizeof name);
    const int length = KvCreateUniqFileName(name, 4096, base.c_str());
    printf("%d %zu %d", length > 5000, strlen(name), name[4096]);
  });
  EXPECT_EQ(child.out, "1 4095 46");
}

TEST(UniqueName, TakesTheComputersNameUpTo64Characters) {
  const Child_Result child = run_child([] {
    const std::string longest(64, 'c');
    name_computer(longest.c_str());
    printf("%d", unique_name("/a").rfind("/a." + longest + ".", 0) == 0);
    printf(" %u", offered_room());
  });
  EXPECT_EQ(child.out, "1 65");
}

TEST(UniqueName, SaysUnknownWithoutAComputersName) {
  const Child_Result child = run_child([] {
    name_computer(nullptr);
    printf("%d", unique_name("/a") == "/a.unknown." + std::to_string(getpid()) + "_1");
  });
  EXPECT_EQ(child.out, "1");
}

TEST(UniqueName, ThreadsNeverShareOne) {
  const Child_Result child = run_child([] {
    std::vector<std::string> names[4];
    std::vector<std::thread> threads;
    for (auto& own : names)
      threads.emplace_back([&own] {
        for (int i = 0; i < 500; ++i) own.push_back(unique_name("/a", 100));
      });
    for (std::thread& thread : threads) thread.join();
    std::set<std::string> all;
    for (const auto& own : names) all.insert(own.begin(), own.end());
    printf("%zu", all.size());
  });
  EXPECT_EQ(child.out, "2000");
}

}  // namespace
}  // namespace kvtest
