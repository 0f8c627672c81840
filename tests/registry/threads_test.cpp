// Many threads inside the fronts at once, and entries that call the registry again.
#include <atomic>
#include <thread>
#include <vector>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Threads : public Fronts {};

// Answers text of as many letters as the handle's number tells: each thread has a length of its own.
DWORD answer_letters(HKEY key, const WinChar*, DWORD*, DWORD* type, BYTE* data, DWORD* size, void*) {
  const DWORD needed = static_cast<DWORD>(2 * number_of(key));
  const bool fits = data != nullptr && *size >= needed;
  *type = REG_SZ;
  *size = needed;
  for (DWORD i = 0; fits && i < needed; i += 2) data[i] = 0, data[i + 1] = 'a';
  return data == nullptr || fits ? 0 : 234;
}

// The number of reads by one thread that gave anything else than what belongs to it.
int wrong_reads(DWORD length) {
  int wrong = 0;
  for (int i = 0; i < 200; ++i) {
    std::string text(length, '#');
    DWORD type = 0, size = length, size_alone = 0;
    BYTE* const data = reinterpret_cast<BYTE*>(text.data());
    const LSTATUS read = RegQueryValueExA(key_of(length), "name", nullptr, &type, data, &size);
    const LSTATUS asked = RegQueryValueExA(key_of(length), "name", nullptr, nullptr, nullptr, &size_alone);
    const bool right = read == 0 && asked == 0 && type == REG_SZ && size == length && size_alone == length;
    if (!right || text != std::string(length, 'a')) ++wrong;
  }
  return wrong;
}

TEST_F(Threads, EachGetsItsOwnAnswer) {
  void* const bound = KvIRegFunctions[7].entry;
  KvIRegFunctions[7].entry = reinterpret_cast<void*>(answer_letters);
  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (DWORD length : {3u, 700u, 2047u, 2048u, 5000u}) {
    threads.emplace_back([length, &wrong] { wrong += wrong_reads(length); });
  }
  for (std::thread& thread : threads) thread.join();
  KvIRegFunctions[7].entry = bound;
  EXPECT_EQ(wrong, 0);
}

TEST_F(Threads, AnEntryMayCallTheRegistryAgain) {
  recording.script("KvIRegOpenKeyEx", [this](const Call&) {
    EXPECT_EQ(RegCloseKey(key), 6);
    return 2;
  });
  recording.script("KvIRegCloseKey", answer(6));
  EXPECT_EQ(RegOpenKeyExA(key, "outer", 0, 0, nullptr), 2);
  EXPECT_EQ(entries(), "KvIRegOpenKeyEx KvIRegCloseKey ");
}

}  // namespace
}  // namespace kvtest
