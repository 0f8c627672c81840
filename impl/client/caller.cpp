#include "impl/client/caller.h"

#include <errno.h>
#include <grp.h>
#include <kelvane/impersonation.h>
#include <pwd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>

#include "hive/cache/own_process.h"

namespace impl::client {
namespace {

constexpr std::size_t usual_groups = 64;
constexpr std::size_t first_entry_size = 1024;
constexpr std::size_t largest_entry_size = std::size_t{1} << 24;

std::vector<gid_t> own_groups() {
  for (;;) {
    const int count = getgroups(0, nullptr);
    if (count <= 0) return {};
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    const int got = getgroups(count, groups.data());
    if (got < 0) continue;  // more of them meanwhile
    groups.resize(static_cast<std::size_t>(got));
    return groups;
  }
}

bool are_own_groups(const std::vector<gid_t>& groups) {
  std::array<gid_t, usual_groups> own;
  const int count = getgroups(own.size(), own.data());
  if (count < 0) return own_groups() == groups;
  return std::equal(groups.begin(), groups.end(), own.begin(), own.begin() + count);
}

std::optional<uid_t> impersonated() {
  const DWORD slot = KvTTGetUid();
  if (slot == 0 || geteuid() != 0 || slot - 1 == 0) return std::nullopt;
  return slot - 1;
}

// The groups of a user, with the first one in front; none when the host does not know the user.
std::optional<std::vector<gid_t>> groups_of(uid_t user) {
  for (std::size_t size = first_entry_size; size <= largest_entry_size; size *= 2) {
    std::vector<char> buffer(size);
    passwd entry;
    passwd* found = nullptr;
    const int error = getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr) return std::nullopt;
    int count = usual_groups;
    std::vector<gid_t> groups(static_cast<std::size_t>(count));
    while (getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) {
      groups.resize(2 * groups.size());
      count = static_cast<int>(groups.size());
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
  }
  return std::nullopt;
}

// The system's own calls change the thread; those of the C library would change every thread.
bool set_groups(const std::vector<gid_t>& groups) { return syscall(SYS_setgroups, groups.size(), groups.data()) == 0; }

constexpr gid_t same_group = static_cast<gid_t>(-1);
constexpr uid_t same_user = static_cast<uid_t>(-1);

bool set_effective_group(gid_t group) { return syscall(SYS_setresgid, same_group, group, same_group) == 0; }
bool set_effective_user(uid_t user) { return syscall(SYS_setresuid, same_user, user, same_user) == 0; }

}  // namespace

int process_number() {
  const int number = hive::Own_Process::claim();
  return number != 0 ? number : getpid();
}

Caller this_caller() { return {process_number(), geteuid(), getegid(), own_groups(), impersonated()}; }

bool is_same_process(const Caller& caller) {
  return caller.process == process_number() && caller.user == geteuid() && caller.group == getegid() &&
         are_own_groups(caller.groups);
}

bool is_same_thread_user(const Caller& caller) { return caller.acts_for == impersonated(); }

Acting::Acting(const Caller& caller) : caller_(caller) {
  if (caller.acts_for) worked_ = become(*caller.acts_for);
}

bool Acting::become(uid_t user) {
  const std::optional<std::vector<gid_t>> groups = groups_of(user);
  if (!groups || groups->empty()) return false;
  changed_ = true;
  return set_groups(*groups) && set_effective_group(groups->front()) && set_effective_user(user);
}

// A thread that could not come back would work as another user from then on.
Acting::~Acting() {
  if (!changed_) return;
  const bool is_back =
      set_effective_user(caller_.user) && set_effective_group(caller_.group) && set_groups(caller_.groups);
  if (!is_back) std::abort();
}

}  // namespace impl::client
