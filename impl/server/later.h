// Calls whose work is done by the worker, or by the thread of the batch that they belong to.
#pragma once

#include <memory>
#include <new>
#include <utility>

#include "impl/server/core.h"

namespace impl::server {

// Has work(&answer, scratch), which gives a code, done by the worker, and answers with it. The work has what it needs
// by value; the question is gone by then.
template <class Answer, class Work>
DWORD do_later(Caller& caller, Answer* out, Work work) {
  if (caller.is_in_batch()) return work(out, caller.scratch);
  struct Job {
    Answer answer;
    Scratch scratch;
  };
  const std::uint64_t number = caller.core.park(caller);
  const auto job = [&core = caller.core, mail = caller.core.shared_mail(), number, work = std::move(work)] {
    try {
      const auto done = std::make_shared<Job>();
      try {
        done->answer.code = work(&done->answer, done->scratch);
      } catch (const std::bad_alloc&) {
        done->answer = {};
        done->answer.code = ERROR_NOT_ENOUGH_MEMORY;
      }
      mail->post([&core, number, done] { core.finish(number, done->answer); });
    } catch (const std::bad_alloc&) {
      // The client waits until there is memory again or its connection goes.
    }
  };
  if (caller.core.worker().add(job)) return answered_later;
  caller.core.unpark(number);
  return ERROR_NOT_ENOUGH_MEMORY;
}

}  // namespace impl::server
