#include "impl/client/carrier.h"

#include <winerror.h>

namespace impl::client {
namespace {

// Of one question: a server that ends whenever it is asked is given up.
constexpr int most_attempts = 16;

}  // namespace

// The connection for one question, and the number that the subject has there.
class Carrier::Route {
 public:
  explicit Route(Carrier& carrier) : carrier_(carrier) {}
  ~Route() {
    if (temporary_ != 0 && carrier_.sessions_.is_usable(*lease_.session())) carrier_.close_handle(lease_, temporary_);
  }
  Route(const Route&) = delete;
  Route& operator=(const Route&) = delete;

  Lease& lease() { return lease_; }
  // Others may have the connection, unless the handle is closed through it.
  void let_others_pass() {
    if (temporary_ == 0) lease_ = Lease();
  }
  wire::Number number() const { return number_; }
  void set_number(wire::Number number) { number_ = number; }
  // A handle for this question alone.
  void set_temporary(wire::Number handle) { number_ = temporary_ = handle; }

 private:
  Carrier& carrier_;
  Lease lease_;
  wire::Number number_ = 0;
  wire::Number temporary_ = 0;
};

// The session in which the key is open, as long as it lasts; else the one of the thread's user.
std::shared_ptr<Session> Carrier::session_for(const Subject& subject) {
  if (subject.key == nullptr && !subject.by_process) return sessions_.of_thread();
  if (subject.key == nullptr) {
    Caller caller = this_caller();
    caller.acts_for.reset();
    return sessions_.of(caller);
  }
  std::shared_ptr<Session> its;
  {
    const std::lock_guard lock(client_mutex());
    its = subject.key->session;
  }
  if (its == nullptr) return sessions_.of(this_caller());
  if (sessions_.is_usable(*its) && (!subject.by_thread || is_same_thread_user(its->caller))) return its;
  Caller caller = this_caller();
  if (!subject.by_thread && caller.user == 0) caller.acts_for = its->caller.acts_for;
  return sessions_.of(caller);
}

DWORD Carrier::find_route(const Subject& subject, Route* out) {
  const std::shared_ptr<Session> session = session_for(subject);
  if (const DWORD code = sessions_.take(session, &out->lease()); code != ERROR_SUCCESS) return code;
  if (subject.key == nullptr) {
    out->set_number(subject.root);
    return ERROR_SUCCESS;
  }
  bool is_elsewhere = false;
  {
    const std::lock_guard lock(client_mutex());
    const std::shared_ptr<Session>& its = subject.key->session;
    is_elsewhere = its != nullptr && its != session && !its->has_ended;
  }
  // The key stays where it is open; the session of a process that has other rights now has ended by then.
  wire::Number number = 0;
  const DWORD code =
      is_elsewhere ? reopen(*subject.key, out->lease(), &number) : bind(*subject.key, out->lease(), &number);
  if (code != ERROR_SUCCESS) return code;
  if (is_elsewhere) {
    out->set_temporary(number);
  } else {
    out->set_number(number);
  }
  return ERROR_SUCCESS;
}

// Two threads may open the key again at once: the handle of the first stays.
DWORD Carrier::bind(const Remote_Key& key, const Lease& lease, wire::Number* out_number) {
  {
    const std::lock_guard lock(client_mutex());
    *out_number = key.handle;
    if (key.session == lease.session()) return ERROR_SUCCESS;
  }
  wire::Number handle = 0;
  const DWORD code = reopen(key, lease, &handle);
  if (code != ERROR_SUCCESS) return code;
  {
    const std::lock_guard lock(client_mutex());
    *out_number = handle;
    if (key.session != lease.session()) {
      key.session = lease.session();
      key.handle = handle;
      return ERROR_SUCCESS;
    }
    *out_number = key.handle;
  }
  close_handle(lease, handle);
  return ERROR_SUCCESS;
}

void Carrier::unbind(const Remote_Key& key, wire::Number handle) {
  const std::lock_guard lock(client_mutex());
  if (key.handle == handle) key.session = nullptr;
}

DWORD Carrier::reopen(const Remote_Key& key, const Lease& lease, wire::Number* out_handle) {
  auto question = exchange<wire::Reopen_Key>({key.root, wire::bytes_of(key.path), key.access, key.id},
                                             [&](const auto& answer) -> DWORD {
                                               *out_handle = answer.handle;
                                               return answer.code;
                                             });
  DWORD code = ERROR_SUCCESS;
  const Reply reply = lease.connection().ask(question, 0, sessions_.settings().answer, &code);
  if (reply == Reply::answered) return code;
  sessions_.end(*lease.session());
  return reply == Reply::lost || reply == Reply::stranger ? session_is_gone : RPC_S_SERVER_UNAVAILABLE;
}

void Carrier::close_handle(const Lease& lease, wire::Number handle) {
  auto question = exchange<wire::Close_Key>({handle});
  DWORD code = ERROR_SUCCESS;
  if (lease.connection().ask(question, handle, sessions_.settings().answer, &code) == Reply::answered) return;
  sessions_.end(*lease.session());
}

// session_is_gone when the question is to be asked again.
DWORD Carrier::code_of(Reply reply, Session& session) {
  switch (reply) {
    case Reply::answered:
      return ERROR_SUCCESS;
    case Reply::lost:
    case Reply::stranger:
      sessions_.end(session);
      return session_is_gone;
    case Reply::late:
      sessions_.end(session);
      sessions_.complain("the server at " + sessions_.settings().endpoint() + " does not answer");
      return RPC_S_SERVER_UNAVAILABLE;
    case Reply::wrong:
      sessions_.end(session);
      return RPC_S_PROTOCOL_ERROR;
    case Reply::malformed:
      return RPC_S_PROTOCOL_ERROR;
    case Reply::limit:
      return ERROR_NO_SYSTEM_RESOURCES;
    case Reply::no_memory:
      return ERROR_NOT_ENOUGH_MEMORY;
  }
  return RPC_S_PROTOCOL_ERROR;
}

DWORD Carrier::ask_once(Exchange& exchange, const Subject& subject, std::shared_ptr<Session>* out_session) {
  Route route(*this);
  DWORD code = find_route(subject, &route);
  if (code != ERROR_SUCCESS) return code;
  const std::shared_ptr<Session> session = route.lease().session();
  if (out_session != nullptr) *out_session = session;
  std::unique_ptr<Connection> own;
  if (subject.takes_long) {
    code = sessions_.take_own(session, &own);
    if (code != ERROR_SUCCESS) return code;
    route.let_others_pass();
  }
  const Settings& settings = sessions_.settings();
  const Reply reply = own != nullptr ? own->ask(exchange, route.number(), settings.long_answer, &code)
                                     : route.lease().connection().ask(exchange, route.number(), settings.answer, &code);
  if (reply != Reply::answered) {
    exchange.was_asked_before |= reply == Reply::lost;
    const DWORD failure = code_of(reply, *session);
    return reply == Reply::lost && !exchange.may_be_repeated ? RPC_S_SERVER_UNAVAILABLE : failure;
  }
  // The table of handles is this client's: the server has lost one that it gave.
  if (code == ERROR_INVALID_HANDLE && subject.key != nullptr) {
    unbind(*subject.key, route.number());
    return session_is_gone;
  }
  return code;
}

DWORD Carrier::carry(Exchange& exchange, const Subject& subject, std::shared_ptr<Session>* out_session) {
  for (int attempt = 0; attempt < most_attempts; ++attempt) {
    const DWORD code = ask_once(exchange, subject, out_session);
    if (code != session_is_gone) return code;
  }
  return RPC_S_SERVER_UNAVAILABLE;
}

DWORD Carrier::reach(const Subject& subject, std::shared_ptr<Session>* out_session, wire::Number* out_number) {
  for (int attempt = 0; attempt < most_attempts; ++attempt) {
    Route route(*this);
    const DWORD code = find_route(subject, &route);
    if (code == ERROR_SUCCESS) {
      *out_number = route.number();
      *out_session = route.lease().session();
    }
    if (code != session_is_gone) return code;
  }
  return RPC_S_SERVER_UNAVAILABLE;
}

// A handle in a session that is gone went with it.
void Carrier::close(const Remote_Key& key) {
  std::shared_ptr<Session> session;
  wire::Number handle = 0;
  {
    const std::lock_guard lock(client_mutex());
    session = std::move(key.session);
    handle = key.handle;
  }
  if (session == nullptr || !sessions_.is_usable(*session)) return;
  Lease lease;
  if (sessions_.take(session, &lease) == ERROR_SUCCESS) close_handle(lease, handle);
}

}  // namespace impl::client
