// The Unix rights of keys over the store.
#include <unistd.h>

#include "tests/impl/module.h"

namespace {

using namespace kvtest;

class Rights : public Store_Test {};

struct Described {
  DWORD code = 0;
  unsigned mode = 0, owner = 0, group = 0;
};

Described describe(HKEY key, std::u16string_view path) {
  Described result;
  result.code =
      entries().KvIRegUxDescribeKey(key, win(path).data(), &result.mode, &result.owner, &result.group, nullptr);
  return result;
}

TEST_F(Rights, OfANewKeyAreItsMakers) {
  made(u"k");
  const Described described = describe(base, u"k");
  EXPECT_EQ(described.code, 0u);
  EXPECT_EQ(described.owner, geteuid());
}

TEST_F(Rights, AreChangedOneByOneAtAPathOrAtTheKeyItself) {
  const HKEY key = made(u"a\\b");
  EXPECT_EQ(entries().KvIRegUxChmod(base, win(u"A\\B").data(), 0640, nullptr), 0u);
  EXPECT_EQ(entries().KvIRegUxChown(key, nullptr, geteuid(), nullptr), 0u);
  EXPECT_EQ(entries().KvIRegUxChgrp(key, win(u"").data(), getegid(), nullptr), 0u);
  const Described described = describe(base, u"a\\b");
  EXPECT_EQ(described.mode, 0640u);
  EXPECT_EQ(described.owner, geteuid());
  EXPECT_EQ(described.group, getegid());
}

TEST_F(Rights, OfAMissingKeyAre2) {
  EXPECT_EQ(describe(base, u"missing").code, 2u);
  EXPECT_EQ(entries().KvIRegUxChmod(base, win(u"missing").data(), 0640, nullptr), 2u);
}

TEST_F(Rights, ModeBeyondThePermissionBitsIs87) {
  const unsigned before = describe(base, u"").mode;
  EXPECT_EQ(entries().KvIRegUxChmod(base, nullptr, 0100644, nullptr), 87u);
  EXPECT_EQ(describe(base, u"").mode, before);
}

}  // namespace
