// Atomic arithmetic.
#include <gtest/gtest.h>
#include <winbase.h>

#include <thread>
#include <vector>

TEST(InterlockedIncrement, ReturnsTheNewValue) {
  LONG value = 41;
  EXPECT_EQ(InterlockedIncrement(&value), 42);
  EXPECT_EQ(value, 42);
}

TEST(InterlockedIncrement, PassesFromTheGreatestToTheLeastValue) {
  LONG value = 0x7FFFFFFF;
  EXPECT_EQ(InterlockedIncrement(&value), -0x7FFFFFFF - 1);
}

TEST(InterlockedIncrement, LosesNothingBetweenThreads) {
  LONG value = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&value] {
      for (int step = 0; step < 10000; ++step) InterlockedIncrement(&value);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(value, 40000);
}
