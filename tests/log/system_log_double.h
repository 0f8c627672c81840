// What reaches the system log: the test program defines syslog itself, and keeps what it is given.
#ifndef KELVANE_TESTS_LOG_SYSTEM_LOG_DOUBLE_H
#define KELVANE_TESTS_LOG_SYSTEM_LOG_DOUBLE_H

#include <string>
#include <vector>

namespace kvtest {

struct System_Log_Entry {
  int priority = 0;
  std::string format;
  std::string text;
};

inline std::vector<System_Log_Entry>& system_log() {
  static std::vector<System_Log_Entry> entries;
  return entries;
}

}  // namespace kvtest

#endif
