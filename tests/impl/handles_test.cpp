// Handles over the store: unknown and closed ones, and what each right allows.
#include <functional>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class Handle : public Store_Test {};
class Right : public Store_Test {};

DWORD query_info(HKEY key) {
  return entries().KvIRegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      nullptr, nullptr, nullptr, nullptr);
}

DWORD query_value(HKEY key) {
  return entries().KvIRegQueryValueEx(key, win(u"v").data(), nullptr, nullptr, nullptr, nullptr, nullptr);
}

DWORD open_again(HKEY key) {
  HKEY opened = nullptr;
  const DWORD code = open_key(key, u"", &opened);
  if (code == 0) close_key(opened);
  return code;
}

DWORD create_new(HKEY key) {
  HKEY made = nullptr;
  const DWORD code = create_key(key, u"new", &made);
  if (code == 0) close_key(made);
  return code;
}

struct Operation {
  const char* name;
  DWORD right;
  std::function<DWORD(HKEY)> call;
};

// Everything that takes a handle and answers for the store, with the right that it asks for.
const std::vector<Operation>& operations() {
  static const std::vector<Operation> all = {
      {"query value", KEY_QUERY_VALUE, query_value},
      {"query info", KEY_QUERY_VALUE, query_info},
      {"enumerate values", KEY_QUERY_VALUE, [](HKEY key) { return value_name(key, 0).code; }},
      {"set value", KEY_SET_VALUE, [](HKEY key) { return set_value(key, u"v", REG_BINARY, "x"); }},
      {"enumerate keys", KEY_ENUMERATE_SUB_KEYS, [](HKEY key) { return sub_key(key, 0).code; }},
      {"create", KEY_CREATE_SUB_KEY, create_new},
      {"open", 0, open_again},
      {"flush", 0, [](HKEY key) { return entries().KvIRegFlushKey(key, nullptr); }},
      {"describe", 0,
       [](HKEY key) { return entries().KvIRegUxDescribeKey(key, nullptr, nullptr, nullptr, nullptr, nullptr); }},
      {"chmod", 0, [](HKEY key) { return entries().KvIRegUxChmod(key, nullptr, 0750, nullptr); }},
      {"delete key", 0, [](HKEY key) { return delete_key(key, u"old"); }},
      {"delete value", KEY_SET_VALUE, [](HKEY key) { return delete_value(key, u"v"); }},
  };
  return all;
}

TEST_F(Handle, ThatNeverWasIs6Everywhere) {
  for (HKEY handle : {HKEY(nullptr), HKEY(0x1234), HKEY(0x85000000), HKEY(~std::uintptr_t{0})}) {
    for (const Operation& operation : operations()) EXPECT_EQ(operation.call(handle), 6u) << operation.name;
    EXPECT_EQ(close_key(handle), 6u);
    EXPECT_EQ(entries().KvIRegSaveKey(handle, win(u"/nowhere").data(), nullptr, nullptr), 6u);
  }
}

TEST_F(Handle, ThatIsClosedIs6Everywhere) {
  const HKEY key = made(u"k");
  EXPECT_EQ(close_key(key), 0u);
  for (const Operation& operation : operations()) EXPECT_EQ(operation.call(key), 6u) << operation.name;
  EXPECT_EQ(close_key(key), 6u);
}

TEST_F(Handle, OfAClosedKeyLeavesTheOthersOfThatKeyOpen) {
  const HKEY first = made(u"k"), second = made(u"k");
  close_key(first);
  EXPECT_EQ(set_value(second, u"v", REG_BINARY, "x"), 0u);
}

TEST_F(Right, AllowsExactlyWhatAsksForIt) {
  const HKEY all = made(u"k");
  constexpr DWORD rights[] = {0,          KEY_QUERY_VALUE, KEY_SET_VALUE, KEY_CREATE_SUB_KEY, KEY_ENUMERATE_SUB_KEYS,
                              KEY_NOTIFY, KEY_CREATE_LINK, DELETE};
  for (DWORD granted : rights) {
    HKEY key = nullptr;
    ASSERT_EQ(open_key(base, u"k", &key, granted), 0u);
    for (const Operation& operation : operations()) {
      set_value(all, u"v", REG_BINARY, "x");
      close_key(made(u"k\\old"));
      delete_key(all, u"new");
      const bool allowed = (granted & operation.right) == operation.right;
      EXPECT_EQ(operation.call(key), allowed ? 0u : 5u) << operation.name << " with " << granted;
    }
    close_key(key);
  }
}

TEST_F(Right, OfReadingAndWritingIsMadeOfTheirParts) {
  HKEY reader = nullptr, writer = nullptr;
  ASSERT_EQ(open_key(base, u"", &reader, GENERIC_READ), 0u);
  ASSERT_EQ(open_key(base, u"", &writer, GENERIC_WRITE), 0u);
  EXPECT_EQ(set_value(writer, u"v", REG_BINARY, "x"), 0u);
  EXPECT_EQ(create_new(writer), 0u);
  EXPECT_EQ(query_value(writer), 5u);
  EXPECT_EQ(query_value(reader), 0u);
  EXPECT_EQ(sub_key(reader, 0).code, 0u);
  EXPECT_EQ(set_value(reader, u"v", REG_BINARY, "x"), 5u);
}

TEST_F(Right, MaximumAllowedIsEveryRight) {
  HKEY key = nullptr;
  ASSERT_EQ(open_key(base, u"", &key, MAXIMUM_ALLOWED), 0u);
  EXPECT_EQ(set_value(key, u"v", REG_BINARY, "x"), 0u);
  EXPECT_EQ(query_value(key), 0u);
  EXPECT_EQ(create_new(key), 0u);
}

TEST_F(Right, OfAViewChangesNothing) {
  HKEY key = nullptr;
  ASSERT_EQ(open_key(base, u"", &key, KEY_READ | KEY_WOW64_64KEY), 0u);
  EXPECT_EQ(query_info(key), 0u);
  ASSERT_EQ(open_key(base, u"", &key, KEY_WOW64_32KEY), 0u);
  EXPECT_EQ(query_info(key), 5u);
}

TEST_F(Right, OfTheNewHandleIsWhatWasAskedNotWhatTheOldOneHad) {
  HKEY reader = nullptr, writer = nullptr;
  ASSERT_EQ(open_key(base, u"", &reader, KEY_READ), 0u);
  ASSERT_EQ(open_key(reader, u"", &writer, KEY_SET_VALUE), 0u);
  EXPECT_EQ(set_value(writer, u"v", REG_BINARY, "x"), 0u);
}

}  // namespace
