// What each form of atomic arithmetic returns and leaves.
#include <gtest/gtest.h>
#include <winbase.h>

#include <thread>
#include <vector>

namespace {

TEST(Interlocked, DecrementReturnsTheNewValue) {
  LONG value = 1;
  EXPECT_EQ(InterlockedDecrement(&value), 0);
  EXPECT_EQ(InterlockedDecrement(&value), -1);
  LONG64 large = 0x100000000;
  EXPECT_EQ(InterlockedDecrement64(&large), 0xFFFFFFFF);
  EXPECT_EQ(InterlockedIncrement64(&large), 0x100000000);
}

TEST(Interlocked, ExchangesReturnTheFormerValue) {
  LONG value = 5;
  EXPECT_EQ(InterlockedExchange(&value, 7), 5);
  EXPECT_EQ(InterlockedExchangeAdd(&value, -3), 7);
  EXPECT_EQ(value, 4);
  LONG64 large = 5;
  EXPECT_EQ(InterlockedExchange64(&large, 0x700000000), 5);
  EXPECT_EQ(InterlockedExchangeAdd64(&large, 1), 0x700000000);
  EXPECT_EQ(large, 0x700000001);
}

TEST(Interlocked, CompareExchangeStoresOnlyOverTheExpectedValue) {
  LONG value = 5;
  EXPECT_EQ(InterlockedCompareExchange(&value, 9, 4), 5);
  EXPECT_EQ(value, 5);
  EXPECT_EQ(InterlockedCompareExchange(&value, 9, 5), 5);
  EXPECT_EQ(value, 9);
  LONG64 large = 0x500000000;
  EXPECT_EQ(InterlockedCompareExchange64(&large, 1, 0), 0x500000000);
  EXPECT_EQ(InterlockedCompareExchange64(&large, 1, 0x500000000), 0x500000000);
  EXPECT_EQ(large, 1);
}

TEST(Interlocked, BitFormsReturnTheFormerValue) {
  LONG value = 0xC;
  EXPECT_EQ(InterlockedAnd(&value, 0xA), 0xC);
  EXPECT_EQ(InterlockedOr(&value, 0x1), 0x8);
  EXPECT_EQ(InterlockedXor(&value, 0xF), 0x9);
  EXPECT_EQ(value, 0x6);
}

TEST(Interlocked, PointersAreExchangedWhole) {
  char first = 0;
  char second = 0;
  PVOID pointer = &first;
  EXPECT_EQ(InterlockedExchangePointer(&pointer, &second), &first);
  EXPECT_EQ(InterlockedCompareExchangePointer(&pointer, nullptr, &first), &second);
  EXPECT_EQ(pointer, &second);
  EXPECT_EQ(InterlockedCompareExchangePointer(&pointer, nullptr, &second), &second);
  EXPECT_EQ(pointer, nullptr);
}

TEST(Interlocked, NothingIsLostBetweenThreads) {
  LONG sum = 0;
  LONG countdown = 40000;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) {
        InterlockedExchangeAdd(&sum, 3);
        InterlockedDecrement(&countdown);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sum, 120000);
  EXPECT_EQ(countdown, 0);
}

}  // namespace
