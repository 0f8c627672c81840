#include "regss/log.h"

#include <kelvane/log.h>
#include <kelvane/process.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace regss {
namespace {

std::atomic<int> log_level = usual_level;
std::atomic<bool> in_background = false;

// The journal tells its clients the device and the inode of its stream.
bool is_journal(int descriptor) {
  const char* const stream = std::getenv("JOURNAL_STREAM");
  unsigned long long device = 0, inode = 0;
  struct stat status;
  return stream != nullptr && std::sscanf(stream, "%llu:%llu", &device, &inode) == 2 &&
         fstat(descriptor, &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

const char* priority(int level) {
  if (!is_journal(STDERR_FILENO)) return "regss: ";
  constexpr const char* priorities[] = {"<3>", "<6>", "<7>"};
  return priorities[level];
}

}  // namespace

void set_log_level(int level) { log_level = level; }

void log_in_background() { in_background = true; }

void say(int level, const std::string& line) {
  if (level > log_level) return;
  if (in_background) {
    // The log has a level of its own, which drops details.
    RegLog().Output(level < usual_level ? level : usual_level, "%s", line.c_str());
  } else {
    KvConsoleMessage("%s%s\n", priority(level), line.c_str());
  }
}

}  // namespace regss
