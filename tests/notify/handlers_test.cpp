// Handlers of notifications, and what the functions hand on to the implementation.
#include "tests/notify/notifications.h"

namespace kvtest {
namespace {

// Notes what it is called with.
class Noting_Handler : public NotifOp {
 public:
  int operator()(int pid, int kind, char* data, int length) override {
    calls += std::to_string(pid) + " " + std::to_string(kind) + " " +
             (data == nullptr ? "null" : std::string(data, static_cast<std::size_t>(length))) + " " +
             std::to_string(length) + ";";
    return result;
  }

  std::string calls;
  int result = 0;
};

class Handlers : public Notifications {
 protected:
  ~Handlers() override {
    KvRegisterNotificationHandler(0, nullptr);
    KvRegisterNotificationHandler(1, nullptr);
  }
  Noting_Handler first, second;
};

TEST_F(Handlers, AreCalledByTheirKindWithWhatIsDelivered) {
  EXPECT_EQ(KvRegisterNotificationHandler(0, &first), 1);
  EXPECT_EQ(KvRegisterNotificationHandler(1, &second), 1);
  char data[] = "text";
  first.result = -5;
  second.result = 0x7FFFFFFF;
  EXPECT_EQ(KvNotification(17, 0, data, 4), -5);
  EXPECT_EQ(KvNotification(-1, 1, nullptr, -3), 0x7FFFFFFF);
  EXPECT_EQ(first.calls, "17 0 text 4;");
  EXPECT_EQ(second.calls, "-1 1 null -3;");
  EXPECT_EQ(written_calls(), "");
}

TEST_F(Handlers, ReplaceTheFormerOneOfTheirKind) {
  KvRegisterNotificationHandler(0, &first);
  EXPECT_EQ(KvRegisterNotificationHandler(0, &second), 1);
  KvNotification(1, 0, nullptr, 0);
  EXPECT_EQ(first.calls, "");
  EXPECT_EQ(second.calls, "1 0 null 0;");
}

TEST_F(Handlers, HaveTheirCallBehindTheTwoDestructors) {
  using Call = int (*)(NotifOp*, int, int, char*, int);
  void** const functions = *reinterpret_cast<void***>(static_cast<NotifOp*>(&first));
  first.result = 6;
  EXPECT_EQ(reinterpret_cast<Call>(functions[2])(&first, 3, 4, nullptr, 0), 6);
  EXPECT_EQ(first.calls, "3 4 null 0;");
  EXPECT_EQ(sizeof(NotifOp), sizeof(void*));
}

TEST_F(Notifications, AreRequestedThroughTheImplementationWhateverItAnswers) {
  answer("KvIRequestNotification", 0);
  EXPECT_EQ(KvRequestNotification(1234, 1, -7), 1);
  answer("KvIRequestNotification", -9);
  EXPECT_EQ(KvRequestNotification(-1, 55, 0), 1);
  EXPECT_EQ(written_calls(), "KvIRequestNotification 1234 1 -7; KvIRequestNotification -1 55 0");
}

TEST_F(Notifications, AreReportedWithTheImplementationsAnswer) {
  answer("KvIReportNotification", -9);
  EXPECT_EQ(KvReportNotification(1, reinterpret_cast<char*>(4096), 12), -9);
  answer("KvIReportNotification", 4);
  EXPECT_EQ(KvReportNotification(-2, nullptr, -1), 4);
  EXPECT_EQ(written_calls(), "KvIReportNotification 1 4096 12; KvIReportNotification -2 0 -1");
}

TEST_F(Notifications, AreReportedOnTheirOwnWhateverTheImplementationAnswers) {
  answer("KvIAutoReportNotification", 0);
  EXPECT_EQ(KvAutoReportNotification(1, -1), 1);
  EXPECT_EQ(written_calls(), "KvIAutoReportNotification 1 -1");
}

}  // namespace
}  // namespace kvtest
