// Records on their way to the system log.

#include "log/system_log.h"

#include <syslog.h>

#include <cstdio>

#include "registry/array.h"

inline namespace kelvane {
namespace {

constexpr std::size_t short_text_size = 1024;

// The length that the whole text has or would have; 0 for one that cannot be formatted.
std::size_t format_text(char* text, std::size_t size, const char* format, va_list arguments) {
  va_list own;
  va_copy(own, arguments);
  const int length = std::vsnprintf(text, size, format, own);
  va_end(own);
  if (length < 0) text[0] = '\0';
  return length < 0 ? 0 : static_cast<std::size_t>(length);
}

void hand_over(const char* text) { syslog(LOG_ERR, "KVX disk is full, logging passed to syslog.\n%s", text); }

}  // namespace

void Write2Syslog(const char* format, va_list arguments) {
  char text[short_text_size];
  const std::size_t length = format_text(text, sizeof text, format, arguments);
  if (length < sizeof text) return hand_over(text);
  Array<char> whole(length + 1);
  format_text(whole.data(), length + 1, format, arguments);
  hand_over(whole.data());
}

}  // namespace kelvane
