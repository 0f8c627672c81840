#include "tests/log/system_log_double.h"

#include <windef.h>

#include <cstdarg>
#include <cstdio>

extern "C" KV_EXPORT void syslog(int priority, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* text = nullptr;
  if (vasprintf(&text, format, arguments) < 0) text = nullptr;
  va_end(arguments);
  kvtest::system_log().push_back({priority, format, text != nullptr ? text : "?"});
  free(text);
}
