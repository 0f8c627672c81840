// The logger that prints.
#pragma once

#include <kelvane/log.h>

inline namespace kelvane {

// Prints the text of every record as it is: no test of the level, no header, no newline added.
class StdoutLogger final : public KvLog {
 public:
  void OutputV(int level, const char* format, va_list arguments) override;
  const char* Name() const override;
  unsigned MaxSize() const override;
  unsigned BaseSize() const override;
};

static_assert(sizeof(StdoutLogger) == sizeof(void*));

}  // namespace kelvane
