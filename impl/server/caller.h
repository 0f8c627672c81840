// Who asks one question, and what its answer may use.
#pragma once

#include <systemd/sd-bus.h>
#include <winerror.h>

#include "impl/server/scratch.h"
#include "impl/server/session.h"

namespace impl::server {

class Connection;
class Core;

// What a call gives whose answer comes later; no Win32 code.
inline constexpr DWORD answered_later = 0xffffffffu;
// What a call gives that a limit of its client forbids; becomes an error of the transport. It has changed nothing.
inline constexpr DWORD beyond_limit = 0xfffffffeu;

// What BeginSession gives a client of another version of the protocol; the same.
inline constexpr DWORD other_version = 0xfffffffdu;

struct Caller {
  Core& core;
  Connection* connection;  // null on the thread of a batch, which must not touch it
  Session* session;        // null only in BeginSession
  Scratch& scratch;
  sd_bus_message* message;  // the same
  wire::Number* made;       // where a new handle is told, in case its key is not kept

  const Peer& peer() const { return session->peer; }
  // What is done is seen by others after the batch's commit only.
  bool is_in_batch() const { return connection == nullptr; }
};

}  // namespace impl::server
