// Writing and recognising records. A short record leaves in one write, whatever the stream's buffering: so it
// also stays whole beside the records of other processes.

#include "log/record.h"

#include <cerrno>
#include <charconv>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr std::size_t short_record_size = 1024;

// QUIRK log-day-first: the day comes before the month, and there is no year.
constexpr char header_format[] = "%02d/%02d %02d:%02d:%02d  [# %d] ->";
constexpr int header_fields = 6;

bool ends_line(const char* format) {
  const std::size_t length = std::strlen(format);
  return length > 0 && format[length - 1] == '\n';
}

// 0, or errno of a write that just failed.
int error_unless(bool written) { return written ? 0 : errno; }

int write_text(FILE* stream, const char* text, std::size_t length) {
  return error_unless(std::fwrite(text, 1, length, stream) == length);
}

// Piece by piece behind the header: the message may have any length.
int write_long_message(FILE* stream, const char* format, va_list arguments) {
  const int error = error_unless(std::vfprintf(stream, format, arguments) >= 0);
  return error != 0 || ends_line(format) ? error : write_text(stream, "\n", 1);
}

void put_two_digits(char* place, int value) {
  place[0] = static_cast<char>('0' + value / 10);
  place[1] = static_cast<char>('0' + value % 10);
}

// The header as header_format describes it, with its newline; its length. Put together by hand: snprintf would
// take a sixth of the time of a whole record.
std::size_t format_header(char (&text)[short_record_size], const SYSTEMTIME& time, int number) {
  constexpr char start[] = "DD/MM HH:MM:SS  [# ";
  constexpr char end[] = "] ->\n";
  std::memcpy(text, start, sizeof start);
  const int fields[] = {time.wDay, time.wMonth, time.wHour, time.wMinute, time.wSecond};
  for (int i = 0; i < 5; ++i) put_two_digits(text + 3 * i, fields[i]);
  char* const behind = std::to_chars(text + sizeof start - 1, text + sizeof text, number).ptr;
  std::memcpy(behind, end, sizeof end);
  return static_cast<std::size_t>(behind - text) + sizeof end - 1;
}

// The message behind the header in text, when it fits with its newline: the record's length, else 0.
std::size_t complete_record(char (&text)[short_record_size], std::size_t header, const char* format,
                            va_list arguments) {
  const int message = std::vsnprintf(text + header, sizeof text - header, format, arguments);
  if (message < 0 || static_cast<std::size_t>(message) >= sizeof text - header) return 0;
  std::size_t length = header + static_cast<std::size_t>(message);
  if (!ends_line(format)) text[length++] = '\n';
  return length;
}

}  // namespace

int write_record(FILE* stream, const SYSTEMTIME& time, int number, const char* format, va_list arguments) {
  char text[short_record_size];
  const std::size_t header = format_header(text, time, number);
  va_list first_use;
  va_copy(first_use, arguments);
  const std::size_t whole = complete_record(text, header, format, first_use);
  va_end(first_use);
  errno = 0;
  int error = write_text(stream, text, whole != 0 ? whole : header);
  if (error == 0 && whole == 0) error = write_long_message(stream, format, arguments);
  return error != 0 ? error : error_unless(std::fflush(stream) == 0);
}

bool is_record_header(const char* line) {
  int day, month, hour, minute, second, number;
  const int fields = std::sscanf(line, header_format, &day, &month, &hour, &minute, &second, &number);
  // A day that a cut left one digit of is not the beginning.
  return fields == header_fields && line[2] == '/';
}

}  // namespace kelvane
