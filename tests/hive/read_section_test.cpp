// Objects that readers look at without a lock stay as long as they do.
#include "hive/cache/read_section.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace {

constexpr int many = 200;  // more than are released at a time

std::atomic<int> released{0};

struct Counted final : hive::Shared_Object {
  Counted() = default;
  ~Counted() override {
    value = -1;
    ++released;
  }
  int value = 42;
};

void retire_many() {
  for (int i = 0; i < many; ++i) hive::retire(std::make_unique<Counted>());
}

TEST(ReadSection, KeepsWhatItMayHaveSeenAndNotMore) {
  retire_many();
  released = 0;
  {
    const hive::Read_Section section;
    retire_many();
    EXPECT_LT(released, many);
    const int before = released;
    retire_many();
    EXPECT_EQ(released, before);
  }
  retire_many();
  retire_many();
  EXPECT_GE(released, 2 * many);
}

TEST(ReadSection, MayStandInAnother) {
  const hive::Read_Section outer;
  released = 0;
  hive::retire(std::make_unique<Counted>());
  const auto mine = std::make_unique<std::atomic<Counted*>>(new Counted);
  {
    const hive::Read_Section inner;
    EXPECT_EQ(mine->load()->value, 42);
  }
  std::unique_ptr<Counted> seen(mine->load());
  Counted* kept = seen.get();
  hive::retire(std::move(seen));
  retire_many();
  EXPECT_EQ(kept->value, 42);
}

// Each thread looks at the object again and again while it is replaced.
TEST(ReadSection, NoThreadSeesWhatWasReleased) {
  constexpr int replacements = 5000;
  std::atomic<Counted*> shown{new Counted};
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> readers;
  for (int i = 0; i < 4; ++i) {
    readers.emplace_back([&] {
      while (!stop) {
        const hive::Read_Section section;
        if (shown.load(std::memory_order_acquire)->value != 42) ++wrong;
      }
    });
  }
  for (int i = 0; i < replacements; ++i) {
    hive::retire(std::unique_ptr<Counted>(shown.exchange(new Counted, std::memory_order_acq_rel)));
  }
  stop = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(wrong, 0);
  delete shown.load();
}

// More threads at a time than have counts of their own.
TEST(ReadSection, HoldsForAnyNumberOfThreads) {
  constexpr int threads = 270;
  std::atomic<int> inside{0};
  std::atomic<bool> leave{false};
  std::vector<std::thread> readers;
  for (int i = 0; i < threads; ++i) {
    readers.emplace_back([&] {
      const hive::Read_Section section;
      ++inside;
      inside.notify_all();
      leave.wait(false);
    });
  }
  for (int now = inside; now < threads; now = inside) inside.wait(now);
  retire_many();
  released = 0;
  retire_many();
  EXPECT_EQ(released, 0);
  leave = true;
  leave.notify_all();
  for (std::thread& reader : readers) reader.join();
  retire_many();
  EXPECT_GE(released, many);
}

}  // namespace
