// Lists, facts, and values that are too long for a message.
#include <sys/mman.h>
#include <winerror.h>

#include "impl/wire/sealed_memory.h"
#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);

class Lists : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client.begin()->code, 0u);
    key = create(client, machine, u"Listed")->handle;
  }
  Answered<wire::Enumerate_Values> values(wire::Number index, wire::Number most, wire::Number room) {
    return client.ask<wire::Enumerate_Values>({.key = key, .index = index, .most = most, .room = room});
  }

  Served served;
  Client client{served.address()};
  wire::Number key = 0;
};

TEST_F(Lists, OfSubKeysGoOnFromAnIndex) {
  for (const auto* name : {u"c", u"a", u"b"}) {
    client.ask<wire::Create_Key>({.key = key, .path = text(name), .class_name = text(u"Kind"), .access = KEY_READ});
  }
  const auto two = client.ask<wire::Enumerate_Keys>({.key = key, .index = 0, .most = 2});
  ASSERT_EQ(two->code, 0u);
  ASSERT_EQ(two->keys.size(), 2u);
  EXPECT_EQ(units_of(two->keys[0].name), u"a");
  EXPECT_EQ(units_of(two->keys[1].name), u"b");
  EXPECT_EQ(units_of(two->keys[1].class_name), u"Kind");
  EXPECT_GT(two->keys[0].last_write_time, 130'000'000'000'000'000u);
  const auto rest = client.ask<wire::Enumerate_Keys>({.key = key, .index = 2, .most = 100});
  ASSERT_EQ(rest->keys.size(), 1u);
  EXPECT_EQ(units_of(rest->keys[0].name), u"c");
  EXPECT_EQ(client.ask<wire::Enumerate_Keys>({.key = key, .index = 3, .most = 1})->code, 259u);
  EXPECT_EQ(client.ask<wire::Enumerate_Keys>({.key = key, .index = 0, .most = 0})->keys.size(), 1u);
}

TEST_F(Lists, OfValuesCarryTheDataThatTheAskerHasRoomFor) {
  set(client, key, u"long", "123456");
  set(client, key, u"short", "12", REG_SZ);
  const auto listed = values(0, 10, 5);
  ASSERT_EQ(listed->values.size(), 2u);
  EXPECT_EQ(units_of(listed->values[0].name), u"long");
  EXPECT_EQ(listed->values[0].size, 6u);
  EXPECT_TRUE(listed->values[0].data.empty());
  EXPECT_EQ(listed->values[1].type, 1u);
  EXPECT_EQ(string_of(listed->values[1].data), "12");
  EXPECT_EQ(values(2, 10, 5)->code, 259u);
}

TEST_F(Lists, ThatAreLongComeInSeveralMessages) {
  for (int i = 0; i < 8; ++i)
    set(client, key, std::u16string(1, static_cast<char16_t>(u'a' + i)), std::string(90'000, 'x'));
  const auto first = values(0, 100, 100'000);
  ASSERT_EQ(first->values.size(), 3u);
  EXPECT_EQ(first->values[2].data.size(), 90'000u);
  EXPECT_EQ(values(3, 100, 100'000)->values.size(), 3u);
  EXPECT_EQ(values(6, 100, 100'000)->values.size(), 2u);
}

TEST_F(Lists, FactsTellCountsAndLengths) {
  create(client, key, u"SubKey");
  set(client, key, u"Value", "1234");
  const auto facts = client.ask<wire::Query_Info>({.key = key});
  EXPECT_EQ(facts->sub_keys, 1u);
  EXPECT_EQ(facts->max_sub_key_length, 6u);
  EXPECT_EQ(facts->values, 1u);
  EXPECT_EQ(facts->max_value_name_length, 5u);
  EXPECT_EQ(facts->max_value_size, 4u);
}

TEST_F(Lists, ValuesAboveOneMebibyteTravelInSealedMemory) {
  const std::string data(3'000'000, 'm');
  const wire::Unique_Fd file = wire::seal(bytes(data));
  EXPECT_EQ(
      client.ask<wire::Set_Value>({.key = key, .name = text(u"big"), .type = REG_BINARY, .memory = {file.get()}})->code,
      0u);
  const auto found = query(client, key, u"big", 3'000'000);
  ASSERT_EQ(found->code, 0u);
  EXPECT_EQ(found->size, 3'000'000u);
  EXPECT_TRUE(found->data.empty());
  const wire::Sealed_Bytes memory(found->memory.fd, 3'000'000);
  ASSERT_EQ(memory.error(), 0);
  EXPECT_EQ(string_of(memory.bytes()), data);
}

TEST_F(Lists, MemoryThatCanStillChangeIsRefused) {
  const wire::Unique_Fd open_file(memfd_create("open", MFD_ALLOW_SEALING));
  ASSERT_EQ(write(open_file.get(), "x", 1), 1);
  const wire::Unique_Fd device(::open("/dev/zero", O_RDONLY));
  for (const int fd : {open_file.get(), device.get()}) {
    EXPECT_EQ(client.ask<wire::Set_Value>({.key = key, .name = text(u"v"), .memory = {fd}})->code, 87u);
  }
  EXPECT_EQ(query(client, key, u"v")->code, 2u);
}

}  // namespace
