// What the recursive forms ask on their way, argument by argument, and names of administration fronts.
#include <kelvane/registry_admin.h>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

class Walk_Calls : public Fronts {
 protected:
  // The key that is opened next has this many sub-keys, as it tells.
  void expect_key(HKEY handle, DWORD sub_keys) {
    recording.script("KvIRegOpenKeyEx", answer_key(handle));
    recording.script("KvIRegQueryInfoKey", [sub_keys](const Call& call) {
      call.store("out_sub_keys", sub_keys);
      call.store<DWORD>("out_max_sub_key_count", 3);
      return 0;
    });
  }
  void expect_name(const char* units) {
    recording.script("KvIRegEnumKeyEx", [bytes = std::string(units, 4)](const Call& call) {
      call.store<DWORD>("name_count", 1);
      call.write("name", bytes);
      return 0;
    });
  }
};

TEST_F(Walk_Calls, AskForTheCountAndTheLongestNameOnly) {
  expect_key(key_of(77), 0);
  EXPECT_EQ(RegUxChmodRec(key, "s", 0700), 0);
  ASSERT_EQ(entries(), "KvIRegUxChmod KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegCloseKey ");
  EXPECT_EQ(call(1).raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call(1)["sub_key"].text, u"s");
  EXPECT_EQ(call(1).raw("options"), 0u);
  EXPECT_EQ(call(1).raw("access"), 0x20019u);
  for (const auto& argument : call(2).arguments) {
    const bool is_asked =
        argument.name == "key" || argument.name == "out_sub_keys" || argument.name == "out_max_sub_key_count";
    EXPECT_EQ(argument.raw != 0, is_asked) << argument.name;
  }
  EXPECT_EQ(call(2).raw("key"), 77u);
  EXPECT_EQ(call(3).raw("key"), 77u);
}

TEST_F(Walk_Calls, EnumerateTheNameAloneByItsIndex) {
  expect_key(key_of(77), 2);
  expect_name("\0a\0");
  expect_key(key_of(78), 0);
  expect_name("\0b\0");
  expect_key(key_of(79), 0);
  EXPECT_EQ(RegUxChownRec(key, "s", 1000), 0);
  const std::string child = "KvIRegEnumKeyEx KvIRegUxChown KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegCloseKey ";
  ASSERT_EQ(entries(), "KvIRegUxChown KvIRegOpenKeyEx KvIRegQueryInfoKey " + child + child + "KvIRegCloseKey ");
  for (std::size_t at : {3u, 8u}) {
    EXPECT_EQ(call(at).raw("key"), 77u);
    EXPECT_EQ(call(at).raw("index"), at == 3 ? 0u : 1u);
    EXPECT_EQ(call(at)["name_count"].count, 5u);
    for (const char* null : {"reserved", "class_name", "class_count", "out_last_write_time", "null"})
      EXPECT_EQ(call(at).raw(null), 0u) << null;
  }
  EXPECT_EQ(call(9).raw("key"), 77u);
  EXPECT_EQ(call(9)["sub_key"].text, u"b");
  EXPECT_EQ(call(9).raw("owner"), 1000u);
  EXPECT_EQ(call(12).raw("key"), 79u);
  EXPECT_EQ(call(13).raw("key"), 77u);
}

// A second sub-key would be there; the count was read before.
TEST_F(Walk_Calls, VisitAsManySubKeysAsWereCountedAtFirst) {
  expect_key(key_of(77), 1);
  expect_name("\0a\0");
  expect_key(key_of(78), 0);
  EXPECT_EQ(RegUxChgrpRec(key, "s", 1000), 0);
  EXPECT_EQ(entries(),
            "KvIRegUxChgrp KvIRegOpenKeyEx KvIRegQueryInfoKey KvIRegEnumKeyEx KvIRegUxChgrp KvIRegOpenKeyEx "
            "KvIRegQueryInfoKey KvIRegCloseKey KvIRegCloseKey ");
}

TEST_F(Walk_Calls, TheFailureOfAnOwnerOrAGroupEndsTheWalkAsWell) {
  recording.script("KvIRegUxChown", answer(5));
  recording.script("KvIRegUxChgrp", answer(1314));
  EXPECT_EQ(RegUxChownRec(key, "s", 1), 5);
  EXPECT_EQ(RegUxChgrpRec(key, "s", 1), 1314);
  EXPECT_EQ(entries(), "KvIRegUxChown KvIRegUxChgrp ");
}

TEST_F(Walk_Calls, DescribeKeyTakesANullOrEmptyName) {
  EXPECT_EQ(RegUxDescribeKey(key, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(RegUxDescribeKey(key, "", nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(call(0).raw("sub_key"), 0u);
  EXPECT_TRUE(call(1)["sub_key"].has_text);
  EXPECT_EQ(call(1)["sub_key"].text, u"");
}

}  // namespace
}  // namespace kvtest
