#include "impl/server/start_server.h"

#include <kelvane/advapi32.h>
#include <kelvane/process.h>

#include <chrono>
#include <mutex>
#include <string>
#include <thread>

#include "impl/server/start_files.h"
#include "impl/server/start_lock.h"
#include "impl/server/start_port.h"
#include "impl/server/start_program.h"

namespace impl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds start_limit(60);
constexpr std::chrono::milliseconds pause_between(5);

bool complain(const std::string& reason) {
  static std::mutex mutex;
  static std::string& last = *new std::string;
  const std::lock_guard<std::mutex> guard(mutex);
  if (reason != last) KvConsoleMessage("The registry's server could not be started: %s.\n", reason.c_str());
  last = reason;
  return false;
}

std::chrono::milliseconds left_until(Clock::time_point end) {
  return std::max(std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()),
                  std::chrono::milliseconds(0));
}

// With the lock, which goes with the server, or without one in an administration utility, which takes none.
bool start(const Endpoint_Files& files, Start_Lock& lock, Clock::time_point end) {
  std::string text;
  const bool has_come_back = run_regss(lock.descriptor(), left_until(end), &text);
  const bool answers = port_answers(port_in(files.endpoint_file));
  // Given up here only when the program is gone: it is one lock in both.
  if (answers || !has_come_back) lock.leave();
  return answers || complain(text);
}

bool find_or_start(const Endpoint_Files& files) {
  const Clock::time_point end = Clock::now() + start_limit;
  Start_Lock lock(files.pid_file);
  for (;;) {
    if (port_answers(port_in(files.endpoint_file))) return true;
    if (KvIsAdmUtility() != 0) return start(files, lock, end);
    switch (lock.take(std::chrono::milliseconds(0))) {
      case Start_Lock::Result::taken:
        return port_answers(port_in(files.endpoint_file)) || start(files, lock, end);
      case Start_Lock::Result::unusable:
        return complain(lock.reason());
      case Start_Lock::Result::held:
        break;
    }
    if (Clock::now() >= end) return complain("another process holds the lock of " + files.pid_file);
    std::this_thread::sleep_for(pause_between);
  }
}

}  // namespace

bool make_sure_server_lives() {
  Endpoint_Files files;
  std::string reason;
  if (!user_endpoint(&files, &reason)) return complain(reason);
  return find_or_start(files);
}

}  // namespace impl
