// Formats without arguments, longer than every buffer on their way.
#include <gtest/gtest.h>

#include "log/registry_log_impl.h"
#include "log/system_log.h"
#include "tests/log/log_test.h"
#include "tests/log/system_log_double.h"

namespace kvtest {
namespace {

// "100%%" and a text of this length, and what becomes of it.
std::string format_of(std::size_t length) { return "100%%" + std::string(length, 'f'); }
std::string text_of(std::size_t length) { return "100%" + std::string(length, 'f'); }

// The arguments are none; compilers take a format that is no literal without them for a mistake.
void log_format(KvLog& log, const char* format, ...) {
  va_list none;
  va_start(none, format);
  log.OutputV(0, format, none);
  va_end(none);
}

constexpr std::size_t lengths[] = {0, 990, 1000, 1019, 1020, 1024, 4096, 100000};

TEST(FormatWithoutArguments, IsWholeOnStandardOutput) {
  for (const std::size_t length : lengths) {
    const std::string format = format_of(length);
    const Child_Result child = run_child([&] {
      log_format(RegLog(), format.c_str());
      log_format(StdoutLog(), format.c_str());
    });
    EXPECT_EQ(child.out, record(1, text_of(length)) + text_of(length)) << length;
  }
}

TEST(FormatWithoutArguments, IsWholeInAFile) {
  Temp_Folder folder;
  for (const std::size_t length : lengths) {
    const std::string file = folder / std::to_string(length);
    const std::string format = format_of(length);
    const Child_Result child = run_child([&] {
      RegistryLogImpl log(HKEY_LOCAL_MACHINE, L"s", file.c_str());
      log_format(log, format.c_str());
      _exit(0);
    });
    EXPECT_EQ(child.exit_status, 0) << child.err;
    EXPECT_EQ(content_of(file), record(1, text_of(length))) << length;
  }
}

void hand_over(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  Write2Syslog(format, arguments);
  va_end(arguments);
}

TEST(FormatWithoutArguments, IsWholeInTheSystemLog) {
  for (const std::size_t length : lengths) {
    system_log().clear();
    hand_over(format_of(length).c_str());
    EXPECT_EQ(system_log().at(0).text, "KVX disk is full, logging passed to syslog.\n" + text_of(length)) << length;
  }
  system_log().clear();
}

}  // namespace
}  // namespace kvtest
