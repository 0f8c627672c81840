#include "impl/client/session.h"

#include <kelvane/process.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>
#include <winerror.h>

#include <algorithm>
#include <cstring>

#include "hive/cache/read_section.h"
#include "impl/client/this_program.h"

namespace impl::client {

// Sessions of this process: forks hold the client's lock and end what the child cannot use.
struct Fork_Guard {
  static std::vector<Sessions*>& all() {
    static std::vector<Sessions*>& sessions = *new std::vector<Sessions*>;
    return sessions;
  }
  static void before() {
    client_mutex().lock();
    hive::hold_retired_objects();
  }
  static void in_parent() {
    hive::let_go_of_retired_objects();
    client_mutex().unlock();
  }
  static void in_child() {
    hive::forget_other_sections();
    hive::let_go_of_retired_objects();
    Connection::give_up_inherited();
    for (Sessions* each : all()) each->after_fork();
    client_mutex().unlock();
  }
  static void install() {
    static const int result = pthread_atfork(&before, &in_parent, &in_child);
    static_cast<void>(result);
  }
};

namespace {

using Connections = std::vector<std::unique_ptr<Connection>>;
using std::chrono::milliseconds;

constexpr milliseconds first_pause{5};
constexpr milliseconds longest_pause{50};

// Sleeps also when signals come.
void pause_for(milliseconds time) { poll(nullptr, 0, static_cast<int>(time.count())); }

// Threads of the parent wait for their conditions: they are never destroyed here.
void keep_for_ever(std::vector<std::shared_ptr<Session>> sessions) {
  static auto& kept = *new std::vector<std::shared_ptr<Session>>;
  for (std::shared_ptr<Session>& each : sessions) kept.push_back(std::move(each));
}

}  // namespace

Lease& Lease::operator=(Lease&& other) noexcept {
  std::swap(sessions_, other.sessions_);
  std::swap(session_, other.session_);
  std::swap(connection_, other.connection_);
  return *this;
}

Lease::~Lease() {
  if (connection_ != nullptr) sessions_->give_back(session_, std::move(connection_));
}

Sessions::Sessions(const Settings& settings) : settings_(settings) {
  Fork_Guard::install();
  const std::lock_guard lock(client_mutex());
  Fork_Guard::all().push_back(this);
}

Sessions::~Sessions() {
  Connections closed;
  const std::lock_guard lock(client_mutex());
  std::erase(Fork_Guard::all(), this);
  for (const std::shared_ptr<Session>& each : sessions_) end_locked(*each, closed);
}

void Sessions::after_fork() {
  for (const std::shared_ptr<Session>& each : sessions_) each->has_ended = true;
  keep_for_ever(std::move(sessions_));
  sessions_.clear();
}

template <class Is_Of>
std::shared_ptr<Session> Sessions::find(Is_Of is_of, Connections& out_closed) {
  std::shared_ptr<Session> found;
  for (const std::shared_ptr<Session>& each : sessions_) {
    if (!is_same_process(each->caller)) end_locked(*each, out_closed);
    if (!each->has_ended && is_of(each->caller)) found = each;
  }
  std::erase_if(sessions_, [](const std::shared_ptr<Session>& each) { return each->has_ended; });
  return found;
}

std::shared_ptr<Session> Sessions::of(const Caller& caller) {
  Connections closed;  // without the lock
  const std::lock_guard lock(client_mutex());
  std::shared_ptr<Session> found = find([&](const Caller& its) { return its == caller; }, closed);
  if (found == nullptr) found = sessions_.emplace_back(std::make_shared<Session>(caller));
  return found;
}

std::shared_ptr<Session> Sessions::of_thread() {
  {
    Connections closed;  // without the lock
    const std::lock_guard lock(client_mutex());
    if (std::shared_ptr<Session> found = find(is_same_thread_user, closed)) return found;
  }
  return of(this_caller());
}

bool Sessions::is_usable(const Session& session) {
  {
    const std::lock_guard lock(client_mutex());
    if (session.has_ended) return false;
  }
  return is_same_process(session.caller);
}

DWORD Sessions::take(const std::shared_ptr<Session>& session, Lease* out) {
  std::unique_ptr<Connection> taken;
  {
    std::unique_lock lock(client_mutex());
    const Deadline deadline = Clock::now() + settings_.answer;
    const auto is_ready = [&] {
      const bool may_make = session->has_begun ? session->made < max_connections : session->made == 0;
      return session->has_ended || !session->idle.empty() || may_make;
    };
    if (!session->changed.wait_until(lock, deadline, is_ready)) return RPC_S_SERVER_UNAVAILABLE;
    if (session->has_ended) return session_is_gone;
    if (!session->idle.empty()) {
      taken = std::move(session->idle.back());
      session->idle.pop_back();
    } else {
      ++session->made;
    }
  }
  if (taken == nullptr) {
    const DWORD code = make(session, &taken);
    if (code != ERROR_SUCCESS) return code;
  } else if (!taken->is_good()) {
    end(*session);
    return session_is_gone;
  }
  *out = Lease(this, session, std::move(taken));
  return ERROR_SUCCESS;
}

DWORD Sessions::make(const std::shared_ptr<Session>& session, std::unique_ptr<Connection>* out) {
  const DWORD code = take_own(session, out);
  const std::lock_guard lock(client_mutex());
  if (code != ERROR_SUCCESS) --session->made;
  session->changed.notify_all();
  return code;
}

void Sessions::give_back(const std::shared_ptr<Session>& session, std::unique_ptr<Connection> connection) {
  const std::lock_guard lock(client_mutex());
  if (session->has_ended) {
    --session->made;
    session->changed.notify_all();
  } else {
    session->idle.push_back(std::move(connection));
    session->changed.notify_one();
    return;
  }
  // Released by the caller's argument, behind the lock.
}

void Sessions::end(Session& session) {
  Connections closed;
  const std::lock_guard lock(client_mutex());
  end_locked(session, closed);
}

void Sessions::end_locked(Session& session, Connections& out_closed) {
  session.has_ended = true;
  for (std::unique_ptr<Connection>& each : session.idle) out_closed.push_back(std::move(each));
  session.idle.clear();
  session.changed.notify_all();
}

DWORD Sessions::take_own(const std::shared_ptr<Session>& session, std::unique_ptr<Connection>* out) {
  const bool only_once = is_away_;
  const Deadline deadline = Clock::now() + (only_once ? settings_.single_try : settings_.search);
  std::string trouble;
  milliseconds pause = first_pause;
  for (bool is_revived = false;;) {
    bool may_come = false;
    const DWORD code = try_once(*session, deadline, out, &trouble, &may_come);
    if (code != RPC_S_SERVER_UNAVAILABLE) return code;
    if (settings_.revive && !is_revived && may_come) {
      settings_.revive();
      is_revived = true;
    } else if (only_once || !may_come || Clock::now() >= deadline) {
      note_absence(trouble);
      return code;
    } else {
      pause_for(pause);
      pause = std::min(2 * pause, longest_pause);
    }
  }
}

DWORD Sessions::try_once(Session& session, Deadline deadline, std::unique_ptr<Connection>* out,
                         std::string* out_trouble, bool* out_may_come) {
  Meeting meeting;
  {
    const Acting acting(session.caller);
    if (!acting.worked()) return ERROR_ACCESS_DENIED;
    meeting = meet_server(settings_.endpoint());
  }
  *out_trouble = meeting.trouble;
  *out_may_come = meeting.may_come;
  if (!meeting.socket.is_open()) return RPC_S_SERVER_UNAVAILABLE;
  *out_may_come = true;
  std::unique_ptr<Connection> made = Connection::over(std::move(meeting.socket), deadline, out_trouble);
  if (made == nullptr) return RPC_S_SERVER_UNAVAILABLE;
  const DWORD code = begin(session, *made, deadline, out_trouble);
  if (code == ERROR_SUCCESS) *out = std::move(made);
  return code;
}

// The first connection begins the session; others join it.
DWORD Sessions::begin(Session& session, Connection& connection, Deadline deadline, std::string* out_trouble) {
  wire::Begin_Session::Question question{
      wire::protocol_version, {}, static_cast<wire::Number>(getpid()), bytes_of_program(), bytes_of_host()};
  bool joins = false;
  {
    const std::lock_guard lock(client_mutex());
    joins = session.has_begun;
    if (joins) question.session = session.id;
  }
  decltype(session.id) id{};
  std::shared_ptr<const Change_View> changes;
  auto exchange = client::exchange<wire::Begin_Session>(question, [&](const auto& answer) -> DWORD {
    if (answer.code != ERROR_SUCCESS) return answer.code;
    if (answer.session.size() != id.size()) return wrong_answer;
    std::copy(answer.session.begin(), answer.session.end(), id.begin());
    if (!joins) changes = Change_View::of(answer.page);
    return ERROR_SUCCESS;
  });
  const auto left = std::max(std::chrono::duration_cast<milliseconds>(deadline - Clock::now()), milliseconds(1));
  DWORD code = ERROR_SUCCESS;
  const Reply reply = connection.ask(exchange, 0, left, &code);
  if (reply != Reply::answered) {
    *out_trouble = "no session";
    return RPC_S_SERVER_UNAVAILABLE;
  }
  Connections closed;  // without the lock
  const std::lock_guard lock(client_mutex());
  if (code != ERROR_SUCCESS || (joins && id != session.id)) {
    if (joins) end_locked(session, closed);
    return joins ? session_is_gone : code;
  }
  if (!joins) session.changes = std::move(changes);
  session.id = id;
  session.has_begun = true;
  is_away_ = false;
  has_complained_ = false;
  return ERROR_SUCCESS;
}

// session_is_gone when the question is to be asked again.
DWORD Sessions::code_of(Reply reply, Session& session) {
  switch (reply) {
    case Reply::answered:
      return ERROR_SUCCESS;
    case Reply::lost:
    case Reply::stranger:
      end(session);
      return session_is_gone;
    case Reply::late:
      end(session);
      complain("the server at " + settings_.endpoint() + " does not answer");
      return RPC_S_SERVER_UNAVAILABLE;
    case Reply::wrong:
      end(session);
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

void Sessions::note_absence(const std::string& trouble) {
  is_away_ = true;
  if (has_complained_.exchange(true)) return;
  complain("no server answers at " + settings_.endpoint() + " (" + trouble + "); it is started by \"" +
           start_command() + "\"");
}

void Sessions::complain(const std::string& line) const {
  if (settings_.complain != nullptr) settings_.complain(line);
}

}  // namespace impl::client
