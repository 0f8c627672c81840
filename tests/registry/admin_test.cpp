// The administration fronts that are one call of a slot each: what crosses the table.
#include <kelvane/registry_admin.h>

#include "tests/registry/fronts.h"

namespace kvtest {
namespace {

struct Rights_Front {
  const char* name;
  LSTATUS (*call)(HKEY, const char*, unsigned);
  const char* entry;
  const char* value_name;
};

inline void PrintTo(const Rights_Front& front, std::ostream* out) { *out << front.name; }

class Rights_Of_A_Key : public Fronts, public testing::WithParamInterface<Rights_Front> {};

INSTANTIATE_TEST_SUITE_P(All, Rights_Of_A_Key,
                         testing::Values(Rights_Front{"RegUxChmod", RegUxChmod, "KvIRegUxChmod", "mode"},
                                         Rights_Front{"RegUxChown", RegUxChown, "KvIRegUxChown", "owner"},
                                         Rights_Front{"RegUxChgrp", RegUxChgrp, "KvIRegUxChgrp", "group"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(Rights_Of_A_Key, HandsFourArgumentsOnWithTheNameConverted) {
  EXPECT_EQ(GetParam().call(key, "caf\xc3\xa9\\b", 0xFEDCBA98), 0);
  ASSERT_EQ(entries(), std::string(GetParam().entry) + " ");
  ASSERT_EQ(call().arguments.size(), 4u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"caf\u00e9\\b");
  EXPECT_EQ(call().raw(GetParam().value_name), 0xFEDCBA98u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_P(Rights_Of_A_Key, ANullNameStaysNullAndAnEmptyOneEmpty) {
  GetParam().call(key, nullptr, 1);
  GetParam().call(key, "", 1);
  EXPECT_EQ(call(0).raw("sub_key"), 0u);
  ASSERT_TRUE(call(1)["sub_key"].has_text);
  EXPECT_EQ(call(1)["sub_key"].text, u"");
}

TEST_P(Rights_Of_A_Key, ANameOf4095BytesWithNewlinesAndPercentSignsIsConvertedWhole) {
  std::string name;
  while (name.size() < 4095) name += "%s\n";
  GetParam().call(key, name.c_str(), 1);
  EXPECT_EQ(call()["sub_key"].text, std::u16string(name.begin(), name.end()));
}

TEST_P(Rights_Of_A_Key, PassesTheResultOn) {
  recording.script(GetParam().entry, answer(0xC0000022));
  EXPECT_EQ(GetParam().call(key, "s", 1), static_cast<LSTATUS>(0xC0000022));
}

class Administration : public Fronts {};

TEST_F(Administration, DescribeKeyHandsThreePointersOnUnchanged) {
  recording.script("KvIRegUxDescribeKey", answer(5));
  EXPECT_EQ(RegUxDescribeKey(key, "a\\b", unreadable<void>(0x8000000000000001), unreadable<void>(0x8000000000000002),
                             unreadable<void>(0x8000000000000003)),
            5);
  ASSERT_EQ(entries(), "KvIRegUxDescribeKey ");
  ASSERT_EQ(call().arguments.size(), 6u);
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["sub_key"].text, u"a\\b");
  EXPECT_EQ(call().raw("a"), 0x8000000000000001u);
  EXPECT_EQ(call().raw("b"), 0x8000000000000002u);
  EXPECT_EQ(call().raw("c"), 0x8000000000000003u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Administration, ShutDownHasNoArguments) {
  recording.script("KvIRegShutDown", answer(5));
  EXPECT_EQ(RegShutDown(), 5);
  ASSERT_EQ(entries(), "KvIRegShutDown ");
  EXPECT_EQ(call().arguments.size(), 0u);
}

TEST_F(Administration, BackupHandsTwoPointersOnAndAWideResultBack) {
  recording.script("KvIRegBackup", answer(0x8877665544332211));
  EXPECT_EQ(RegBackup(unreadable<const char>(0x8000000000000001), unreadable<void>(0x8000000000000002)),
            static_cast<INT_PTR>(0x8877665544332211));
  ASSERT_EQ(entries(), "KvIRegBackup ");
  ASSERT_EQ(call().arguments.size(), 2u);
  EXPECT_EQ(call().raw("path"), 0x8000000000000001u);
  EXPECT_EQ(call().raw("second"), 0x8000000000000002u);
}

TEST_F(Administration, GetHkcuHandsBufferAndSizeOn) {
  recording.script("KvIRegGetHKCU", [](const Call& call) {
    call.store<DWORD>("size", 700);
    return 234;
  });
  unsigned size = 16;
  EXPECT_EQ(RegGetHKCU(unreadable<unsigned char>(0x10), &size), 234);
  EXPECT_EQ(size, 700u);
  ASSERT_EQ(call().arguments.size(), 3u);
  EXPECT_EQ(call().raw("image"), 0x10u);
  EXPECT_EQ(call().raw("size"), number_of(&size));
  EXPECT_EQ(call()["size"].count, 16u);
  EXPECT_EQ(call().raw("null"), 0u);
}

TEST_F(Administration, ListConnectedForcesItsThirdArgumentToZero) {
  recording.script("KvIRegListConnected", answer(6));
  unsigned count = 3;
  // As a caller of more arguments than there are would call it.
  const auto with_four = reinterpret_cast<LSTATUS (*)(RegistryConnection*, unsigned*, INT_PTR, INT_PTR)>(
      reinterpret_cast<void*>(RegListConnected));
  EXPECT_EQ(with_four(unreadable<RegistryConnection>(0x10), &count, -1, -1), 6);
  ASSERT_EQ(entries(), "KvIRegListConnected ");
  ASSERT_EQ(call().arguments.size(), 3u);
  EXPECT_EQ(call().raw("list"), 0x10u);
  EXPECT_EQ(call().raw("count"), number_of(&count));
  EXPECT_EQ(call().raw("null"), 0u);
}

struct Six_Front {
  const char* name;
  INT_PTR (*call)(void*, void*, void*, void*, void*, void*);
  const char* entry;
};

inline void PrintTo(const Six_Front& front, std::ostream* out) { *out << front.name; }

class Six_Arguments : public Fronts, public testing::WithParamInterface<Six_Front> {};

INSTANTIATE_TEST_SUITE_P(All, Six_Arguments,
                         testing::Values(Six_Front{"RegUxGetLogSettings", RegUxGetLogSettings,
                                                   "KvIRegUxGetLogSettings"},
                                         Six_Front{"KvSetServiceData", KvSetServiceData, "KvISetServiceData"},
                                         Six_Front{"KvGetServiceData", KvGetServiceData, "KvIGetServiceData"}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(Six_Arguments, PassUnchangedAndSoDoesTheWideResult) {
  recording.script(GetParam().entry, answer(0x8877665544332211));
  EXPECT_EQ(GetParam().call(unreadable<void>(0x8000000000000001), unreadable<void>(0x8000000000000002),
                            unreadable<void>(0x8000000000000003), unreadable<void>(0x8000000000000004),
                            unreadable<void>(0x8000000000000005), unreadable<void>(0x8000000000000006)),
            static_cast<INT_PTR>(0x8877665544332211));
  ASSERT_EQ(entries(), std::string(GetParam().entry) + " ");
  ASSERT_EQ(call().arguments.size(), 6u);
  const char* const names[] = {"a", "b", "c", "d", "e", "f"};
  for (std::uint64_t i = 0; i < 6; ++i) EXPECT_EQ(call().raw(names[i]), 0x8000000000000001u + i);
}

}  // namespace
}  // namespace kvtest
