#include "impl/server/connection.h"

#include <poll.h>
#include <sys/epoll.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

#include "impl/server/core.h"
#include "impl/server/standard_calls.h"

namespace impl::server {
namespace {

static_assert(EPOLLIN == POLLIN && EPOLLOUT == POLLOUT);

constexpr int most_messages_at_once = 32;
constexpr std::size_t most_unsent = 16 << 20;  // bytes, about

bool is_ours(sd_bus_message* message) {
  const char* const interface = sd_bus_message_get_interface(message);
  const char* const path = sd_bus_message_get_path(message);
  return path != nullptr && std::strcmp(path, wire::object_path) == 0 &&
         (interface == nullptr || std::strcmp(interface, wire::interface_name) == 0);
}

}  // namespace

Connection::Connection(Core& core, wire::Unique_Fd socket, Peer peer)
    : core_(core), fd_(socket.get()), socket_(std::move(socket)), peer_(std::move(peer)) {}

Connection::~Connection() {
  if (bus_ == nullptr) return;
  sd_bus_close(bus_);
  sd_bus_unref(bus_);
}

bool Connection::start(const sd_id128_t& server) {
  if (sd_bus_new(&bus_) < 0) return false;
  if (sd_bus_set_fd(bus_, fd_, fd_) < 0) return false;
  socket_.release();
  framing_.look(fd_, true);  // starting reads already
  const bool ready = sd_bus_set_server(bus_, 1, server) >= 0 && sd_bus_negotiate_fds(bus_, 1) >= 0 &&
                     sd_bus_add_filter(bus_, nullptr, &on_message, this) >= 0 && sd_bus_start(bus_) >= 0;
  if (!ready) return false;
  watched_ = EPOLLIN | EPOLLOUT;  // what starting has read may want an answer
  core_.watch(*this, watched_, true);
  return !ended_;
}

void Connection::end() {
  ended_ = true;
  core_.note_ended();
}

void Connection::set_session(std::shared_ptr<Session> session) {
  session_ = std::move(session);
  ++session_->connections;
}

// A client that has gone does not wait.
void Connection::serve(std::uint32_t events) {
  if (ended_) return;
  if (waiting > 0 && (events & (EPOLLHUP | EPOLLERR)) != 0) return end();
  lacks_bytes_ = false;
  int result = 1;
  for (int i = 0; i < most_messages_at_once && result > 0 && !ended_ && may_read(); ++i) result = step();
  if (result < 0 || sd_bus_is_open(bus_) <= 0) return end();
  watch_socket();
}

// While answers wait nothing is asked for, and what the library reads beside writing them is bounded by that.
bool Connection::may_read() {
  if (unsent_ > 0) return true;
  if (waiting > 0) return false;
  const Framing::Look look = framing_.look(fd_, is_greeting());
  if (look == Framing::Look::too_long) end();
  lacks_bytes_ = look == Framing::Look::more;
  return look == Framing::Look::read;
}

bool Connection::is_greeting() const { return sd_bus_is_ready(bus_) <= 0; }

int Connection::step() {
  const bool was_unsent = unsent_ > 0;
  took_message_ = false;
  const int result = sd_bus_process(bus_, nullptr);
  took_message_ ? framing_.took_message() : framing_.took_nothing();
  if (took_message_) note_sent(reply_head_size);  // by the library itself, perhaps
  return was_unsent ? 0 : result;
}

// A beginning of a message is looked at again only when there is more of it.
void Connection::watch_socket() {
  std::uint64_t unsent = 0;
  if (unsent_ > 0 && (sd_bus_get_n_queued_write(bus_, &unsent) < 0 || unsent == 0)) unsent_ = 0;
  if (unsent_ > most_unsent) return end();
  const std::uint32_t wanted = is_greeting()  ? static_cast<std::uint32_t>(sd_bus_get_events(bus_))
                               : unsent_ > 0  ? EPOLLOUT
                               : waiting > 0  ? 0
                               : lacks_bytes_ ? EPOLLIN | EPOLLET
                                              : EPOLLIN;
  if (wanted == watched_ || ended_) return;
  watched_ = wanted;
  core_.watch(*this, wanted, false);
}

int Connection::on_message(sd_bus_message* message, void* connection, sd_bus_error*) {
  auto& self = *static_cast<Connection*>(connection);
  try {
    return self.take(message);
  } catch (const std::bad_alloc&) {
    self.end();
    return 1;
  }
}

// 1: it is dealt with; 0: the library answers that there is no such thing.
int Connection::take(sd_bus_message* message) {
  took_message_ = true;
  std::uint8_t type = 0;
  if (sd_bus_message_get_type(message, &type) < 0 || type != SD_BUS_MESSAGE_METHOD_CALL) return 1;
  if (!is_ours(message)) return answer_standard_call(*this, message);
  const Row* const row = row_of(sd_bus_message_get_member(message));
  if (row == nullptr) return 0;
  if (session_ == nullptr && row->kind != Kind::begins) {
    send_error(message, wire::error_no_session, "BeginSession comes first");
  } else if (calls_under_way + waiting >= wire::max_calls_under_way) {
    send_error(message, wire::error_limit, "Too many calls under way on this connection");
  } else {
    core_.ask(*this, message, *row);
  }
  return 1;
}

void Connection::send(const Reply& reply) {
  if (!ended_ && sd_bus_send(bus_, reply.message, nullptr) < 0) end();
  sd_bus_message_unref(reply.message);
  note_sent(reply.size);
}

void Connection::send_error(sd_bus_message* question, const char* name, const char* text) {
  if (!ended_ && sd_bus_reply_method_errorf(question, name, "%s", text) < 0) end();
  note_sent(reply_head_size);
}

// What could not be written at once waits in the library.
void Connection::note_sent(std::size_t size) {
  std::uint64_t unsent = 0;
  if (ended_ || sd_bus_get_n_queued_write(bus_, &unsent) < 0 || unsent == 0) return;
  unsent_ += size;
  watch_socket();
}

}  // namespace impl::server
