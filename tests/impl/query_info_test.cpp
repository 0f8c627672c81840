// Counts and longest lengths over the store.
#include <time.h>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class QueryInfo : public Store_Test {
 protected:
  DWORD ask(WinChar* class_name = nullptr, DWORD* class_count = nullptr) {
    return entries().KvIRegQueryInfoKey(base, class_name, class_count, nullptr, &sub_keys_, &max_sub_key_, &max_class_,
                                        &values_, &max_value_name_, &max_value_, &security_, &time_, nullptr);
  }
  std::vector<DWORD> facts() {
    EXPECT_EQ(ask(), 0u);
    return {sub_keys_, max_sub_key_, max_class_, values_, max_value_name_, max_value_};
  }
  std::uint64_t time() const { return std::uint64_t{time_.dwHighDateTime} << 32 | time_.dwLowDateTime; }

  DWORD sub_keys_ = 9, max_sub_key_ = 9, max_class_ = 9, values_ = 9, max_value_name_ = 9, max_value_ = 9,
        security_ = 9;
  FILETIME time_{};
};

TEST_F(QueryInfo, OfAnEmptyKeyIsAllZero) {
  EXPECT_EQ(facts(), (std::vector<DWORD>{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(security_, 0u);
}

TEST_F(QueryInfo, CountsSubKeysAndValuesAndTheirLongest) {
  made(u"ab");
  made(u"\u00e9\u00e9\u00e9\u00e9");
  HKEY key = nullptr;
  ASSERT_EQ(entries().KvIRegCreateKeyEx(base, win(u"c").data(), 0, win(u"class").data(), 0, KEY_ALL_ACCESS, nullptr,
                                        &key, nullptr, 0, nullptr),
            0u);
  set_value(base, u"", REG_SZ, stored(u"hello"));
  set_value(base, u"name", REG_DWORD, "1234");
  EXPECT_EQ(facts(), (std::vector<DWORD>{3, 4, 5, 2, 4, 12}));
}

TEST_F(QueryInfo, LongestGoesDownWhenTheLongestGoes) {
  made(u"short");
  made(u"much longer");
  set_value(base, u"v", REG_BINARY, "1");
  set_value(base, u"value", REG_BINARY, "12345");
  delete_key(base, u"much longer");
  delete_value(base, u"value");
  EXPECT_EQ(facts(), (std::vector<DWORD>{1, 5, 0, 1, 1, 1}));
}

TEST_F(QueryInfo, LongestValueShrinksWhenItIsReplaced) {
  set_value(base, u"v", REG_BINARY, "12345");
  set_value(base, u"v", REG_BINARY, "1");
  EXPECT_EQ(facts(), (std::vector<DWORD>{0, 0, 0, 1, 1, 1}));
}

TEST_F(QueryInfo, LastWriteTimeIsNow) {
  const std::uint64_t before = (static_cast<std::uint64_t>(::time(nullptr)) + 11644473600u) * 10000000u;
  set_value(base, u"v", REG_BINARY, "x");
  ASSERT_EQ(ask(), 0u);
  EXPECT_GE(time() + 20000000u, before);
  EXPECT_LE(time(), before + 600000000u);
}

TEST_F(QueryInfo, IsDeliveredAlsoWhenTheClassHasNoRoom) {
  HKEY key = nullptr;
  ASSERT_EQ(entries().KvIRegCreateKeyEx(base, win(u"k").data(), 0, win(u"class").data(), 0, KEY_ALL_ACCESS, nullptr,
                                        &key, nullptr, 0, nullptr),
            0u);
  set_value(key, u"v", REG_BINARY, "x");
  WinChar text[6] = {};
  DWORD count = 5;
  base = key;
  EXPECT_EQ(ask(text, &count), 234u);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(values_, 1u);
  EXPECT_EQ(units(text, 1), (std::u16string(1, u'\0')));
  count = 6;
  EXPECT_EQ(ask(text, &count), 0u);
  EXPECT_EQ(units(text, count), u"class");
}

}  // namespace
