// The form of a record, for messages of every length.
#include "log/record.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/log/log_test.h"

namespace kvtest {
namespace {

const SYSTEMTIME early = {2031, 2, 0, 3, 4, 5, 6, 7};

int write_to(FILE* stream, const SYSTEMTIME& time, int number, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

int write_to(FILE* stream, const SYSTEMTIME& time, int number, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int error = write_record(stream, time, number, format, arguments);
  va_end(arguments);
  return error;
}

// A stream that counts what it is given.
class Counted_Stream {
 public:
  Counted_Stream() : stream_(fopencookie(this, "w", {nullptr, &take, nullptr, nullptr})) { setbuf(stream_, nullptr); }
  ~Counted_Stream() { fclose(stream_); }

  FILE* stream() { return stream_; }
  std::string text;
  int writes = 0;

 private:
  static ssize_t take(void* self, const char* bytes, size_t size) {
    static_cast<Counted_Stream*>(self)->text.append(bytes, size);
    ++static_cast<Counted_Stream*>(self)->writes;
    return static_cast<ssize_t>(size);
  }
  FILE* stream_;
};

// QUIRK log-day-first
TEST(Record, TheDayComesFirstAndEveryFieldHasTwoDigits) {
  Counted_Stream out;
  EXPECT_EQ(write_to(out.stream(), early, 12, "m"), 0);
  EXPECT_EQ(out.text, "03/02 04:05:06  [# 12] ->\nm\n");
}

TEST(Record, TheLastSecondOfAYearAndTheLastNumber) {
  Counted_Stream out;
  write_to(out.stream(), {2031, 12, 0, 31, 23, 59, 59, 999}, 2147483647, "m");
  EXPECT_EQ(out.text, "31/12 23:59:59  [# 2147483647] ->\nm\n");
}

TEST(Record, MessagesOfEveryLengthAroundTheBuffersAreWhole) {
  for (int length = 0; length < 1100; ++length) {
    const std::string message(static_cast<size_t>(length), 'm');
    Counted_Stream ended;
    Counted_Stream unended;
    write_to(ended.stream(), early, 1, "%s\n", message.c_str());
    write_to(unended.stream(), early, 1, "%s", message.c_str());
    const std::string expected = "03/02 04:05:06  [# 1] ->\n" + message + "\n";
    ASSERT_EQ(ended.text, expected) << length;
    ASSERT_EQ(unended.text, expected) << length;
  }
}

TEST(Record, ArgumentsOfALongMessageAreReadAgain) {
  Counted_Stream out;
  const std::string text(5000, 't');
  write_to(out.stream(), early, 1, "%d %s %.1f %s\n", 7, text.c_str(), 2.5, "end");
  EXPECT_EQ(out.text, "03/02 04:05:06  [# 1] ->\n7 " + text + " 2.5 end\n");
}

TEST(Record, AnEmptyFormatIsAnEmptyLine) {
  Counted_Stream out;
  const std::string empty;
  write_to(out.stream(), early, 1, empty.c_str(), 0);
  EXPECT_EQ(out.text, "03/02 04:05:06  [# 1] ->\n\n");
}

TEST(Record, AShortOneIsASingleWrite) {
  Counted_Stream out;
  write_to(out.stream(), early, 1, "%s", "message");
  EXPECT_EQ(out.writes, 1);
}

TEST(Record, AMessageThatCannotBeFormattedLeavesTheHeader) {
  Counted_Stream out;
  const wchar_t no_character[] = {static_cast<wchar_t>(0x7fffffff), 0};
  EXPECT_EQ(write_to(out.stream(), early, 1, "%ls", no_character), EILSEQ);
  EXPECT_EQ(out.text, "03/02 04:05:06  [# 1] ->\n");
}

TEST(Record, AFullDiskIsToldForShortAndLongMessages) {
  FILE* full = fopen("/dev/full", "w");
  setbuf(full, nullptr);
  EXPECT_EQ(write_to(full, early, 1, "m"), ENOSPC);
  EXPECT_EQ(write_to(full, early, 1, "%s", std::string(5000, 'm').c_str()), ENOSPC);
  fclose(full);
}

TEST(Record, AFullDiskBehindABufferIsToldByTheFlush) {
  FILE* full = fopen("/dev/full", "w");
  EXPECT_EQ(write_to(full, early, 1, "m"), ENOSPC);
  fclose(full);
}

TEST(Record, AnErrorFromBeforeDoesNotCount) {
  Counted_Stream out;
  errno = ENOSPC;
  EXPECT_EQ(write_to(out.stream(), early, 1, "m"), 0);
}

TEST(RecordHeader, IsRecognisedBySixFields) {
  EXPECT_TRUE(is_record_header("03/02 04:05:06  [# 12] ->\n"));
  EXPECT_FALSE(is_record_header("3/02 04:05:06  [# 12] ->\n"));
  for (const char* line : {"", "\n", "03/02 04:05:06\n", "03/02 04:05:06  [# x] ->\n", "text 03/02 04:05:06  [# 1] ->"})
    EXPECT_FALSE(is_record_header(line)) << line;
}

}  // namespace
}  // namespace kvtest
