// The last-write time of a key: what it says and what moves it.
#include <time.h>

#include "tests/store/store_test.h"

namespace kvtest {
namespace {

using Ticks = unsigned long long;  // 100 ns since 1601

Ticks last_write(HKEY key) {
  FILETIME time = {};
  EXPECT_EQ(RegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                            nullptr, &time),
            0);
  return static_cast<Ticks>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

Ticks now() {
  timespec clock;
  clock_gettime(CLOCK_REALTIME, &clock);
  return (static_cast<Ticks>(clock.tv_sec) + 11644473600) * 10000000 + static_cast<Ticks>(clock.tv_nsec) / 100;
}

class Last_Write_Time : public Store_Test {
 protected:
  // Whether the call moved the key's time forwards.
  template <typename Call>
  bool moves(HKEY watched, Call call) {
    Ticks before = last_write(watched);
    EXPECT_EQ(call(), 0);
    Ticks after = last_write(watched);
    EXPECT_GE(after, before);
    return after != before;
  }
};

TEST_F(Last_Write_Time, IsNow) {
  Ticks before = now();
  ASSERT_EQ(set_number(key, "v", 1), 0);
  Ticks after = now();
  // A clock that ticks a hundred times a second is good enough.
  EXPECT_GE(last_write(key) + 100000, before);
  EXPECT_LE(last_write(key), after);
}

TEST_F(Last_Write_Time, OfANewKeyIsNow) {
  Ticks before = now();
  Key made = created(key, "new");
  EXPECT_GE(last_write(made) + 100000, before);
  EXPECT_LE(last_write(made), now());
}

TEST_F(Last_Write_Time, IsMovedBySettingAndDeletingAValue) {
  EXPECT_TRUE(moves(key, [&] { return set_number(key, "v", 1); }));
  EXPECT_TRUE(moves(key, [&] { return set_number(key, "v", 2); }));
  EXPECT_TRUE(moves(key, [&] { return RegDeleteValue(key, "v"); }));
}

TEST_F(Last_Write_Time, IsMovedByMakingAndDeletingASubKey) {
  EXPECT_TRUE(moves(key, [&] {
    Key made;
    return RegCreateKeyEx(key, "sub", 0, nullptr, 0, KEY_READ, nullptr, made.out(), nullptr);
  }));
  EXPECT_TRUE(moves(key, [&] { return RegDeleteKey(key, "sub"); }));
}

TEST_F(Last_Write_Time, IsNotMovedByWhatHappensBelowASubKey) {
  Key sub = created(key, "sub");
  EXPECT_FALSE(moves(key, [&] { return set_number(sub, "v", 1); }));
  EXPECT_FALSE(moves(key, [&] {
    Key made;
    return RegCreateKeyEx(sub, "deep", 0, nullptr, 0, KEY_READ, nullptr, made.out(), nullptr);
  }));
}

TEST_F(Last_Write_Time, IsNotMovedByReadingOrOpening) {
  ASSERT_EQ(set_number(key, "v", 1), 0);
  ASSERT_NE(created(key, "sub"), nullptr);
  EXPECT_FALSE(moves(key, [&] { return value_of(key, "v").code; }));
  EXPECT_FALSE(moves(key, [&] { return open_result(key, "sub"); }));
  EXPECT_FALSE(moves(key, [&] { return static_cast<LSTATUS>(sub_keys(key).size() - 1); }));
  EXPECT_FALSE(moves(key, [&] { return static_cast<LSTATUS>(value_names(key).size() - 1); }));
  EXPECT_FALSE(moves(key, [&] { return RegFlushKey(key); }));
  EXPECT_FALSE(moves(key, [&] {
    Key again;
    return RegCreateKeyEx(key, "sub", 0, nullptr, 0, KEY_READ, nullptr, again.out(), nullptr);
  }));
}

TEST_F(Last_Write_Time, IsNotMovedByAChangeThatFailed) {
  Key reader = opened(key, "", KEY_READ);
  EXPECT_FALSE(moves(key, [&] { return set_number(reader, "v", 1) == 5 ? 0 : 1; }));
  EXPECT_FALSE(moves(key, [&] { return RegDeleteValue(key, "missing") == 2 ? 0 : 1; }));
  EXPECT_FALSE(moves(key, [&] { return RegDeleteKey(key, "missing") == 2 ? 0 : 1; }));
}

}  // namespace
}  // namespace kvtest
