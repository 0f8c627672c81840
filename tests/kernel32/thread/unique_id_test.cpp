#include <gtest/gtest.h>
#include <kelvane/impersonation.h>
#include <sys/resource.h>
#include <winbase.h>

#include <set>
#include <sstream>
#include <thread>

#include "tests/support/child.h"

namespace {

uint64_t next_id() {
  LUID id = {0, 0};
  EXPECT_EQ(KvAllocateLocallyUniqueId(&id), TRUE);
  return static_cast<uint64_t>(static_cast<DWORD>(id.HighPart)) << 32 | id.LowPart;
}

// The ids that the outputs of children tell.
void collect(const std::string& out, std::vector<uint64_t>* ids) {
  std::istringstream lines(out);
  for (uint64_t id; lines >> id;) ids->push_back(id);
}

void print_ids(int count) {
  for (int i = 0; i < count; ++i) printf("%llu\n", static_cast<unsigned long long>(next_id()));
}

// No socket can be made any more.
void use_up_descriptors() {
  const rlimit none = {3, 3};
  setrlimit(RLIMIT_NOFILE, &none);
}

size_t different(const std::vector<uint64_t>& ids) { return std::set<uint64_t>(ids.begin(), ids.end()).size(); }

TEST(UniqueId, IsAboveThoseThatHaveAMeaning) {
  for (int i = 0; i < 10; ++i) EXPECT_GT(next_id(), 0xFFFFu);
}

TEST(UniqueId, IsDifferentInEveryThreadAndProcess) {
  std::vector<uint64_t> ids;
  for (int process = 0; process < 4; ++process) collect(kvtest::run_child([] { print_ids(200); }).out, &ids);
  std::vector<uint64_t> of_threads[2];
  std::thread threads[2];
  for (int t = 0; t < 2; ++t) {
    threads[t] = std::thread([&of_threads, t] {
      for (int i = 0; i < 200; ++i) of_threads[t].push_back(next_id());
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const auto& more : of_threads) ids.insert(ids.end(), more.begin(), more.end());
  EXPECT_EQ(ids.size(), 1200u);
  EXPECT_EQ(different(ids), 1200u);
}

TEST(UniqueId, IsDifferentAlsoWithoutAnyDescriptorLeft) {
  std::vector<uint64_t> ids;
  for (int process = 0; process < 3; ++process) {
    collect(kvtest::run_child([] {
              use_up_descriptors();
              print_ids(100);
            }).out,
            &ids);
  }
  EXPECT_EQ(ids.size(), 300u);
  EXPECT_EQ(different(ids), 300u);
  for (uint64_t id : ids) EXPECT_EQ(id >> 62, 1u);
}

TEST(UniqueId, LeavesNoDescriptorOpen) {
  const kvtest::Child_Result child = kvtest::run_child([] {
    const int before = dup(0);
    close(before);
    for (int i = 0; i < 50; ++i) next_id();
    const int after = dup(0);
    printf("%d", after - before);
  });
  EXPECT_EQ(child.out, "0");
}

TEST(UniqueId, WithoutAPlaceForItIs87) {
  SetLastError(0);
  EXPECT_EQ(KvAllocateLocallyUniqueId(nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
