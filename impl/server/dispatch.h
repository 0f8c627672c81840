// From a message to the call that it asks for.
#pragma once

#include <systemd/sd-bus.h>

#include <memory>

#include "impl/server/caller.h"
#include "impl/server/reply.h"

namespace impl::server {

enum class Kind {
  begins,  // the one call that is asked without a session
  serves,  // about clients and the host, answered at once
  reads,   // about keys, the same
  writes,  // answered after the commit that holds it
  begins_batch,
  ends_batch,
};

// A question that was read, whose bytes lie in its message.
class Asked {
 public:
  virtual ~Asked() = default;
  // On any thread. Notes what answer() makes the reply of.
  virtual void perform(Caller& caller) = 0;
  // Makes the reply, whose message stays null when it is answered later. A negative errno: -ENOBUFS, beyond a limit;
  // -EPROTONOSUPPORT; what else a reply could not be made for.
  virtual int answer(sd_bus_message* question, Reply* out) = 0;
};

struct Row {
  const char* member;
  const char* question;  // signatures
  const char* answer;
  Kind kind;
  // Reads the question, performs it and makes the reply, whose message stays null when it is answered later. A negative
  // errno: the question cannot be read, or -ENOBUFS: beyond a limit, or -EPROTONOSUPPORT.
  int (*answer_to)(Caller& caller, sd_bus_message* question, Reply* out);
  // The question, to be performed elsewhere; null with a negative errno when it cannot be read.
  std::unique_ptr<Asked> (*read)(sd_bus_message* question, int* out_error);
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
