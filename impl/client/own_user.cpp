#include "impl/client/own_user.h"

#include <grp.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <vector>

namespace impl::client {
namespace {

constexpr std::size_t usual_groups = 64;

class Mixed {
 public:
  void add(std::uint32_t number) { mixed_ = (mixed_ ^ number) * 0x100000001B3u; }
  std::uint64_t number() const { return mixed_ == 0 ? 1 : mixed_; }

 private:
  std::uint64_t mixed_ = 0xCBF29CE484222325u;
};

// More groups than usual; one that came meanwhile makes another number at the next look.
void add_many_groups(Mixed& mixed) {
  const int count = getgroups(0, nullptr);
  std::vector<gid_t> groups(count > 0 ? static_cast<std::size_t>(count) : 0);
  const int got = getgroups(static_cast<int>(groups.size()), groups.data());
  for (int i = 0; i < got; ++i) mixed.add(groups[static_cast<std::size_t>(i)]);
}

}  // namespace

std::uint64_t number_of_user() {
  Mixed mixed;
  mixed.add(geteuid());
  mixed.add(getegid());
  std::array<gid_t, usual_groups> groups;
  const int count = getgroups(usual_groups, groups.data());
  if (count < 0) add_many_groups(mixed);
  for (int i = 0; i < count; ++i) mixed.add(groups[static_cast<std::size_t>(i)]);
  return mixed.number();
}

std::uint64_t Own_User::this_tick() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
}

// The user is known before the tick is: who sees the tick sees the user of it or a later one.
bool Own_User::look(std::uint64_t user, std::uint64_t tick) const {
  const std::uint64_t now = number_of_user();
  user_.store(now, std::memory_order_relaxed);
  tick_.store(tick, std::memory_order_release);
  return now == user;
}

}  // namespace impl::client
