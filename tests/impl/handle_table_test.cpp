// Handles: which values they have, when they are refused, and what many threads and forks do to them.
#include "impl/inproc/handle_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <set>
#include <thread>
#include <vector>

#include "tests/support/child.h"

namespace {

using impl::Handle_Table;

std::uintptr_t number(HKEY handle) { return reinterpret_cast<std::uintptr_t>(handle); }

HKEY handle(std::uintptr_t value) { return reinterpret_cast<HKEY>(value); }

// A key that is nothing but a place in memory and tells its release through the owner.
hive::Key key_owned_by(const std::shared_ptr<int>& owner) {
  return hive::Key(owner, reinterpret_cast<hive::Open_Key*>(owner.get()));
}

hive::Key any_key() { return key_owned_by(std::make_shared<int>(0)); }

class HandleTable : public testing::Test {
 protected:
  std::unique_ptr<Handle_Table> table = std::make_unique<Handle_Table>();
};

TEST_F(HandleTable, GivesBackTheKeyAndTheRightsOfAHandle) {
  const auto owner = std::make_shared<int>(0);
  const HKEY added = table->add(key_owned_by(owner), 0x19);
  const Handle_Table::Pin pin = table->find(added);
  ASSERT_TRUE(pin);
  EXPECT_EQ(reinterpret_cast<int*>(pin.key().get()), owner.get());
  EXPECT_EQ(pin.access(), 0x19u);
}

TEST_F(HandleTable, HandleIsNeitherSmallNorARoot) {
  for (int i = 0; i < 5000; ++i) {
    const HKEY added = table->add(any_key(), 0);
    ASSERT_GE(number(added), 0x400000u);
    ASSERT_LT(number(added), 0x80000000u);
    ASSERT_EQ(number(added) % 4, 0u);
    ASSERT_TRUE(table->close(added));
  }
}

TEST_F(HandleTable, RefusesWhatNeverWasAHandle) {
  const HKEY added = table->add(any_key(), 0);
  for (std::uintptr_t value : {std::uintptr_t{0}, std::uintptr_t{4}, std::uintptr_t{0x1234}, number(added) + 1,
                               number(added) + 4, number(added) | 0x100000000u, number(added) | 0x80000000u,
                               std::uintptr_t{0x80000002u}, std::uintptr_t{0x85000000u}, ~std::uintptr_t{0}}) {
    EXPECT_FALSE(table->find(handle(value))) << value;
    EXPECT_FALSE(table->close(handle(value))) << value;
  }
}

TEST_F(HandleTable, ClosedHandleIsRefusedAndItsKeyReleased) {
  const auto owner = std::make_shared<int>(0);
  const HKEY added = table->add(key_owned_by(owner), 0);
  EXPECT_TRUE(table->close(added));
  EXPECT_EQ(owner.use_count(), 1);
  EXPECT_FALSE(table->find(added));
  EXPECT_FALSE(table->close(added));
}

TEST_F(HandleTable, NumberOfAClosedHandleIsNotUsedAgainSoon) {
  const HKEY first = table->add(any_key(), 0);
  table->close(first);
  std::set<std::uintptr_t> seen{number(first)};
  for (int i = 0; i < 100000; ++i) {
    const HKEY next = table->add(any_key(), 0);
    ASSERT_TRUE(seen.insert(number(next)).second) << i;
    table->close(next);
  }
}

TEST_F(HandleTable, StaleHandleIsRefusedAfterItsIndexIsUsedAgain) {
  const HKEY first = table->add(any_key(), 0);
  table->close(first);
  for (int i = 0; i < 3000; ++i) table->close(table->add(any_key(), 0));
  EXPECT_FALSE(table->find(first));
}

TEST_F(HandleTable, KeyStaysWhileItIsPinnedThoughTheHandleIsClosed) {
  const auto owner = std::make_shared<int>(0);
  const HKEY added = table->add(key_owned_by(owner), 7);
  {
    const Handle_Table::Pin first = table->find(added);
    const Handle_Table::Pin second = table->find(added);
    EXPECT_TRUE(table->close(added));
    EXPECT_FALSE(table->find(added));
    EXPECT_EQ(owner.use_count(), 2);
    EXPECT_EQ(first.access(), 7u);
  }
  EXPECT_EQ(owner.use_count(), 1);
}

TEST_F(HandleTable, HasRoomForAMillionHandlesAndThenNoMore) {
  const hive::Key key = any_key();
  HKEY last = nullptr;
  for (int i = 0; i < 1 << 20; ++i) last = table->add(key, 0);
  EXPECT_NE(last, nullptr);
  EXPECT_EQ(table->add(key, 0), nullptr);
  EXPECT_TRUE(table->close(last));
  EXPECT_NE(table->add(key, 0), nullptr);
}

TEST_F(HandleTable, OneOfManyThreadsClosesAHandleAndEveryKeyIsReleasedOnce) {
  const auto owner = std::make_shared<int>(0);
  std::atomic<int> closed = 0;
  std::atomic<HKEY> current{table->add(key_owned_by(owner), 3)};
  const auto work = [&] {
    for (int i = 0; i < 5000; ++i) {
      const HKEY seen = current.load();
      {
        const Handle_Table::Pin pin = table->find(seen);
        if (pin && pin.access() != 3) std::abort();
      }
      if (table->close(seen)) {
        ++closed;
        current = table->add(key_owned_by(owner), 3);
      }
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  EXPECT_GT(closed.load(), 0);
  // Keys are released some at a time.
  for (int i = 0; i < 100; ++i) table->close(table->add(any_key(), 0));
  EXPECT_EQ(owner.use_count(), 2);
}

TEST_F(HandleTable, ForkedChildOpensAndClosesWhileThreadsOfTheParentDo) {
  if (const char* reason = kvtest::why_not_fork_beside_threads()) GTEST_SKIP() << reason;
  std::atomic<bool> stop = false;
  std::thread busy([&] {
    while (!stop) table->close(table->add(any_key(), 0));
  });
  int good = 0;
  for (int i = 0; i < 50; ++i) {
    const auto child = kvtest::run_child([&] { _exit(table->close(table->add(any_key(), 0)) ? 0 : 1); });
    good += child.exit_status == 0 ? 1 : 0;
  }
  stop = true;
  busy.join();
  EXPECT_EQ(good, 50);
}

}  // namespace
