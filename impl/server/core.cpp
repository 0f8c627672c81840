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

}  // namespace

Core::Core(hive::Registry& registry, Settings settings) : registry_(registry), settings_(std::move(settings)) {}

Core::~Core() { end(); }

bool Core::open() {
  changes_.open();
  ready_ = wire::Unique_Fd(epoll_create1(EPOLL_CLOEXEC));
  return ready_ && mail_->open() && sd_id128_randomize(&id_) >= 0;
}

void Core::end() {
  for (const auto& connection : connections_) connection->end();
  commit();
  sweep();
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
  for (int i = 0; i < count; ++i) static_cast<Connection*>(ready[static_cast<std::size_t>(i)].data.ptr)->serve();
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
  if (row.kind == Kind::writes) {
    connection.has_write = true;
    writes_.push_back({&connection, sd_bus_message_ref(message), &row});
    return;
  }
  if (connection.has_write) commit();
  wire::Number made = 0;
  const Reply reply = answer(connection, message, row, &made);
  if (reply.message != nullptr) connection.send(reply);
}

Reply Core::answer(Connection& connection, sd_bus_message* message, const Row& row, wire::Number* out_made) {
  Caller caller{*this, connection, connection.session(), scratch_, message, out_made};
  Reply reply;
  const int result = row.answer_to(caller, message, &reply);
  scratch_.reset();
  if (result == -ENOBUFS) {
    connection.send_error(message, wire::error_limit, "This client has as many as one may have");
  } else if (result == -EPROTONOSUPPORT) {
    connection.send_error(message, wire::error_version, "This server speaks version 1");
  } else if (result < 0) {
    connection.send_error(message, wire::error_malformed, "The question cannot be read");
  }
  return reply;
}

// What waits together is one transaction. When that cannot be kept nothing of it was done, and each is tried alone;
// when it was kept in one hive and not in another, all are told so.
void Core::commit() {
  if (writes_.empty()) return;
  std::vector<Write> writes;
  writes.swap(writes_);
  DWORD code = ERROR_SUCCESS;
  if (writes.size() == 1 || !write_together(writes, &code)) write_alone(writes);
  if (code != ERROR_SUCCESS) refuse(writes, code);
  changes_.publish();
  for (const Write& write : writes) {
    write.connection->has_write = false;
    if (write.reply.message != nullptr) write.connection->send(write.reply);
    sd_bus_message_unref(write.message);
  }
  writes.clear();
  if (writes_.empty()) writes_.swap(writes);  // keeps the room
}

// False when nothing was done.
bool Core::write_together(std::vector<Write>& writes, DWORD* out_code) {
  if (registry_.begin_batch() != hive::Status::ok) return false;
  for (Write& write : writes) write.reply = answer(*write.connection, write.message, *write.row, &write.made);
  std::vector<hive::Batch_Result> results;
  const hive::Status status = registry_.commit_batch(&results);
  if (status == hive::Status::ok) return true;
  take_back(writes);
  for (const hive::Batch_Result& result : results) {
    if (result.status == hive::Status::ok) *out_code = code_of(status);
  }
  return *out_code != ERROR_SUCCESS;
}

void Core::write_alone(std::vector<Write>& writes) {
  for (Write& write : writes) write.reply = answer(*write.connection, write.message, *write.row, &write.made);
}

// What was answered is not so.
void Core::take_back(std::vector<Write>& writes) {
  for (Write& write : writes) {
    sd_bus_message_unref(write.reply.message);
    write.reply = {};
    if (write.made != 0) write.connection->session()->keys.remove(std::exchange(write.made, 0));
  }
}

void Core::refuse(std::vector<Write>& writes, DWORD code) {
  for (Write& write : writes) write.row->refuse(write.message, code, &write.reply);
}

std::uint64_t Core::park(const Caller& caller) {
  ++caller.connection.calls_under_way;
  parked_.emplace(next_parked_, Parked{&caller.connection, sd_bus_message_ref(caller.message)});
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
