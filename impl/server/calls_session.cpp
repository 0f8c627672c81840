// Beginning a session, the list of clients, and the end of the server.
#include <sys/random.h>
#include <time.h>

#include <algorithm>
#include <cstring>

#include "impl/server/access.h"
#include "impl/server/core.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

constexpr std::size_t longest_told = 4096;  // bytes of what a client tells of itself

std::string told(wire::Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), std::min(bytes.size(), longest_told)};
}

wire::Bytes bytes_of(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::shared_ptr<Session> new_session(Caller& caller, const wire::Begin_Session::Question& question) {
  auto session = std::make_shared<Session>();
  if (getrandom(session->id.data(), session->id.size(), 0) != static_cast<ssize_t>(session->id.size())) return nullptr;
  session->peer = caller.connection->peer();
  session->program = told(question.program);
  session->host = told(question.host);
  session->since = static_cast<std::uint64_t>(time(nullptr));
  return session;
}

std::shared_ptr<Session> known_session(Caller& caller, wire::Bytes asked) {
  Session_Id id{};
  if (asked.size() != id.size()) return nullptr;
  std::copy(asked.begin(), asked.end(), id.begin());
  const auto found = caller.core.sessions().find(id);
  return found == caller.core.sessions().end() ? nullptr : found->second;
}

}  // namespace

// A session that is not known any more is told like one of somebody else.
DWORD perform(Caller& caller, wire::Begin_Session::Question& question, wire::Begin_Session::Answer* out) {
  if (question.version != wire::protocol_version) return other_version;
  if (caller.connection->session() != nullptr) return ERROR_INVALID_PARAMETER;
  std::shared_ptr<Session> session;
  if (question.session.empty()) {
    session = new_session(caller, question);
    if (session == nullptr) return ERROR_NOT_ENOUGH_MEMORY;
    caller.core.sessions().emplace(session->id, session);
  } else {
    session = known_session(caller, question.session);
    if (session == nullptr || !session->peer.is_equal_of(caller.connection->peer())) return ERROR_ACCESS_DENIED;
  }
  out->session = caller.scratch.copy({session->id.data(), session->id.size()});
  if (caller.connection->takes_descriptors()) out->page.fd = caller.core.changes().page_fd();
  caller.connection->set_session(std::move(session));
  return ERROR_SUCCESS;
}

DWORD perform(Caller& caller, wire::List_Connected::Question&, wire::List_Connected::Answer* out) {
  std::size_t size = 0;
  for (const auto& [id, session] : caller.core.sessions()) {
    wire::Connected_Client client{static_cast<wire::Number>(session->peer.process), session->peer.user,
                                  bytes_of(session->host), bytes_of(session->program), session->since};
    size += wire::size_of_fields(client);
    if (size > wire::max_message / 2) break;
    out->clients.push_back(client);
  }
  return ERROR_SUCCESS;
}

DWORD perform(Caller& caller, wire::Shut_Down::Question&, wire::Shut_Down::Answer*) {
  if (!is_administrator(caller.peer())) return ERROR_ACCESS_DENIED;
  caller.core.shut_down();
  return ERROR_SUCCESS;
}

}  // namespace impl::server
