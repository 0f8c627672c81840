// Keys and values over a connection.
#include <winerror.h>

#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);

TEST(Session, ComesBeforeAnyOtherCall) {
  Served served;
  Client client(served.address());
  EXPECT_EQ(open(client, machine, u"").error, "com.kelvane.Error.NoSession");
  EXPECT_EQ(client.begin()->code, 0u);
  EXPECT_EQ(open(client, machine, u"")->code, 0u);
}

TEST(Session, OfAnotherVersionIsRefused) {
  Served served;
  Client client(served.address());
  EXPECT_EQ(client.ask<wire::Begin_Session>({.version = 2}).error, "com.kelvane.Error.UnsupportedVersion");
}

TEST(Session, IsBegunOnceOnAConnection) {
  Served served;
  Client client(served.address());
  EXPECT_EQ(client.begin()->code, 0u);
  EXPECT_EQ(client.begin()->code, 87u);
}

TEST(Session, IsSharedByConnections) {
  Served served;
  Client first(served.address());
  const auto begun = first.begin();
  ASSERT_EQ(begun->session.size(), 16u);
  Client second(served.address());
  ASSERT_EQ(second.begin(begun->session)->code, 0u);
  const auto made = create(first, machine, u"Shared");
  ASSERT_EQ(made->code, 0u);
  EXPECT_EQ(set(second, made->handle, u"v", "abc"), 0u);
  EXPECT_EQ(string_of(query(first, made->handle, u"v")->data), "abc");
}

TEST(Session, ThatIsUnknownIsRefused) {
  Served served;
  Client client(served.address());
  EXPECT_EQ(client.begin(bytes("0123456789abcdef"))->code, 5u);
  EXPECT_EQ(client.begin(bytes("short"))->code, 5u);
}

class Keys : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(client.begin()->code, 0u); }

  Served served;
  Client client{served.address()};
};

TEST_F(Keys, AreMadeAndOpenedAndTellWhetherTheyWereMade) {
  const auto made = create(client, machine, u"Software\\Some\\Deep");
  ASSERT_EQ(made->code, 0u);
  EXPECT_EQ(made->created, 1u);
  EXPECT_EQ(made->id.size(), 24u);
  const auto again = create(client, machine, u"Software\\Some\\Deep");
  EXPECT_EQ(again->created, 0u);
  EXPECT_EQ(string_of(again->id), string_of(made->id));
  EXPECT_EQ(string_of(open(client, machine, u"SOFTWARE\\some\\deep")->id), string_of(made->id));
}

TEST_F(Keys, ThatAreMissingAreNotFound) {
  const auto opened = open(client, machine, u"Nowhere");
  EXPECT_EQ(opened->code, 2u);
  EXPECT_EQ(opened->handle, 0u);
  EXPECT_TRUE(opened->id.empty());
}

TEST_F(Keys, OfAForeignHandleAreInvalid) {
  EXPECT_EQ(open(client, 12345, u"")->code, 6u);
  EXPECT_EQ(open(client, 0x80001234u, u"")->code, 6u);
}

TEST_F(Keys, AreClosedOnce) {
  const auto made = create(client, machine, u"Closed");
  EXPECT_EQ(close_key(client, made->handle), 0u);
  EXPECT_EQ(close_key(client, made->handle), 6u);
  EXPECT_EQ(set(client, made->handle, u"v", "x"), 6u);
  EXPECT_EQ(close_key(client, machine), 0u);
}

TEST_F(Keys, GetAnotherHandleEachTime) {
  const auto first = create(client, machine, u"Handles");
  close_key(client, first->handle);
  EXPECT_NE(open(client, machine, u"Handles")->handle, first->handle);
}

TEST_F(Keys, OfOneNameMadeLaterHaveAnotherId) {
  const auto first = create(client, machine, u"Twice");
  EXPECT_EQ(remove_key(client, machine, u"Twice"), 0u);
  const auto second = create(client, machine, u"Twice");
  EXPECT_NE(string_of(second->id), string_of(first->id));
  EXPECT_EQ(set(client, first->handle, u"v", "x"), 1018u);
}

TEST_F(Keys, AreOpenedAgainOnlyWhenTheyAreTheSame) {
  const auto made = create(client, machine, u"Again");
  const std::string id = string_of(made->id);
  const auto again =
      client.ask<wire::Reopen_Key>({.root = machine, .path = text(u"Again"), .access = KEY_READ, .id = bytes(id)});
  EXPECT_EQ(again->code, 0u);
  EXPECT_NE(again->handle, 0u);
  remove_key(client, machine, u"Again");
  const wire::Reopen_Key::Question asked{.root = machine, .path = text(u"Again"), .access = KEY_READ, .id = bytes(id)};
  EXPECT_EQ(client.ask<wire::Reopen_Key>(asked)->code, 1018u);
  create(client, machine, u"Again");
  EXPECT_EQ(client.ask<wire::Reopen_Key>(asked)->code, 1018u);
}

TEST_F(Keys, WithSubKeysAreNotRemoved) {
  create(client, machine, u"Parent\\Child");
  EXPECT_EQ(remove_key(client, machine, u"Parent"), 5u);
  EXPECT_EQ(remove_key(client, machine, u"Parent\\Child"), 0u);
  EXPECT_EQ(remove_key(client, machine, u"Parent"), 0u);
  EXPECT_EQ(remove_key(client, machine, u"Parent"), 2u);
}

TEST_F(Keys, TakeNamesThatAreNoText) {
  const std::u16string name = {u'a', u'\0', 0xd800, 0xffff};
  ASSERT_EQ(create(client, machine, name)->code, 0u);
  EXPECT_EQ(open(client, machine, name)->code, 0u);
  EXPECT_EQ(open(client, machine, u"a")->code, 2u);
}

TEST_F(Keys, DoWhatTheHandleWasOpenedFor) {
  const auto made = create(client, machine, u"Rights");
  const auto reading = open(client, machine, u"Rights", KEY_READ);
  EXPECT_EQ(set(client, reading->handle, u"v", "x"), 5u);
  EXPECT_EQ(create(client, reading->handle, u"Sub")->code, 5u);
  const auto writing = open(client, machine, u"Rights", KEY_SET_VALUE);
  EXPECT_EQ(set(client, writing->handle, u"v", "x"), 0u);
  EXPECT_EQ(query(client, writing->handle, u"v")->code, 5u);
}

TEST_F(Keys, KeepValues) {
  const auto made = create(client, machine, u"Values");
  EXPECT_EQ(set(client, made->handle, u"Name", "one", REG_SZ), 0u);
  EXPECT_EQ(set(client, made->handle, u"", ""), 0u);
  const auto found = query(client, made->handle, u"NAME");
  EXPECT_EQ(found->code, 0u);
  EXPECT_EQ(found->type, 1u);
  EXPECT_EQ(found->size, 3u);
  EXPECT_EQ(string_of(found->data), "one");
  EXPECT_EQ(query(client, made->handle, u"")->size, 0u);
  EXPECT_EQ(query(client, made->handle, u"none")->code, 2u);
  EXPECT_EQ(client.ask<wire::Delete_Value>({.key = made->handle, .name = text(u"name")})->code, 0u);
  EXPECT_EQ(query(client, made->handle, u"Name")->code, 2u);
}

TEST_F(Keys, TellTypeAndSizeOfAValueThatTheAskerHasNoRoomFor) {
  const auto made = create(client, machine, u"Room");
  set(client, made->handle, u"v", "12345678", REG_QWORD);
  const auto found = query(client, made->handle, u"v", 7);
  EXPECT_EQ(found->code, 234u);
  EXPECT_EQ(found->type, 11u);
  EXPECT_EQ(found->size, 8u);
  EXPECT_TRUE(found->data.empty());
  EXPECT_EQ(query(client, made->handle, u"v", 8)->code, 0u);
}

}  // namespace
