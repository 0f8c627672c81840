// Notifications between processes by way of a real server.
#include <kelvane/notify.h>

#include "tests/client/served.h"
#include "tests/support/side_process.h"

namespace {

using namespace kvtest;

// Says each notification: its kind as a digit, then its first byte, '.' for none.
class Saying : public NotifOp {
 public:
  explicit Saying(const Talk& talk) : talk_(talk) {}
  int operator()(int, int kind, char* data, int length) override {
    talk_.say(static_cast<char>('0' + kind));
    talk_.say(length > 0 ? *data : '.');
    return 0;
  }

 private:
  Talk talk_;
};

class Notified : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(server.start()); }
  impl::client::Client_Service& new_client() { return new_service(settings_for(server.endpoint())); }
  // Asks for what its words say: 'a' kind 0 and 'b' kind 1 of the target, 'A' takes the first back; 'e' ends.
  int ask(const Talk& talk, int target) {
    Saying handler(talk);
    KvRegisterNotificationHandler(0, &handler);
    KvRegisterNotificationHandler(1, &handler);
    impl::client::Client_Service& service = new_client();
    for (char word = talk.hear(); word != 'e' && word != 0; word = talk.hear()) {
      const bool done = service.request_notification(target, word == 'b' ? 1 : 0, word != 'A');
      talk.say(done ? 'y' : 'n');
    }
    service.end_notifications();
    fflush(nullptr);
    _exit(0);
  }

  Temp_Folder folder;
  Test_Server server{folder.path()};
};

TEST_F(Notified, WhoAsksIsToldOnceWithTheData) {
  Side_Process asker([&, self = getpid()](const Talk& talk) { return ask(talk, self); });
  impl::client::Client_Service& service = new_client();
  EXPECT_TRUE(service.report_notification(0, "early", 5));
  asker.say('a');
  ASSERT_EQ(asker.hear(), 'y');
  EXPECT_TRUE(service.report_notification(1, "other kind", 10));
  EXPECT_TRUE(service.report_notification(0, "data", 4));
  EXPECT_EQ(asker.hear(), '0');
  EXPECT_EQ(asker.hear(), 'd');
  EXPECT_TRUE(service.report_notification(0, "again", 5));
  asker.say('b');
  ASSERT_EQ(asker.hear(), 'y');
  EXPECT_TRUE(service.report_notification(1, nullptr, 0));
  EXPECT_EQ(asker.hear(), '1');
  EXPECT_EQ(asker.hear(), '.');
  asker.say('e');
  EXPECT_EQ(asker.status(), 0);
}

TEST_F(Notified, ARequestThatWasTakenBackIsNotAnswered) {
  Side_Process asker([&, self = getpid()](const Talk& talk) { return ask(talk, self); });
  for (const char word : {'a', 'A', 'b'}) {
    asker.say(word);
    ASSERT_EQ(asker.hear(), 'y');
  }
  impl::client::Client_Service& service = new_client();
  EXPECT_TRUE(service.report_notification(0, "none", 4));
  EXPECT_TRUE(service.report_notification(1, "one", 3));
  EXPECT_EQ(asker.hear(), '1');
  EXPECT_EQ(asker.hear(), 'o');
  asker.say('e');
  EXPECT_EQ(asker.status(), 0);
}

TEST_F(Notified, AStandingAnswerComesAtOnce) {
  impl::client::Client_Service& service = new_client();
  EXPECT_TRUE(service.report_notification_always(0, true));
  Side_Process asker([&, self = getpid()](const Talk& talk) { return ask(talk, self); });
  asker.say('a');
  // The answer may come before the request is told to be made.
  std::string heard;
  for (int i = 0; i < 3; ++i) heard += asker.hear();
  EXPECT_TRUE(heard == "y0." || heard == "0y." || heard == "0.y") << heard;
  asker.say('e');
  EXPECT_EQ(asker.status(), 0);
  EXPECT_TRUE(service.report_notification_always(0, false));
}

TEST_F(Notified, RequestsOutliveARestartOfTheServer) {
  Side_Process asker([&, self = getpid()](const Talk& talk) { return ask(talk, self); });
  asker.say('a');
  ASSERT_EQ(asker.hear(), 'y');
  server.end_by(SIGKILL);
  ASSERT_TRUE(server.start());
  impl::client::Client_Service& service = new_client();
  // Until the asker has asked the new server, nobody hears a report.
  while (!asker.talk().has_word()) service.report_notification(0, "later", 5);
  EXPECT_EQ(asker.hear(), '0');
  EXPECT_EQ(asker.hear(), 'l');
  asker.say('e');
  EXPECT_EQ(asker.status(), 0);
}

TEST_F(Notified, WhatIsNoKindNoProcessOrNoDataIsRefused) {
  impl::client::Client_Service& service = new_client();
  EXPECT_FALSE(service.request_notification(getpid(), 2, true));
  EXPECT_FALSE(service.request_notification(0, 0, true));
  EXPECT_FALSE(service.request_notification(0x7FFFFFFF, 0, true));
  EXPECT_FALSE(service.report_notification(-1, nullptr, 0));
  EXPECT_FALSE(service.report_notification(0, nullptr, 1));
  EXPECT_FALSE(service.report_notification(0, "x", -1));
  EXPECT_FALSE(service.report_notification_always(2, true));
}

}  // namespace
