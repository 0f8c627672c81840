// What is answered later: watches, notifications; and the list of clients and the end of the server.
#include <winerror.h>

#include "tests/server/served.h"

namespace {

using namespace servertest;

const wire::Number machine = number(HKEY_LOCAL_MACHINE);

class Watches : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(client.begin()->code, 0u);
    ASSERT_EQ(other.begin()->code, 0u);
    key = create(client, machine, u"Watched")->handle;
    others_key = create(other, machine, u"Watched")->handle;
  }
  void watch(wire::Number subtree, wire::Number filter) {
    client.send<wire::Watch_Key>({.key = key, .subtree = subtree, .filter = filter});
    client.ask<wire::List_Connected>({});  // behind it: the watch stands
  }

  Served served;
  Client client{served.address()};
  Client other{served.address()};
  wire::Number key = 0;
  wire::Number others_key = 0;
};

TEST_F(Watches, AreAnsweredWhenAnotherClientChangesTheKey) {
  watch(0, REG_NOTIFY_CHANGE_LAST_SET);
  set(other, others_key, u"v", "x");
  EXPECT_EQ(client.receive_answer<wire::Watch_Key>()->code, 0u);
}

TEST_F(Watches, OfASubtreeAreAnsweredForAKeyBelow) {
  create(other, others_key, u"Below");
  watch(1, REG_NOTIFY_CHANGE_LAST_SET);
  set(other, open(other, others_key, u"Below", KEY_WRITE)->handle, u"v", "x");
  EXPECT_EQ(client.receive_answer<wire::Watch_Key>()->code, 0u);
}

TEST_F(Watches, EndWithTheHandle) {
  watch(0, REG_NOTIFY_CHANGE_LAST_SET);
  const std::uint64_t closing = client.send<wire::Close_Key>({.key = key});
  std::uint64_t answered = 0;
  int answers = 0;
  for (; answers < 2; ++answers) ASSERT_GE(sd_bus_message_get_reply_cookie(client.receive().get(), &answered), 0);
  EXPECT_NE(closing, 0u);
}

TEST_F(Watches, NeedARightAndAFilter) {
  const auto writing = open(client, machine, u"Watched", KEY_SET_VALUE);
  const wire::Watch_Key::Question refused{.key = writing->handle, .filter = REG_NOTIFY_CHANGE_NAME};
  EXPECT_EQ(client.ask<wire::Watch_Key>(refused)->code, 5u);
  EXPECT_EQ(client.ask<wire::Watch_Key>({.key = key, .filter = 0})->code, 87u);
  const wire::Watch_Key::Question nothing{.key = number(HKEY_PERFORMANCE_DATA), .filter = REG_NOTIFY_CHANGE_NAME};
  EXPECT_EQ(client.ask<wire::Watch_Key>(nothing)->code, 6u);
}

const auto self = static_cast<wire::Number>(getpid());

TEST_F(Watches, ANotificationReachesWhoAskedForIt) {
  EXPECT_EQ(client.ask<wire::Request_Notification>({.process = self, .kind = 1, .on = 1})->code, 0u);
  client.send<wire::Await_Notification>({});
  client.ask<wire::List_Connected>({});
  EXPECT_EQ(other.ask<wire::Report_Notification>({.kind = 1, .data = bytes("news")})->code, 0u);
  const auto told = client.receive_answer<wire::Await_Notification>();
  EXPECT_EQ(told->process, self);
  EXPECT_EQ(told->kind, 1u);
  EXPECT_EQ(string_of(told->data), "news");
}

TEST_F(Watches, ANotificationWaitsForWhoAsksLater) {
  client.ask<wire::Request_Notification>({.process = self, .kind = 0, .on = 1});
  other.ask<wire::Report_Notification>({.kind = 0, .data = bytes("first")});
  other.ask<wire::Report_Notification>({.kind = 0, .data = bytes("nobody asked again")});
  EXPECT_EQ(string_of(client.ask<wire::Await_Notification>({})->data), "first");
}

TEST_F(Watches, ANotificationThatIsReportedAlwaysComesAtOnce) {
  EXPECT_EQ(other.ask<wire::Report_Always>({.kind = 0, .on = 1})->code, 0u);
  client.ask<wire::Request_Notification>({.process = self, .kind = 0, .on = 1});
  EXPECT_EQ(client.ask<wire::Await_Notification>({})->process, self);
}

TEST_F(Watches, NotificationsOfNoKindOrProcessAreRefused) {
  EXPECT_EQ(client.ask<wire::Request_Notification>({.process = self, .kind = 2, .on = 1})->code, 87u);
  EXPECT_EQ(client.ask<wire::Request_Notification>({.process = 0, .kind = 0, .on = 1})->code, 87u);
  EXPECT_EQ(client.ask<wire::Report_Notification>({.kind = 2})->code, 87u);
}

TEST(Clients, AreListedWithWhatTheSystemKnowsOfThem) {
  Served served;
  Client client(served.address());
  client.ask<wire::Begin_Session>(
      {.version = 1, .process = 99999, .program = bytes("/usr/bin/prog"), .host = bytes("here")});
  const auto listed = client.ask<wire::List_Connected>({});
  ASSERT_EQ(listed->clients.size(), 1u);
  EXPECT_EQ(listed->clients[0].process, self);
  EXPECT_EQ(listed->clients[0].user, geteuid());
  EXPECT_EQ(string_of(listed->clients[0].program), "/usr/bin/prog");
  EXPECT_EQ(string_of(listed->clients[0].host), "here");
  EXPECT_GT(listed->clients[0].since, 1'600'000'000u);
}

TEST(The_Server, EndsWhenItIsAskedTo) {
  Served served;
  Client client(served.address());
  client.begin();
  EXPECT_EQ(client.ask<wire::Shut_Down>({})->code, 0u);
  EXPECT_EQ(served.wait(), 0);
}

TEST(The_Server, EndsWhenItIsToldTo) {
  Served served;
  Client client(served.address());
  client.begin();
  set(client, create(client, machine, u"Kept")->handle, u"v", "x");
  EXPECT_EQ(served.stop(), 0);
  served.start();
  Client again(served.address());
  again.begin();
  EXPECT_EQ(string_of(query(again, open(again, machine, u"Kept")->handle, u"v")->data), "x");
}

TEST(The_Server, EndsByItselfWhenNobodyIsThere) {
  Served served(For::one_user, 1);
  {
    Client client(served.address());
    EXPECT_EQ(client.begin()->code, 0u);
  }
  EXPECT_EQ(served.wait(), 0);
}

}  // namespace
