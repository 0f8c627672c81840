// Notifications between clients. A reporting process is known by its socket.
#include <utility>

#include "impl/inproc/process_start.h"
#include "impl/server/core.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

constexpr std::size_t most_notices = 1000;         // that wait for one client
constexpr std::size_t longest_notice = 64 * 1024;  // bytes

void fill(Notice& notice, wire::Await_Notification::Answer* out) {
  out->process = static_cast<wire::Number>(notice.process);
  out->kind = notice.kind;
  out->data = {reinterpret_cast<const unsigned char*>(notice.data.data()), notice.data.size()};
}

// To a call that waits for it, else for the next one. False when too many wait already.
bool deliver(Core& core, Session& to, Notice notice) {
  wire::Await_Notification::Answer answer;
  fill(notice, &answer);
  while (!to.waiting.empty()) {
    const std::uint64_t number = to.waiting.front();
    to.waiting.pop_front();
    if (core.finish(number, answer)) return true;
  }
  if (to.notices.size() >= most_notices) return false;
  to.notices.push_back(std::move(notice));
  return true;
}

bool report(Caller& caller, std::uint32_t kind, const std::string& data) {
  bool all_told = true;
  for (Session* const asker : caller.core.requests().take(*caller.session, kind)) {
    all_told &= deliver(caller.core, *asker, {caller.peer().process, kind, data});
  }
  return all_told;
}

// Whether a client of that process reports this kind to whoever asks.
bool reports_always(Caller& caller, pid_t process, std::uint32_t kind) {
  for (const auto& [id, session] : caller.core.sessions()) {
    const bool may_tell = caller.peer().is_root() || caller.peer().user == session->peer.user;
    if (session->peer.process == process && session->always[kind] && may_tell) return true;
  }
  return false;
}

}  // namespace

DWORD perform(Caller& caller, wire::Request_Notification::Question& question, wire::Request_Notification::Answer*) {
  const auto process = static_cast<pid_t>(question.process);
  const std::string start = process > 0 ? start_of_process(process) : std::string();
  if (question.kind >= notice_kinds || start.empty()) return ERROR_INVALID_PARAMETER;
  Request request{caller.session, process, start, question.kind};
  if (question.on == 0) {
    caller.core.requests().remove(request);
    return ERROR_SUCCESS;
  }
  if (!reports_always(caller, process, question.kind)) {
    return caller.core.requests().add(std::move(request)) ? ERROR_SUCCESS : beyond_limit;
  }
  return deliver(caller.core, *caller.session, {process, question.kind, {}}) ? ERROR_SUCCESS : beyond_limit;
}

DWORD perform(Caller& caller, wire::Report_Notification::Question& question, wire::Report_Notification::Answer*) {
  if (question.kind >= notice_kinds || question.data.size() > longest_notice) return ERROR_INVALID_PARAMETER;
  const std::string data(reinterpret_cast<const char*>(question.data.data()), question.data.size());
  return report(caller, question.kind, data) ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

DWORD perform(Caller& caller, wire::Report_Always::Question& question, wire::Report_Always::Answer*) {
  if (question.kind >= notice_kinds) return ERROR_INVALID_PARAMETER;
  caller.session->always[question.kind] = question.on != 0;
  if (question.on != 0) report(caller, question.kind, {});
  return ERROR_SUCCESS;
}

DWORD perform(Caller& caller, wire::Await_Notification::Question&, wire::Await_Notification::Answer* out) {
  Session& session = *caller.session;
  if (session.notices.empty()) {
    std::erase_if(session.waiting, [&](std::uint64_t each) { return !caller.core.is_parked(each); });
    session.waiting.push_back(caller.core.park(caller));
    return answered_later;
  }
  Notice notice = std::move(session.notices.front());
  session.notices.pop_front();
  fill(notice, out);
  out->data = caller.scratch.copy(out->data);
  return ERROR_SUCCESS;
}

}  // namespace impl::server
