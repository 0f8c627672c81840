// The entries of notifications: what they hand to the service.
#include <climits>

#include "tests/impl/scripted_service.h"

namespace {

using namespace kvtest;

class NotificationEntries : public Entries_Test {};

TEST_F(NotificationEntries, HandOnTheirArgumentsAndAnswer1) {
  char data[] = "D";
  EXPECT_EQ(KvIRequestNotification(5, 1, -7), 1);
  EXPECT_EQ(KvIRequestNotification(-6, 0, 0), 1);
  EXPECT_EQ(KvIReportNotification(1, data, 77), 1);
  EXPECT_EQ(KvIReportNotification(0, nullptr, 0), 1);
  EXPECT_EQ(KvIAutoReportNotification(1, 2), 1);
  EXPECT_EQ(KvIAutoReportNotification(0, 0), 1);
  EXPECT_EQ(scripted.notifications,
            "request 5 1 1;request -6 0 0;report 1 68 77;report 0 -1 0;always 1 1 0;always 0 0 0;");
}

TEST_F(NotificationEntries, Answer0WhenNothingWasDone) {
  scripted.code = 5;
  EXPECT_EQ(KvIRequestNotification(5, 1, 1), 0);
  EXPECT_EQ(KvIReportNotification(0, nullptr, 0), 0);
  EXPECT_EQ(KvIAutoReportNotification(1, 1), 0);
}

TEST_F(NotificationEntries, Answer0WithoutMemory) {
  scripted.no_memory = true;
  EXPECT_EQ(KvIRequestNotification(5, 1, 1), 0);
  EXPECT_EQ(KvIReportNotification(0, nullptr, 0), 0);
  EXPECT_EQ(KvIAutoReportNotification(1, 1), 0);
}

TEST_F(NotificationEntries, EndWithTheProcess) {
  BYTE* image = nullptr;
  int size = INT_MAX;
  EXPECT_EQ(KvIRegProcessEnding(&image, &size, 0), 0u);
  EXPECT_EQ(scripted.notifications, "end 0 0 0;");
}

}  // namespace
