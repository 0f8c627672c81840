#include "impl/client/notices.h"

#include <kelvane/notify.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <vector>

#include "impl/quiet_thread.h"

namespace impl::client {
namespace {

constexpr int kind_count = 2;
constexpr int pause_between_servers = 1000;  // milliseconds

bool is_known(int kind) { return kind >= 0 && kind < kind_count; }

// On the receiving thread, while a handler runs.
thread_local bool inside_handler = false;

constexpr Subject the_process{.by_process = true};

}  // namespace

// With the client's lock.
void Notices::settle() {
  if (process_ == process_number()) return;
  process_ = process_number();
  has_thread_ = false;
  requests_.clear();
  standing_.clear();
  has_ended_ = false;
}

bool Notices::ask_request(const Request& request, bool on) {
  auto question = exchange<wire::Request_Notification>(
      {static_cast<wire::Number>(request.first), static_cast<wire::Number>(request.second), on ? 1u : 0u});
  return carrier_.carry(question, the_process) == ERROR_SUCCESS;
}

bool Notices::ask_always(int kind, bool on) {
  auto question = exchange<wire::Report_Always>({static_cast<wire::Number>(kind), on ? 1u : 0u});
  return carrier_.carry(question, the_process) == ERROR_SUCCESS;
}

bool Notices::want(const Request& request, bool on) {
  const std::lock_guard lock(client_mutex());
  settle();
  return on ? requests_.insert(request).second : requests_.erase(request) != 0;
}

bool Notices::ensure_thread() {
  const std::lock_guard lock(client_mutex());
  settle();
  if (has_thread_) return true;
  has_thread_ = start_quiet_thread("registry-notify", [this, process = process_] { receive(process); });
  return has_thread_;
}

// The thread knows what is wanted before the server does: an answer may come at once.
bool Notices::request(int pid, int kind, bool on) {
  if (!is_known(kind) || pid <= 0 || has_ended_) return false;
  const Request request(pid, kind);
  want(request, on);
  if (on && !ensure_thread()) return false;
  if (ask_request(request, on)) return true;
  want(request, false);
  return !on;
}

// What a handler reports does not come back to its own process: its request rests meanwhile.
bool Notices::report(int kind, const char* data, int size) {
  if (!is_known(kind) || size < 0 || (size > 0 && data == nullptr)) return false;
  if (static_cast<std::size_t>(size) > wire::max_inline_data) return false;
  const Request own(getpid(), kind);
  const bool rests = inside_handler && want(own, false) && ask_request(own, false);
  auto question = exchange<wire::Report_Notification>(
      {static_cast<wire::Number>(kind),
       {reinterpret_cast<const unsigned char*>(data), static_cast<std::size_t>(size)}});
  const bool is_told = carrier_.carry(question, the_process) == ERROR_SUCCESS;
  if (rests) {
    want(own, true);
    ask_request(own, true);
  }
  return is_told;
}

bool Notices::report_always(int kind, bool on) {
  if (!is_known(kind)) return false;
  {
    const std::lock_guard lock(client_mutex());
    settle();
    if (on) {
      standing_.insert(kind);
    } else {
      standing_.erase(kind);
    }
  }
  if (on && !ensure_thread()) return false;
  return ask_always(kind, on) || !on;
}

bool Notices::has_wishes() {
  const std::lock_guard lock(client_mutex());
  if (!has_ended_ && (!requests_.empty() || !standing_.empty())) return true;
  has_thread_ = false;
  return false;
}

void Notices::ask_again() {
  std::set<Request> requests;
  std::set<int> standing;
  {
    const std::lock_guard lock(client_mutex());
    requests = requests_;
    standing = standing_;
  }
  for (const int kind : standing) ask_always(kind, true);
  for (const Request& each : requests) {
    if (!ask_request(each, true)) want(each, false);
  }
}

// A server may have heard a request twice; the second answer is to nobody's question.
bool Notices::is_wanted(const Request& request) {
  const std::lock_guard lock(client_mutex());
  settle();
  return requests_.erase(request) != 0 || standing_.count(request.second) != 0;
}

void Notices::deliver(Notice& notice) {
  if (!is_wanted({notice.pid, notice.kind}) || has_ended_ || !is_known(notice.kind)) return;
  inside_handler = true;
  char* const data = notice.data.empty() ? nullptr : notice.data.data();
  KvNotification(notice.pid, notice.kind, data, static_cast<int>(notice.data.size()));
  inside_handler = false;
}

// False when the connection is gone.
bool Notices::receive_in(const std::shared_ptr<Session>& session, int process) {
  std::unique_ptr<Connection> connection;
  if (carrier_.sessions().take_own(session, &connection) != ERROR_SUCCESS) return false;
  const auto goes_on = [&] { return process == process_number() && is_same_process(session->caller) && has_wishes(); };
  while (goes_on()) {
    Notice notice;
    auto question = exchange<wire::Await_Notification>({}, [&](const auto& answer) -> DWORD {
      notice = {static_cast<int>(answer.process), static_cast<int>(answer.kind),
                std::string(answer.data.begin(), answer.data.end())};
      return answer.code;
    });
    DWORD code = ERROR_SUCCESS;
    const Reply reply = connection->await(question, goes_on, &code);
    if (reply != Reply::answered || code != ERROR_SUCCESS) return reply == Reply::late;
    deliver(notice);
  }
  return true;
}

// The server that is met need not be the one that was asked.
void Notices::receive(int process) {
  while (process == process_number() && has_wishes()) {
    try {
      std::shared_ptr<Session> session;
      wire::Number none = 0;
      if (carrier_.reach(the_process, &session, &none) == ERROR_SUCCESS) {
        ask_again();
        receive_in(session, process);
      } else {
        poll(nullptr, 0, pause_between_servers);
      }
    } catch (const std::bad_alloc&) {
      inside_handler = false;
      poll(nullptr, 0, pause_between_servers);
    }
  }
}

}  // namespace impl::client
