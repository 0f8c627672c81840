// Standard output as a log.

#include "log/stdout_logger.h"

#include <cstdio>

inline namespace kelvane {

void StdoutLogger::OutputV(int, const char* format, va_list arguments) {
  std::vprintf(format, arguments);
  std::fflush(stdout);
}

const char* StdoutLogger::Name() const { return "stdout"; }
unsigned StdoutLogger::MaxSize() const { return 0; }
unsigned StdoutLogger::BaseSize() const { return 0; }

}  // namespace kelvane
