// What is handed to the system log.
#include "log/system_log.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include "tests/log/log_test.h"
#include "tests/log/system_log_double.h"

namespace kvtest {
namespace {

void hand_over(const char* format, ...) __attribute__((format(printf, 1, 2)));

void hand_over(const char* format, ...) {
  system_log().clear();
  va_list arguments;
  va_start(arguments, format);
  Write2Syslog(format, arguments);
  va_end(arguments);
}

TEST(SystemLog, GetsTheMessageBehindALineThatSaysWhy) {
  hand_over("%s %d\n", "text", 7);
  ASSERT_EQ(system_log().size(), 1u);
  EXPECT_EQ(system_log()[0].priority, LOG_ERR);
  EXPECT_EQ(system_log()[0].format, "KVX disk is full, logging passed to syslog.\n%s");
  EXPECT_EQ(system_log()[0].text, "KVX disk is full, logging passed to syslog.\ntext 7\n");
}

TEST(SystemLog, MessagesOfEveryLengthAroundTheBufferAreWhole) {
  for (const int length : {0, 1, 1021, 1022, 1023, 1024, 1025, 2047, 2048, 100000}) {
    const std::string message(static_cast<size_t>(length), 'm');
    hand_over("%s", message.c_str());
    EXPECT_EQ(system_log().at(0).text, "KVX disk is full, logging passed to syslog.\n" + message) << length;
  }
}

TEST(SystemLog, ArgumentsOfALongMessageAreReadTwice) {
  const std::string text(3000, 't');
  hand_over("%d %s %.1f %s", 7, text.c_str(), 2.5, "end");
  EXPECT_EQ(system_log().at(0).text, "KVX disk is full, logging passed to syslog.\n7 " + text + " 2.5 end");
}

TEST(SystemLog, PercentSignsInTheMessageStay) {
  hand_over("%s", "100%s %n %d");
  EXPECT_EQ(system_log().at(0).text, "KVX disk is full, logging passed to syslog.\n100%s %n %d");
}

TEST(SystemLog, AMessageThatCannotBeFormattedIsEmpty) {
  const wchar_t no_character[] = {static_cast<wchar_t>(0x7fffffff), 0};
  hand_over("%ls", no_character);
  EXPECT_EQ(system_log().at(0).text, "KVX disk is full, logging passed to syslog.\n");
}

}  // namespace
}  // namespace kvtest
