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
    if (temporary_ != 0 && carrier_.sessions_.is_usable(*session_)) carrier_.close_handle(*this, temporary_);
  }
  Route(const Route&) = delete;
  Route& operator=(const Route&) = delete;

  void go_by(Lease lease) {
    lease_ = std::move(lease);
    go_by(lease_.connection(), lease_.session());
  }
  // A connection that stays while this does.
  void go_by(Connection& connection, const std::shared_ptr<Session>& session) {
    connection_ = &connection;
    session_ = session;
  }
  Connection& connection() const { return *connection_; }
  const std::shared_ptr<Session>& session() const { return session_; }
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
  Connection* connection_ = nullptr;
  std::shared_ptr<Session> session_;
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
  Lease lease;
  if (const DWORD code = sessions_.take(session_for(subject), &lease); code != ERROR_SUCCESS) return code;
  out->go_by(std::move(lease));
  return find_number(subject, out);
}

DWORD Carrier::find_number(const Subject& subject, Route* out) {
  if (subject.key == nullptr) {
    out->set_number(subject.root);
    return ERROR_SUCCESS;
  }
  bool is_elsewhere = false;
  {
    const std::lock_guard lock(client_mutex());
    const std::shared_ptr<Session>& its = subject.key->session;
    is_elsewhere = its != nullptr && its != out->session() && !its->has_ended;
  }
  // The key stays where it is open; the session of a process that has other rights now has ended by then.
  wire::Number number = 0;
  const DWORD code = is_elsewhere ? reopen(*subject.key, *out, &number) : bind(*subject.key, *out, &number);
  if (code != ERROR_SUCCESS) return code;
  if (is_elsewhere) {
    out->set_temporary(number);
  } else {
    out->set_number(number);
  }
  return ERROR_SUCCESS;
}

// Two threads may open the key again at once: the handle of the first stays.
DWORD Carrier::bind(const Remote_Key& key, const Route& route, wire::Number* out_number) {
  {
    const std::lock_guard lock(client_mutex());
    *out_number = key.handle;
    if (key.session == route.session()) return ERROR_SUCCESS;
  }
  wire::Number handle = 0;
  const DWORD code = reopen(key, route, &handle);
  if (code != ERROR_SUCCESS) return code;
  {
    const std::lock_guard lock(client_mutex());
    *out_number = handle;
    if (key.session != route.session()) {
      key.session = route.session();
      key.handle = handle;
      return ERROR_SUCCESS;
    }
    *out_number = key.handle;
  }
  close_handle(route, handle);
  return ERROR_SUCCESS;
}

void Carrier::unbind(const Remote_Key& key, wire::Number handle) {
  const std::lock_guard lock(client_mutex());
  if (key.handle == handle) key.session = nullptr;
}

DWORD Carrier::reopen(const Remote_Key& key, const Route& route, wire::Number* out_handle) {
  auto question = exchange<wire::Reopen_Key>({key.root, wire::bytes_of(key.path), key.access, key.id},
                                             [&](const auto& answer) -> DWORD {
                                               *out_handle = answer.handle;
                                               return answer.code;
                                             });
  DWORD code = ERROR_SUCCESS;
  const Reply reply = route.connection().ask(question, 0, sessions_.settings().answer, &code);
  if (reply == Reply::answered) return code;
  sessions_.end(*route.session());
  return reply == Reply::lost || reply == Reply::stranger ? session_is_gone : RPC_S_SERVER_UNAVAILABLE;
}

void Carrier::close_handle(const Route& route, wire::Number handle) {
  auto question = exchange<wire::Close_Key>({handle});
  DWORD code = ERROR_SUCCESS;
  if (route.connection().ask(question, handle, sessions_.settings().answer, &code) == Reply::answered) return;
  sessions_.end(*route.session());
}

// Within the thread's batch. What only looks is asked as ever when the batch is lost.
DWORD Carrier::ask_in_batch(Exchange& exchange, const Subject& subject, Thread_Batch& batch,
                            std::shared_ptr<Session>* out_session) {
  const std::shared_ptr<Session> session = batch.session();
  if (subject.by_thread && !is_same_thread_user(session->caller)) return ERROR_TRANSACTION_REQUEST_NOT_VALID;
  Route route(*this);
  route.go_by(*batch.connection(), session);
  if (out_session != nullptr) *out_session = session;
  DWORD code = find_number(subject, &route);
  if (code != ERROR_SUCCESS) return code;
  const auto patience = subject.takes_long ? sessions_.settings().long_answer : sessions_.settings().answer;
  const Reply reply = route.connection().ask(exchange, route.number(), patience, &code);
  if (reply != Reply::answered) {
    exchange.was_asked_before |= reply == Reply::lost;
    return sessions_.code_of(reply, *session);
  }
  if (code == ERROR_INVALID_HANDLE && subject.key != nullptr) {
    unbind(*subject.key, route.number());
    return session_is_gone;
  }
  return code;
}

DWORD Carrier::ask_once(Exchange& exchange, const Subject& subject, std::shared_ptr<Session>* out_session) {
  Thread_Batch* const batch = subject.is_of_registry() ? batches_.of_thread() : nullptr;
  if (batch != nullptr && batches_.connection_of(*batch) != nullptr) {
    return ask_in_batch(exchange, subject, *batch, out_session);
  }
  if (batch != nullptr && exchange.is_change()) return ERROR_TRANSACTION_ALREADY_ABORTED;
  Route route(*this);
  DWORD code = find_route(subject, &route);
  if (code != ERROR_SUCCESS) return code;
  const std::shared_ptr<Session> session = route.session();
  if (out_session != nullptr) *out_session = session;
  std::unique_ptr<Connection> own;
  if (subject.takes_long) {
    code = sessions_.take_own(session, &own);
    if (code != ERROR_SUCCESS) return code;
    route.let_others_pass();
  }
  const Settings& settings = sessions_.settings();
  const Reply reply = own != nullptr ? own->ask(exchange, route.number(), settings.long_answer, &code)
                                     : route.connection().ask(exchange, route.number(), settings.answer, &code);
  if (reply != Reply::answered) {
    exchange.was_asked_before |= reply == Reply::lost;
    const DWORD failure = sessions_.code_of(reply, *session);
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
      *out_session = route.session();
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
  if (sessions_.take(session, &lease) != ERROR_SUCCESS) return;
  Route route(*this);
  route.go_by(std::move(lease));
  close_handle(route, handle);
}

}  // namespace impl::client
