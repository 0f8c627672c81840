// Thread-local storage.
#include <gtest/gtest.h>
#include <winbase.h>
#include <winerror.h>

#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace {

void* number(uintptr_t value) { return reinterpret_cast<void*>(value); }

}  // namespace

TEST(ThreadLocalStorage, KeepsAValueForEachThread) {
  const DWORD index = TlsAlloc();
  ASSERT_NE(index, TLS_OUT_OF_INDEXES);
  EXPECT_TRUE(TlsSetValue(index, number(1)));
  std::thread([index] {
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_TRUE(TlsSetValue(index, number(2)));
    EXPECT_EQ(TlsGetValue(index), number(2));
  }).join();
  EXPECT_EQ(TlsGetValue(index), number(1));
  EXPECT_TRUE(TlsFree(index));
}

TEST(ThreadLocalStorage, StartsWithNullAndClearsTheLastErrorOnReading) {
  const DWORD index = TlsAlloc();
  SetLastError(87);
  EXPECT_EQ(TlsGetValue(index), nullptr);
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_TRUE(TlsFree(index));
}

TEST(ThreadLocalStorage, IsNullInEveryThreadForAnIndexThatIsAllocatedAgain) {
  const DWORD index = TlsAlloc();
  EXPECT_TRUE(TlsSetValue(index, number(7)));
  std::thread([index] {
    EXPECT_TRUE(TlsSetValue(index, number(8)));
    EXPECT_TRUE(TlsFree(index));
    EXPECT_EQ(TlsAlloc(), index);
    EXPECT_EQ(TlsGetValue(index), nullptr);
  }).join();
  EXPECT_EQ(TlsGetValue(index), nullptr);
  EXPECT_EQ(GetLastError(), 0u);
  EXPECT_TRUE(TlsFree(index));
}

TEST(ThreadLocalStorage, RefusesAnIndexThatIsNotAllocated) {
  const DWORD freed = TlsAlloc();
  EXPECT_TRUE(TlsFree(freed));
  for (const DWORD index : {freed, DWORD{1088}, DWORD{0xFFFFFFFF}}) {
    SetLastError(0);
    EXPECT_FALSE(TlsSetValue(index, number(1)));
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_EQ(TlsGetValue(index), nullptr);
    EXPECT_EQ(GetLastError(), 87u);
    SetLastError(0);
    EXPECT_FALSE(TlsFree(index));
    EXPECT_EQ(GetLastError(), 87u);
  }
}

TEST(ThreadLocalStorage, GivesItsIndexesOutOnceAndThenSaysThatThereAreNone) {
  std::set<DWORD> taken;
  DWORD index = TlsAlloc();
  for (; index != TLS_OUT_OF_INDEXES; index = TlsAlloc()) EXPECT_TRUE(taken.insert(index).second);
  EXPECT_EQ(GetLastError(), 8u);
  EXPECT_EQ(taken.size(), 1088u);
  for (const DWORD each : taken) EXPECT_TRUE(TlsFree(each));
}

TEST(ThreadLocalStorage, GivesThreadsDifferentIndexes) {
  std::set<DWORD> taken;
  std::mutex mutex;
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int step = 0; step < 100; ++step) {
        const DWORD index = TlsAlloc();
        const std::lock_guard<std::mutex> guard(mutex);
        EXPECT_TRUE(taken.insert(index).second);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(taken.size(), 400u);
  for (const DWORD each : taken) EXPECT_TRUE(TlsFree(each));
}
