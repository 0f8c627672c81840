// The batch of one connection, on a thread of its own: the store's batches belong to threads. What the client asks on
// that connection meanwhile is done there, one question after the other, and answered by the server's thread.
//
// The end of the thread abandons what was not committed.
#pragma once

#include <cstddef>
#include <memory>

#include "impl/server/dispatch.h"
#include "impl/server/session.h"
#include "impl/server/worker.h"

namespace impl::server {

struct Client_Batch {
  explicit Client_Batch(uid_t its_user) : user(its_user) {}

  const uid_t user;
  std::size_t under_way = 0;  // questions that are not answered yet
  bool has_ended = false;     // the thread goes when nothing is under way any more
  Worker worker{"registry-client"};
};

// A question on its way to a batch's thread and back.
struct Batch_Question {
  std::unique_ptr<Asked> asked;
  Kind kind;
  std::shared_ptr<Session> session;
  Scratch scratch;
  wire::Number made = 0;

  void perform(Core& core) {
    Caller caller{core, nullptr, session.get(), scratch, nullptr, &made};
    asked->perform(caller);
  }
};

}  // namespace impl::server
