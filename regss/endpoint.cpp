#include "regss/endpoint.h"

#include <fcntl.h>
#include <kelvane/process.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "impl/server/start_port.h"
#include "regss/handed_sockets.h"

namespace regss {
namespace {

constexpr std::chrono::seconds lock_limit(60);
constexpr std::chrono::seconds lock_limit_at_end(5);
constexpr mode_t folder_mode = 0755;
constexpr mode_t endpoint_file_mode = 0644;
constexpr int attempts = 8;
constexpr char port_prefix[] = "rgs";

std::string own_pid() { return std::to_string(getpid()); }

std::string error_text() { return std::strerror(errno); }

bool write_whole(int descriptor, const std::string& text) {
  errno = ENOSPC;  // of a short write
  return write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

// The file with this content, whole at every moment, whatever had its name; false with errno.
bool replace_file(const std::string& file, const std::string& content) {
  std::string pattern = file + ".XXXXXX";
  const impl::Descriptor made(mkostemp(pattern.data(), O_CLOEXEC));
  if (!made) return false;
  if (write_whole(made.number(), content) && fchmod(made.number(), endpoint_file_mode) == 0 &&
      rename(pattern.c_str(), file.c_str()) == 0)
    return true;
  const int error = errno;
  unlink(pattern.c_str());
  errno = error;
  return false;
}

std::string name_new_port(const std::string& folder) {
  char* const name = Kv_tempnam(folder.c_str(), port_prefix);
  const std::string port = name != nullptr ? name : "";
  std::free(name);
  return port;
}

}  // namespace

Endpoint::Endpoint(impl::Endpoint_Files files, bool machine_wide)
    : files_(std::move(files)), machine_wide_(machine_wide), lock_(files_.pid_file) {}

bool Endpoint::fail(const std::string& reason) {
  reason_ = reason;
  return false;
}

// The machine's endpoint has a folder of its own; a user's files lie in the temporary directory itself.
bool Endpoint::prepare_folder() {
  if (machine_wide_) {
    if (mkdir(files_.folder.c_str(), folder_mode) == 0) {
      chmod(files_.folder.c_str(), folder_mode);  // the creation mask may have taken bits away
    } else if (errno != EEXIST) {
      return fail(files_.folder + " cannot be made: " + error_text());
    }
  }
  const std::string reason = impl::why_not_trusted(files_.folder, !machine_wide_);
  return reason.empty() || fail(reason);
}

bool Endpoint::lock(int handed_lock) {
  if (handed_lock != -1) return lock_.adopt(handed_lock) || fail(lock_.reason());
  switch (lock_.take(lock_limit)) {
    case impl::Start_Lock::Result::taken:
      return true;
    case impl::Start_Lock::Result::held:
      return fail("another process holds the lock of " + files_.pid_file);
    case impl::Start_Lock::Result::unusable:
      break;
  }
  return fail(lock_.reason());
}

Endpoint::Claim Endpoint::claim(int handed_lock, const std::string& own_port) {
  if (!prepare_folder() || !lock(handed_lock)) return Claim::failed;
  const std::string named = impl::port_in(files_.endpoint_file);
  if (named == own_port || !impl::port_answers(named)) return Claim::made;
  reason_ = "a server serves this registry already, at " + named;
  return Claim::served_already;
}

// What an earlier server left behind: its port, when it lies where ports are made.
void Endpoint::remove_stale_port() const {
  const std::string port = impl::port_in(files_.endpoint_file);
  const std::string start = (files_.folder == "/" ? "" : files_.folder) + "/" + port_prefix;
  struct stat status;
  if (port.compare(0, start.size(), start) != 0 || port.find('/', start.size()) != port.npos) return;
  if (lstat(port.c_str(), &status) == 0 && S_ISSOCK(status.st_mode)) unlink(port.c_str());
}

bool Endpoint::listen() {
  remove_stale_port();
  for (int i = 0; i < attempts; ++i) {
    port_ = name_new_port(files_.folder);
    own_socket_ = impl::listen_at_port(port_, machine_wide_);
    if (own_socket_) {
      sockets_ = {own_socket_.number()};
      return true;
    }
    if (errno != EADDRINUSE) break;
  }
  return fail("no port at " + port_ + ": " + error_text());
}

bool Endpoint::announce(const std::string& port) {
  return replace_file(files_.endpoint_file, port) || fail(files_.endpoint_file + " cannot be written: " + error_text());
}

bool Endpoint::open(const std::vector<int>& handed_sockets) {
  sockets_ = handed_sockets;
  if (handed_sockets.empty() && !listen()) return false;
  if (!handed_sockets.empty()) port_ = path_of_socket(handed_sockets.front());
  if (announce(port_) && (lock_.write_pid(own_pid()) || fail(lock_.reason()))) return true;
  if (own_socket_) unlink(port_.c_str());
  return false;
}

void Endpoint::withdraw() {
  if (lock_.take(lock_limit_at_end) != impl::Start_Lock::Result::taken) return;
  if (own_socket_) unlink(port_.c_str());
  // Somebody removed this server's files, and another one began.
  if (!lock_.names(own_pid())) return;
  lock_.write_pid("");
  if (!own_socket_) return;
  if (impl::port_in(files_.endpoint_file) == port_) unlink(files_.endpoint_file.c_str());
  unlink(files_.pid_file.c_str());
}

}  // namespace regss
