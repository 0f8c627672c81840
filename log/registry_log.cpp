// The registry's log on standard output: numbered records under a header with the local time. A record:
//
//   DD/MM HH:MM:SS  [# N] ->
//   message
//
// The message gets a newline unless its format ends in one. The logger is never destroyed: the registry's
// close may log when everything else is gone.

#include <kelvane/log.h>
#include <winbase.h>

#include <cstdio>
#include <cstring>

inline namespace kelvane {
namespace {

class Section_Hold {
 public:
  explicit Section_Hold(CRITICAL_SECTION& section) : section_(section) { EnterCriticalSection(&section_); }
  ~Section_Hold() { LeaveCriticalSection(&section_); }
  Section_Hold(const Section_Hold&) = delete;
  Section_Hold& operator=(const Section_Hold&) = delete;

 private:
  CRITICAL_SECTION& section_;
};

bool ends_line(const char* format) {
  const std::size_t length = std::strlen(format);
  return length > 0 && format[length - 1] == '\n';
}

class Standard_Output_Log final : public KvLog {
 public:
  Standard_Output_Log() { InitializeCriticalSection(&lock_); }

  void OutputV(int level, const char* format, va_list arguments) override {
    if (Level() < level) return;
    SYSTEMTIME now;
    GetLocalTime(&now);
    const Section_Hold hold(lock_);
    std::printf("%02d/%02d %02d:%02d:%02d  [# %d] ->\n", now.wDay, now.wMonth, now.wHour, now.wMinute, now.wSecond,
                ++sequence_);
    std::vprintf(format, arguments);
    if (!ends_line(format)) std::putchar('\n');
    std::fflush(stdout);
  }
  const char* Name() const override { return "stdout"; }
  unsigned MaxSize() const override { return 0; }
  unsigned BaseSize() const override { return 0; }

 private:
  CRITICAL_SECTION lock_;
  int sequence_ = 0;
};

}  // namespace

KvLog::~KvLog() = default;

int KvLog::Level() const { return 1; }

void KvLog::Output(int level, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  OutputV(level, format, arguments);
  va_end(arguments);
}

KvLog& RegLog() {
  static KvLog& log = *new Standard_Output_Log;
  return log;
}

}  // namespace kelvane
