// How a question reaches the server, whatever becomes of the server meanwhile. Every question of the client's service
// goes through carry().
//
// A question is asked again when the connection broke before its answer came, or the server no longer knows the key's
// handle; the key is then opened again first. So each question may be heard twice: whoever asks it says by
// was_asked_before what that means.
#pragma once

#include "impl/client/batches.h"
#include "impl/client/exchange.h"
#include "impl/client/remote_key.h"
#include "impl/client/session.h"

namespace impl::client {

// What a question is about: a root, an open key, or nothing.
struct Subject {
  wire::Number root = 0;
  const Remote_Key* key = nullptr;
  // Rights that the thread's user has count, not those that the key was opened with.
  bool by_thread = false;
  // For the process, whomever the thread impersonates.
  bool by_process = false;
  // The answer may take as long as reading or writing whole hives does, on a connection of its own.
  bool takes_long = false;

  bool is_of_registry() const { return key != nullptr || root != 0; }
};

class Carrier {
 public:
  explicit Carrier(const Settings& settings) : sessions_(settings) {}

  // The code of the answer; RPC_S_SERVER_UNAVAILABLE when there was none, RPC_S_PROTOCOL_ERROR for a wrong one,
  // ERROR_NO_SYSTEM_RESOURCES beyond the server's limits. out_session may be null: where the answer came from.
  DWORD carry(Exchange& exchange, const Subject& subject, std::shared_ptr<Session>* out_session = nullptr);

  // The session where the subject is open, which has begun, and the subject's number there.
  DWORD reach(const Subject& subject, std::shared_ptr<Session>* out_session, wire::Number* out_number);

  // Closes the key in its session, if that still is.
  void close(const Remote_Key& key);

  Sessions& sessions() { return sessions_; }
  Batches& batches() { return batches_; }

 private:
  class Route;

  std::shared_ptr<Session> session_for(const Subject& subject);
  DWORD find_route(const Subject& subject, Route* out);
  DWORD find_number(const Subject& subject, Route* out);
  DWORD bind(const Remote_Key& key, const Route& route, wire::Number* out_number);
  DWORD reopen(const Remote_Key& key, const Route& route, wire::Number* out_handle);
  void close_handle(const Route& route, wire::Number handle);
  DWORD ask_in_batch(Exchange& exchange, const Subject& subject, Thread_Batch& batch,
                     std::shared_ptr<Session>* out_session);
  DWORD ask_once(Exchange& exchange, const Subject& subject, std::shared_ptr<Session>* out_session);
  static void unbind(const Remote_Key& key, wire::Number handle);

  Sessions sessions_;
  Batches batches_{sessions_};
};

}  // namespace impl::client
