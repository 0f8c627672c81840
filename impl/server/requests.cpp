#include "impl/server/requests.h"

#include <algorithm>
#include <utility>

#include "impl/inproc/process_start.h"

namespace impl::server {
namespace {

constexpr std::ptrdiff_t most_requests = 1000;  // of one client

// Processes of one user tell each other; root is told by all.
bool may_tell(const Session& reporter, const Session& asker) {
  return asker.peer.is_root() || asker.peer.user == reporter.peer.user;
}

}  // namespace

bool Requests::add(Request request) {
  if (std::find(requests_.begin(), requests_.end(), request) != requests_.end()) return true;
  const auto is_own = [&](const Request& each) { return each.asker == request.asker; };
  if (std::count_if(requests_.begin(), requests_.end(), is_own) >= most_requests) return false;
  requests_.push_back(std::move(request));
  return true;
}

void Requests::remove(const Request& request) { std::erase(requests_, request); }

std::vector<Session*> Requests::take(const Session& reporter, std::uint32_t kind) {
  std::vector<Session*> askers;
  const pid_t process = reporter.peer.process;
  const auto is_meant = [&](const Request& each) {
    return each.process == process && each.kind == kind && may_tell(reporter, *each.asker);
  };
  if (std::none_of(requests_.begin(), requests_.end(), is_meant)) return askers;
  const std::string start = start_of_process(process);
  std::erase_if(requests_, [&](const Request& each) {
    if (!is_meant(each)) return false;
    if (each.start == start) askers.push_back(each.asker);
    return true;
  });
  return askers;
}

void Requests::forget(const Session& asker) {
  std::erase_if(requests_, [&](const Request& each) { return each.asker == &asker; });
}

}  // namespace impl::server
