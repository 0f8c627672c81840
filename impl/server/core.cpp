#include "impl/server/core.h"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <utility>

#include "impl/inproc/status_code.h"
#include "impl/wire/names.h"

namespace impl::server {
namespace {

constexpr auto time_to_begin = std::chrono::seconds(30);
constexpr std::size_t most_ready_at_once = 64;
// How long questions wait for whoever else has a hive: as long as a thread of a program waits.
constexpr auto longest_wait = std::chrono::seconds(5);
constexpr auto no_time = std::chrono::milliseconds(0);

}  // namespace

Core::Core(hive::Registry& registry, Settings settings) : registry_(registry), settings_(std::move(settings)) {}

Core::~Core() { end(); }

bool Core::open() {
  changes_.open();
  ready_ = wire::Unique_Fd(epoll_create1(EPOLL_CLOEXEC));
  registry_.set_patience(no_time);
  return ready_ && mail_->open() && sd_id128_randomize(&id_) >= 0;
}

void Core::end() {
  for (const auto& connection : connections_) connection->end();
  commit();
  sweep();
  ending_batches_.clear();
  registry_.set_patience(longest_wait);
}

// A per-user server has no business with others.
void Core::admit(wire::Unique_Fd socket) {
  Peer peer;
  if (!peer_of(socket.get(), &peer)) return;
  if (!settings_.machine_wide && !peer.is_root() && peer.user != geteuid()) return;
  std::size_t& count = connections_of_[peer.user];
  if (count >= wire::max_connections) return;
  auto connection = std::make_unique<Connection>(*this, std::move(socket), peer);
  if (!connection->start(id_)) return;
  ++count;
  connections_.push_back(std::move(connection));
}

void Core::watch(Connection& connection, std::uint32_t events, bool is_new) {
  epoll_event event{};
  event.events = events;
  event.data.ptr = &connection;
  if (epoll_ctl(ready_.get(), is_new ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, connection.fd(), &event) != 0) connection.end();
}

void Core::serve() {
  std::array<epoll_event, most_ready_at_once> ready;
  const int count = epoll_wait(ready_.get(), ready.data(), static_cast<int>(ready.size()), 0);
  for (int i = 0; i < count; ++i) {
    const epoll_event& event = ready[static_cast<std::size_t>(i)];
    static_cast<Connection*>(event.data.ptr)->serve(event.events);
  }
  commit();
  sweep();
}

bool Core::end_silent_connections() {
  bool any_left = false;
  const auto now = Connection::Clock::now();
  for (const auto& connection : connections_) {
    if (connection->session() != nullptr) continue;
    const bool is_late = now - connection->since() >= time_to_begin;
    if (is_late) connection->end();
    any_left |= !is_late;
  }
  sweep();
  return any_left;
}

// Writes wait for the end of the round. What is asked behind a write of the same connection sees it done.
void Core::ask(Connection& connection, sd_bus_message* message, const Row& row) {
  if (connection.has_write && row.kind != Kind::writes) commit();
  if (connection.waiting == 0 && is_of_batch(connection, row)) return ask_in_batch(connection, message, row);
  Call call{&connection, sd_bus_message_ref(message), &row};
  if (row.kind != Kind::writes) return attempt_now(call);
  connection.has_write = true;
  writes_.push_back(call);
}

void Core::attempt_now(Call& call) {
  attempt(call);
  conclude(call);
}

// Whether it waits is known afterwards: behind an earlier question of its connection, or for the hive.
void Core::attempt(Call& call) {
  Connection& connection = *call.connection;
  call.waits = connection.waiting > 0;
  if (!call.waits) {
    call.reply = answer(connection, call.message, *call.row, &call.made);
    if (call.reply.code != ERROR_BUSY || has_waited_enough(call)) return;
    sd_bus_message_unref(call.reply.message);
    call.reply = {};
    call.waits = true;
  }
  ++connection.waiting;
  if (call.since == Clock::time_point{}) call.since = Clock::now();
}

bool Core::has_waited_enough(const Call& call) {
  return call.since != Clock::time_point{} && Clock::now() - call.since >= longest_wait;
}

void Core::conclude(Call& call) {
  if (call.waits) {
    waiting_.push_back(call);
    call.connection->watch_socket();
    return;
  }
  if (call.reply.message != nullptr) call.connection->send(call.reply);
  sd_bus_message_unref(call.message);
}

// Everything that waits, in its order.
void Core::try_again() {
  std::vector<Call> again;
  again.swap(waiting_);
  for (const Call& call : again) --call.connection->waiting;
  for (Call call : again) {
    if (call.row->kind == Kind::writes) {
      call.connection->has_write = true;
      writes_.push_back(call);
      continue;
    }
    if (call.connection->has_write) commit();
    if (call.connection->waiting == 0 && is_of_batch(*call.connection, *call.row)) {
      ask_in_batch(*call.connection, call.message, *call.row);
      sd_bus_message_unref(call.message);
    } else {
      attempt_now(call);
    }
  }
  commit();
  for (const Call& call : again) call.connection->watch_socket();
  sweep();
}

Reply Core::answer(Connection& connection, sd_bus_message* message, const Row& row, wire::Number* out_made) {
  Caller caller{*this, &connection, connection.session(), scratch_, message, out_made};
  Reply reply;
  const int result = row.answer_to(caller, message, &reply);
  scratch_.reset();
  if (result < 0) refuse(connection, message, result);
  return reply;
}

void Core::refuse(Connection& connection, sd_bus_message* message, int error) {
  if (error == -ENOBUFS) {
    connection.send_error(message, wire::error_limit, "This client has as many as one may have");
  } else if (error == -EPROTONOSUPPORT) {
    connection.send_error(message, wire::error_version, "This server speaks version 1");
  } else {
    connection.send_error(message, wire::error_malformed, "The question cannot be read");
  }
}

// What waits together is one transaction. When that cannot be kept nothing of it was done, and each is tried alone;
// when it was kept in one hive and not in another, all are told so.
void Core::commit() {
  if (writes_.empty()) return;
  std::vector<Call> writes;
  writes.swap(writes_);
  DWORD code = ERROR_SUCCESS;
  if (writes.size() == 1 || !write_together(writes, &code)) write_alone(writes);
  if (code != ERROR_SUCCESS) refuse(writes, code);
  changes_.publish();
  for (Call& write : writes) {
    write.connection->has_write = false;
    conclude(write);
  }
  writes.clear();
  if (writes_.empty()) writes_.swap(writes);  // keeps the room
}

// False when nothing was done.
bool Core::write_together(std::vector<Call>& writes, DWORD* out_code) {
  if (registry_.begin_batch() != hive::Status::ok) return false;
  for (Call& write : writes) attempt(write);
  std::vector<hive::Batch_Result> results;
  const hive::Status status = registry_.commit_batch(&results);
  if (status == hive::Status::ok) return true;
  take_back(writes);
  for (const hive::Batch_Result& result : results) {
    if (result.status == hive::Status::ok) *out_code = code_of(status);
  }
  return *out_code != ERROR_SUCCESS;
}

void Core::write_alone(std::vector<Call>& writes) {
  for (Call& write : writes) attempt(write);
}

// What was answered is not so.
void Core::take_back(std::vector<Call>& writes) {
  for (Call& write : writes) {
    if (std::exchange(write.waits, false)) --write.connection->waiting;
    sd_bus_message_unref(write.reply.message);
    write.reply = {};
    if (write.made != 0) write.connection->session()->keys.remove(std::exchange(write.made, 0));
  }
}

void Core::refuse(std::vector<Call>& writes, DWORD code) {
  for (Call& write : writes) write.row->refuse(write.message, code, &write.reply);
}

std::uint64_t Core::park(Connection& connection, sd_bus_message* message) {
  ++connection.calls_under_way;
  parked_.emplace(next_parked_, Parked{&connection, sd_bus_message_ref(message)});
  return next_parked_++;
}

void Core::unpark(std::uint64_t number) {
  const auto parked = parked_.find(number);
  if (parked == parked_.end()) return;
  --parked->second.connection->calls_under_way;
  sd_bus_message_unref(parked->second.message);
  parked_.erase(parked);
}

void Core::sweep() {
  if (!ending_batches_.empty()) forget_ended_batches();
  if (!has_ended_connections_) return;
  has_ended_connections_ = false;
  for (auto each = connections_.begin(); each != connections_.end();) {
    if (!(*each)->has_ended()) {
      ++each;
      continue;
    }
    drop(**each);
    each = connections_.erase(each);
  }
}

void Core::drop(Connection& connection) {
  for (auto each = parked_.begin(); each != parked_.end();) {
    if (each->second.connection != &connection) {
      ++each;
      continue;
    }
    sd_bus_message_unref(each->second.message);
    each = parked_.erase(each);
  }
  std::erase_if(waiting_, [&](const Call& each) {
    if (each.connection != &connection) return false;
    sd_bus_message_unref(each.message);
    return true;
  });
  if (connection.batch != nullptr) end_batch(std::move(connection.batch));
  if (--connections_of_[connection.peer().user] == 0) connections_of_.erase(connection.peer().user);
  Session* const session = connection.session();
  if (session != nullptr && --session->connections == 0) end_session(*session);
}

void Core::end_session(Session& session) {
  if (session.watches > 0) {
    for (const hive::Key& key : session.keys.all()) registry_.end_watches(key);
    for (const hive::Key& key : session.roots) {
      if (key != nullptr) registry_.end_watches(key);
    }
  }
  requests_.forget(session);
  sessions_.erase(session.id);
}

}  // namespace impl::server
