// What all loggers share.

#include <kelvane/log.h>

inline namespace kelvane {

KvLog::~KvLog() = default;

int KvLog::Level() const { return 1; }

void KvLog::Output(int level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  OutputV(level, format, arguments);
  va_end(arguments);
}

}  // namespace kelvane
