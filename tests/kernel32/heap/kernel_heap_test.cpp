// The kernel heap.
#include <gtest/gtest.h>
#include <kelvane/heap.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "tests/support/child.h"

namespace {

bool is_aligned(const void* block) { return reinterpret_cast<uintptr_t>(block) % 16 == 0; }

bool is_zeroed(const void* block, size_t size) {
  const auto* bytes = static_cast<const unsigned char*>(block);
  return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

struct Range {
  const char* start;
  size_t size;
};

bool are_apart(std::vector<Range>& ranges) {
  std::sort(ranges.begin(), ranges.end(), [](const Range& a, const Range& b) { return a.start < b.start; });
  for (size_t i = 1; i < ranges.size(); ++i) {
    if (ranges[i - 1].start + ranges[i - 1].size > ranges[i].start) return false;
  }
  return true;
}

// Takes blocks of many sizes and fills them, so that an overlap shows as a block that is not zeroed.
bool take_blocks(int count, std::vector<Range>& taken) {
  for (int i = 0; i < count; ++i) {
    const size_t size = static_cast<size_t>(i % 97) * 13 + 1;
    void* block = KvKernelCalloc(size);
    if (block == nullptr || !is_aligned(block) || !is_zeroed(block, size)) return false;
    memset(block, 0xA5, size);
    taken.push_back({static_cast<const char*>(block), size});
  }
  return true;
}

}  // namespace

TEST(KernelHeap, IsPreparedAnyNumberOfTimes) {
  EXPECT_EQ(KvKernelMallocInit(0, 0), 1u);
  EXPECT_EQ(KvKernelMallocInit(17, UINTPTR_MAX), 1u);
}

TEST(KernelHeap, GivesZeroedAlignedBlocksThatDoNotOverlap) {
  std::vector<Range> taken;
  EXPECT_TRUE(take_blocks(5000, taken));
  EXPECT_TRUE(are_apart(taken));
}

TEST(KernelHeap, GivesABlockForASizeOfZero) {
  void* first = KvKernelCalloc(0);
  void* second = KvKernelCalloc(0);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(first, second);
  EXPECT_TRUE(is_aligned(first));
}

TEST(KernelHeap, GivesBlocksAroundAndBeyondTheSizeOfItsChunks) {
  for (const size_t size : {262143u, 262144u, 262145u, 1048575u, 1048576u, 5000000u}) {
    void* block = KvKernelCalloc(size);
    ASSERT_NE(block, nullptr) << size;
    EXPECT_TRUE(is_aligned(block));
    EXPECT_TRUE(is_zeroed(block, size));
    memset(block, 1, size);
  }
}

TEST(KernelHeap, GivesNullForASizeThatCannotBe) {
  EXPECT_EQ(KvKernelCalloc(SIZE_MAX), nullptr);
  EXPECT_EQ(KvKernelCalloc(SIZE_MAX - 15), nullptr);
  EXPECT_EQ(KvKernelCalloc(SIZE_MAX / 2), nullptr);
}

TEST(KernelHeap, GivesNullWhenMemoryIsShort) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizers need more address space than a limit leaves";
#endif
  const auto child = kvtest::run_child([] {
    const rlimit limit = {64 << 20, 64 << 20};
    setrlimit(RLIMIT_AS, &limit);
    for (int i = 0; i < 100000; ++i) {
      if (KvKernelCalloc(100000) == nullptr) _exit(3);
    }
  });
  EXPECT_EQ(child.exit_status, 3);
}

TEST(KernelHeap, ServesThreadsAtOnce) {
  std::vector<std::vector<Range>> taken(4);
  std::atomic<int> good{0};
  std::vector<std::thread> threads;
  for (auto& blocks : taken) threads.emplace_back([&blocks, &good] { good += take_blocks(5000, blocks); });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, 4);
  std::vector<Range> all;
  for (const auto& blocks : taken) all.insert(all.end(), blocks.begin(), blocks.end());
  EXPECT_TRUE(are_apart(all));
}

TEST(KernelHeap, ServesAChildThatWasForkedWhileAnotherThreadAllocates) {
  if (const char* reason = kvtest::why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  std::atomic<bool> stop{false};
  std::thread busy([&stop] {
    while (!stop) KvKernelCalloc(64);
  });
  for (int i = 0; i < 20; ++i) {
    const auto child = kvtest::run_child([] {
      std::vector<Range> taken;
      alarm(60);
      _exit(take_blocks(20, taken) && KvKernelCalloc(200000) != nullptr ? 3 : 4);
    });
    EXPECT_EQ(child.exit_status, 3);
  }
  stop = true;
  busy.join();
}
