// The batch of a thread: a connection of its own, on which all that the thread asks is one batch of the server's.
// Others never use it.
//
// When the connection breaks the batch is lost: every change by the thread, and the commit, answer so until the thread
// commits or abandons; what it only reads is asked as ever. A forked child has no batch; its parent's goes on.
#pragma once

#include <atomic>
#include <memory>

#include "impl/client/session.h"
#include "impl/registry_service.h"

namespace impl::client {

class Thread_Batch {
 public:
  Thread_Batch(std::shared_ptr<Session> session, std::unique_ptr<Connection> connection);
  ~Thread_Batch();
  Thread_Batch(const Thread_Batch&) = delete;
  Thread_Batch& operator=(const Thread_Batch&) = delete;

  const std::shared_ptr<Session>& session() const { return session_; }
  // Null when it is lost.
  Connection* connection();
  void lose() { connection_ = nullptr; }
  bool is_of_this_process() const { return process_ == process_number(); }

 private:
  const int process_;
  const std::shared_ptr<Session> session_;
  std::unique_ptr<Connection> connection_;
};

class Batches {
 public:
  explicit Batches(Sessions& sessions) : sessions_(sessions) {}
  Batches(const Batches&) = delete;
  Batches& operator=(const Batches&) = delete;

  // The calling thread's; null when it has none, which costs a look at a number as long as no thread has.
  Thread_Batch* of_thread() const { return open_.load(std::memory_order_relaxed) == 0 ? nullptr : find(); }

  DWORD begin();
  // RPC_S_SERVER_UNAVAILABLE: the connection broke before the answer came, and nobody knows whether it was kept.
  DWORD commit(std::vector<Batch_Hive>* out_hives);
  DWORD abandon();
  // What a batch is asked on; null when it is lost, or the process has other rights than it had.
  Connection* connection_of(Thread_Batch& batch) const;

 private:
  friend class Thread_Batch;

  Thread_Batch* find() const;
  std::unique_ptr<Thread_Batch> take() const;
  DWORD try_to_begin();

  static std::atomic<int> open_;

  Sessions& sessions_;
};

}  // namespace impl::client
