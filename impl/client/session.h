// What the server knows this process by: a session has the handles, and the connections that the calls of this process
// take turns with.
//
// A session belongs to one caller (impl/client/caller.h). It ends as a whole when one of its connections breaks: what
// was opened in it is opened again in the next one.
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <string>
#include <vector>

#include "impl/client/caller.h"
#include "impl/client/change_view.h"
#include "impl/client/connection.h"
#include "impl/wire/names.h"

namespace impl::client {

// Everything but the caller is guarded by the client's lock. One that has ended has no idle connections: it may be
// released with the lock held, a connection may not.
struct Session {
  explicit Session(Caller its_caller) : caller(std::move(its_caller)) {}

  const Caller caller;
  std::array<unsigned char, wire::session_size> id{};
  std::shared_ptr<const Change_View> changes;  // from its beginning on; null: the server has no such page
  bool has_begun = false;
  bool has_ended = false;
  unsigned made = 0;  // connections that take turns, those included that are being made
  std::vector<std::unique_ptr<Connection>> idle;
  std::condition_variable changed;
};

// The session ended before the question was asked: it is asked in the next one. Never leaves the client.
inline constexpr DWORD session_is_gone = ~DWORD{0};

class Sessions;

// A connection for one call. It goes back at the end, or is closed when the session has ended meanwhile.
class Lease {
 public:
  Lease() = default;
  Lease(Sessions* sessions, std::shared_ptr<Session> session, std::unique_ptr<Connection> connection)
      : sessions_(sessions), session_(std::move(session)), connection_(std::move(connection)) {}
  Lease(Lease&&) = default;
  Lease& operator=(Lease&& other) noexcept;
  ~Lease();

  explicit operator bool() const { return connection_ != nullptr; }
  Connection& connection() const { return *connection_; }
  const std::shared_ptr<Session>& session() const { return session_; }

 private:
  Sessions* sessions_ = nullptr;
  std::shared_ptr<Session> session_;
  std::unique_ptr<Connection> connection_;
};

class Sessions {
 public:
  explicit Sessions(const Settings& settings);
  ~Sessions();
  Sessions(const Sessions&) = delete;
  Sessions& operator=(const Sessions&) = delete;

  // The session of a caller, begun or not. Those of a former process or of former rights end.
  std::shared_ptr<Session> of(const Caller& caller);
  // The same for the calling thread; a session that there is costs no allocation.
  std::shared_ptr<Session> of_thread();

  // Whether calls may still go through it: it has not ended, and the process is who it was.
  bool is_usable(const Session& session);

  // One of the session's connections, at most four, waiting for it and for the server until the deadline. Answers a
  // code: ERROR_SUCCESS; session_is_gone when the session has ended; ERROR_ACCESS_DENIED; RPC_S_SERVER_UNAVAILABLE,
  // which has been complained of.
  DWORD take(const std::shared_ptr<Session>& session, Lease* out);
  // One more for a call that takes long, in a session that has begun; as above, and it is the caller's alone.
  DWORD take_own(const std::shared_ptr<Session>& session, std::unique_ptr<Connection>* out);

  // What a question's reply, which was no answer, means to who asked it; the session has ended where it must. Gives
  // session_is_gone when the question is to be asked again.
  DWORD code_of(Reply reply, Session& session);
  // One of its connections broke or can no longer be believed.
  void end(Session& session);
  void complain(const std::string& line) const;

  const Settings& settings() const { return settings_; }

 private:
  friend class Lease;

  static constexpr unsigned max_connections = 4;

  // With the client's lock; null when there is none of which is_of says yes.
  template <class Is_Of>
  std::shared_ptr<Session> find(Is_Of is_of, std::vector<std::unique_ptr<Connection>>& out_closed);
  void give_back(const std::shared_ptr<Session>& session, std::unique_ptr<Connection> connection);
  DWORD make(const std::shared_ptr<Session>& session, std::unique_ptr<Connection>* out);
  DWORD try_once(Session& session, Deadline deadline, std::unique_ptr<Connection>* out, std::string* out_trouble,
                 bool* out_may_come);
  DWORD begin(Session& session, Connection& connection, Deadline deadline, std::string* out_trouble);
  void end_locked(Session& session, std::vector<std::unique_ptr<Connection>>& out_closed);
  void note_absence(const std::string& trouble);
  void after_fork();

  const Settings settings_;
  std::vector<std::shared_ptr<Session>> sessions_;  // with the client's lock
  std::atomic<bool> is_away_ = false;               // the last search was in vain
  std::atomic<bool> has_complained_ = false;

  friend struct Fork_Guard;
};

}  // namespace impl::client
