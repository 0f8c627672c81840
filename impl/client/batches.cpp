#include "impl/client/batches.h"

#include <poll.h>
#include <winerror.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace impl::client {
namespace {

constexpr int most_attempts = 16;

struct Begun {
  const Batches* by;
  std::unique_ptr<Thread_Batch> batch;
};

// Of each service that the thread uses; its end, with the thread's, closes the connections, which abandons the batches.
thread_local std::vector<Begun> begun_by_thread;

std::vector<Begun>::iterator begun_by(const Batches* batches) {
  return std::find_if(begun_by_thread.begin(), begun_by_thread.end(),
                      [batches](const Begun& each) { return each.by == batches; });
}

bool is_hung_up(int socket) {
  pollfd end{socket, POLLRDHUP, 0};
  return poll(&end, 1, 0) > 0;
}

HKEY handle_of(wire::Number root) { return reinterpret_cast<HKEY>(std::uintptr_t{root}); }

}  // namespace

std::atomic<int> Batches::open_{0};

Thread_Batch::Thread_Batch(std::shared_ptr<Session> session, std::unique_ptr<Connection> connection)
    : process_(process_number()), session_(std::move(session)), connection_(std::move(connection)) {
  Batches::open_.fetch_add(1, std::memory_order_relaxed);
}

Thread_Batch::~Thread_Batch() { Batches::open_.fetch_sub(1, std::memory_order_relaxed); }

Connection* Thread_Batch::connection() {
  if (connection_ != nullptr && (!connection_->is_good() || is_hung_up(connection_->fd()))) lose();
  return connection_.get();
}

// What a forked child has found of its parent's is let go of.
Thread_Batch* Batches::find() const {
  const auto begun = begun_by(this);
  if (begun == begun_by_thread.end()) return nullptr;
  if (begun->batch->is_of_this_process()) return begun->batch.get();
  begun_by_thread.erase(begun);
  return nullptr;
}

std::unique_ptr<Thread_Batch> Batches::take() const {
  if (of_thread() == nullptr) return nullptr;
  const auto begun = begun_by(this);
  std::unique_ptr<Thread_Batch> batch = std::move(begun->batch);
  begun_by_thread.erase(begun);
  return batch;
}

Connection* Batches::connection_of(Thread_Batch& batch) const {
  if (!sessions_.is_usable(*batch.session())) batch.lose();
  return batch.connection();
}

DWORD Batches::begin() {
  if (of_thread() != nullptr) return ERROR_TRANSACTION_REQUEST_NOT_VALID;
  for (int attempt = 0; attempt < most_attempts; ++attempt) {
    const DWORD code = try_to_begin();
    if (code != session_is_gone) return code;
  }
  return RPC_S_SERVER_UNAVAILABLE;
}

DWORD Batches::try_to_begin() {
  const std::shared_ptr<Session> session = sessions_.of_thread();
  std::unique_ptr<Connection> own;
  {
    Lease first;  // the session has begun with it
    if (const DWORD code = sessions_.take(session, &first); code != ERROR_SUCCESS) return code;
    if (const DWORD code = sessions_.take_own(session, &own); code != ERROR_SUCCESS) return code;
  }
  auto question = exchange<wire::Begin_Batch>({});
  DWORD code = ERROR_SUCCESS;
  const Reply reply = own->ask(question, 0, sessions_.settings().answer, &code);
  if (reply != Reply::answered) return sessions_.code_of(reply, *session);
  if (code == ERROR_SUCCESS) {
    begun_by_thread.push_back({this, std::make_unique<Thread_Batch>(session, std::move(own))});
  }
  return code;
}

DWORD Batches::commit(std::vector<Batch_Hive>* out_hives) {
  const std::unique_ptr<Thread_Batch> batch = take();
  if (batch == nullptr) return ERROR_TRANSACTION_NOT_ACTIVE;
  Connection* const connection = connection_of(*batch);
  if (connection == nullptr) return ERROR_TRANSACTION_ALREADY_ABORTED;
  auto question = exchange<wire::Commit_Batch>({}, [&](const auto& answer) -> DWORD {
    for (const wire::Batch_Hive& each : answer.hives) {
      out_hives->push_back({handle_of(each.root), std::string(each.file.begin(), each.file.end()), each.code});
    }
    return answer.code;
  });
  DWORD code = ERROR_SUCCESS;
  const Reply reply = connection->ask(question, 0, sessions_.settings().long_answer, &code);
  if (reply == Reply::answered) return code;
  code = sessions_.code_of(reply, *batch->session());
  return code == session_is_gone ? RPC_S_SERVER_UNAVAILABLE : code;
}

// Whoever asks next is answered behind it.
DWORD Batches::abandon() {
  const std::unique_ptr<Thread_Batch> batch = take();
  if (batch == nullptr) return ERROR_TRANSACTION_NOT_ACTIVE;
  Connection* const connection = connection_of(*batch);
  if (connection == nullptr) return ERROR_SUCCESS;
  auto question = exchange<wire::Abandon_Batch>({});
  DWORD ignored = ERROR_SUCCESS;
  const Reply reply = connection->ask(question, 0, sessions_.settings().answer, &ignored);
  if (reply != Reply::answered) sessions_.code_of(reply, *batch->session());
  return ERROR_SUCCESS;
}

}  // namespace impl::client
