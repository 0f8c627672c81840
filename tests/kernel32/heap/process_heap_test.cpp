// The process heap and local memory.
#include <gtest/gtest.h>
#include <string.h>
#include <winbase.h>
#include <winerror.h>

#include <string>

namespace {

TEST(ProcessHeap, IsTheSameForEveryCaller) {
  EXPECT_NE(GetProcessHeap(), nullptr);
  EXPECT_EQ(GetProcessHeap(), GetProcessHeap());
}

TEST(ProcessHeap, GivesBlocksThatAreZeroedOnRequestAndTakesThemBack) {
  for (int round = 0; round < 50; ++round) {
    auto* block = static_cast<char*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, 64));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, 64), std::string(64, '\0'));
    memset(block, '#', 64);
    EXPECT_EQ(HeapFree(GetProcessHeap(), 0, block), TRUE);
  }
}

TEST(ProcessHeap, GivesABlockForASizeOfZero) {
  void* block = HeapAlloc(GetProcessHeap(), 0, 0);
  EXPECT_NE(block, nullptr);
  EXPECT_EQ(HeapFree(GetProcessHeap(), 0, block), TRUE);
}

TEST(ProcessHeap, TakesNull) { EXPECT_EQ(HeapFree(GetProcessHeap(), 0, nullptr), TRUE); }

TEST(ProcessHeap, IsTheOnlyOne) {
  char none;
  EXPECT_EQ(HeapAlloc(&none, 0, 8), nullptr);
  EXPECT_EQ(HeapAlloc(nullptr, 0, 8), nullptr);
  SetLastError(0);
  EXPECT_EQ(HeapFree(&none, 0, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 6u);
}

TEST(LocalMemory, IsZeroedOnRequestAndItsHandleIsItsAddress) {
  for (UINT flags : {0x40u, 0x42u}) {
    auto* block = static_cast<char*>(LocalAlloc(flags, 32));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::string(block, 32), std::string(32, '\0'));
    memset(block, '#', 32);
    EXPECT_EQ(LocalFree(block), nullptr);
  }
}

TEST(LocalMemory, TakesNull) { EXPECT_EQ(LocalFree(nullptr), nullptr); }

}  // namespace
