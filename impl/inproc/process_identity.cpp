#include "impl/inproc/process_identity.h"

#include <unistd.h>

#include <charconv>

#include "hive/boot.h"
#include "impl/inproc/process_start.h"

namespace impl {
namespace {

constexpr std::size_t run_length = 8;
constexpr std::size_t max_length = 63;

}  // namespace

std::string identity_of(pid_t pid) {
  if (pid <= 0) return "";
  const std::string start = start_of_process(pid);
  return start.empty() ? "" : std::to_string(pid) + "-" + start + "-" + hive::boot_identity().substr(0, run_length);
}

// A process keeps its identity; a forked child has another. Kept in a plain array, which can be read as long as the
// thread runs, also while the process ends.
std::string own_identity() {
  thread_local pid_t known_pid = 0;
  thread_local char known[max_length + 1];
  if (known_pid == getpid()) return known;
  const std::string identity = identity_of(getpid());
  if (identity.empty() || identity.size() > max_length) return "";
  identity.copy(known, max_length);
  known[identity.size()] = '\0';
  known_pid = getpid();
  return identity;
}

pid_t pid_in(const std::string& identity) {
  pid_t pid = 0;
  std::from_chars(identity.data(), identity.data() + identity.size(), pid);
  return pid;
}

bool is_running(const std::string& identity) { return identity_of(pid_in(identity)) == identity; }

}  // namespace impl
