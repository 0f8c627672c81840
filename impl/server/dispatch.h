// From a message to the call that it asks for.
#pragma once

#include <systemd/sd-bus.h>

#include "impl/server/caller.h"
#include "impl/server/reply.h"

namespace impl::server {

enum class Kind {
  begins,  // the one call that is asked without a session
  reads,   // answered at once
  writes,  // answered after the commit that holds it
};

struct Row {
  const char* member;
  const char* question;  // signatures
  const char* answer;
  Kind kind;
  // Reads the question, performs it and makes the reply, whose message stays null when it is answered later. A negative
  // errno: the question cannot be read, or -ENOBUFS: beyond a limit, or -EPROTONOSUPPORT.
  int (*answer_to)(Caller& caller, sd_bus_message* question, Reply* out);
  // The reply with only a code.
  int (*refuse)(sd_bus_message* question, DWORD code, Reply* out);
};

// Null for a member that the interface does not have.
const Row* row_of(const char* member);

// All of them, in the order of the list.
struct Rows {
  const Row* begin_;
  const Row* end_;
  const Row* begin() const { return begin_; }
  const Row* end() const { return end_; }
};
Rows rows();

}  // namespace impl::server
