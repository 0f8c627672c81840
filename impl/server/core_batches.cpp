// Batches of clients: which questions go to their threads, and how the answers come back.
#include <new>
#include <utility>

#include "impl/server/core.h"

namespace impl::server {

bool Core::is_of_batch(const Connection& connection, const Row& row) {
  if (row.kind == Kind::begins_batch) return true;
  return connection.batch != nullptr && row.kind != Kind::serves && row.kind != Kind::begins;
}

bool Core::make_batch(Connection& connection) {
  std::size_t& count = batches_of_[connection.peer().user];
  if (count >= wire::max_batches) return false;
  connection.batch = std::make_unique<Client_Batch>(connection.peer().user);
  ++count;
  return true;
}

void Core::ask_in_batch(Connection& connection, sd_bus_message* message, const Row& row) {
  const auto question = std::make_shared<Batch_Question>();
  int error = 0;
  question->asked = row.read(message, &error);
  if (question->asked == nullptr) return refuse(connection, message, error);
  if (connection.batch == nullptr && !make_batch(connection)) return refuse(connection, message, -ENOBUFS);
  question->kind = row.kind;
  question->session = connection.shared_session();
  const std::uint64_t number = park(connection, message);
  ++connection.batch->under_way;
  const auto job = [this, mail = mail_, number, question] {
    try {
      question->perform(*this);
      mail->post([this, number, question] { answer_from_batch(number, *question); });
    } catch (const std::bad_alloc&) {
      // The client waits until its connection goes.
    }
  };
  if (connection.batch->worker.add(job)) return;
  Reply reply;
  row.refuse(message, ERROR_NOT_ENOUGH_MEMORY, &reply);
  if (reply.message != nullptr) connection.send(reply);
  unpark(number);
  note_answered(connection, Kind::ends_batch);
}

// The connection may have gone meanwhile, and its batch with it.
void Core::answer_from_batch(std::uint64_t number, Batch_Question& question) {
  const auto parked = parked_.find(number);
  if (parked == parked_.end()) return;
  Connection& connection = *parked->second.connection;
  Reply reply;
  const int result = question.asked->answer(parked->second.message, &reply);
  if (result < 0) refuse(connection, parked->second.message, result);
  if (reply.message != nullptr) connection.send(reply);
  unpark(number);
  if (note_answered(connection, question.kind)) try_again();
}

// True when it was the last one of a batch; behind the end of one the next may be on its way already.
bool Core::note_answered(Connection& connection, Kind kind) {
  Client_Batch& batch = *connection.batch;
  if (kind == Kind::begins_batch) batch.has_ended = false;
  if (kind == Kind::ends_batch) batch.has_ended = true;
  if (--batch.under_way > 0 || !batch.has_ended) return false;
  end_batch(std::move(connection.batch));
  return true;
}

// Nobody waits for its thread here: that may be waiting for a hive.
void Core::end_batch(std::unique_ptr<Client_Batch> batch) {
  batch->worker.end();
  ending_batches_.push_back(std::move(batch));
}

void Core::forget_ended_batches() {
  std::erase_if(ending_batches_, [this](const std::unique_ptr<Client_Batch>& each) {
    if (!each->worker.is_over()) return false;
    if (--batches_of_[each->user] == 0) batches_of_.erase(each->user);
    return true;
  });
}

}  // namespace impl::server
