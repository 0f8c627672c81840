#include "impl/client/connection.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "impl/client/caller.h"
#include "impl/wire/names.h"

namespace impl::client {
namespace {

using std::chrono::microseconds;

// Every connection, so that a forked child finds those that threads which it lacks were using. With the client's lock.
std::vector<Connection*>& all_connections() {
  static std::vector<Connection*>& connections = *new std::vector<Connection*>;
  return connections;
}

// What cannot be released without touching descriptors that are not ours. With the client's lock.
void keep_for_ever(sd_bus* bus) {
  static std::vector<sd_bus*>& kept = *new std::vector<sd_bus*>;
  kept.push_back(bus);
}

// Zero behind the deadline.
std::uint64_t microseconds_until(Deadline deadline) {
  const auto left = std::chrono::duration_cast<microseconds>(deadline - Clock::now()).count();
  return left > 0 ? static_cast<std::uint64_t>(left) : 0;
}

constexpr int look_about = 1000;  // milliseconds

struct Awaited {
  Message answer;

  static int on_answer(sd_bus_message* message, void* awaited, sd_bus_error*) {
    static_cast<Awaited*>(awaited)->answer.reset(sd_bus_message_ref(message));
    return 1;  // dealt with
  }
};

struct Slot_Release {
  void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using Slot = std::unique_ptr<sd_bus_slot, Slot_Release>;

// Of an error that came as the answer, or of a failure with a negative errno.
Reply reply_of(const sd_bus_error* error, int result, bool is_open) {
  if (sd_bus_error_has_name(error, wire::error_malformed) > 0) return Reply::malformed;
  if (sd_bus_error_has_name(error, wire::error_limit) > 0) return Reply::limit;
  if (sd_bus_error_has_name(error, wire::error_no_session) > 0) return Reply::stranger;
  if (result == -ENOMEM) return Reply::no_memory;
  return is_open ? Reply::wrong : Reply::lost;
}

}  // namespace

std::mutex& client_mutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

Connection::Connection(Own_Socket socket) : socket_(std::move(socket)), process_(process_number()) {
  const std::lock_guard lock(client_mutex());
  all_connections().push_back(this);
}

Connection::~Connection() {
  const bool is_ours = is_good();
  {
    const std::lock_guard lock(client_mutex());
    std::erase(all_connections(), this);
    if (bus_ != nullptr && !is_ours) keep_for_ever(bus_);
  }
  if (bus_ == nullptr || !is_ours) return;
  sd_bus_close_unref(bus_);
  socket_.release();
}

void Connection::give_up_inherited() {
  const int process = process_number();
  for (Connection* each : all_connections()) {
    if (each->process_ != process) each->socket_.close();
  }
}

std::unique_ptr<Connection> Connection::over(Own_Socket socket, Deadline deadline, std::string* out_trouble) {
  std::unique_ptr<Connection> made(new Connection(std::move(socket)));
  return made->greet(deadline, out_trouble) ? std::move(made) : nullptr;
}

// Authentication is two messages each way, which a server that hangs does not answer.
bool Connection::greet(Deadline deadline, std::string* out_trouble) {
  sd_bus* bus = nullptr;
  int result = sd_bus_new(&bus);
  if (result >= 0) result = sd_bus_set_fd(bus, socket_.fd(), socket_.fd());
  if (result < 0) {
    sd_bus_unref(bus);
    *out_trouble = std::strerror(-result);
    return false;
  }
  bus_ = bus;
  sd_bus_negotiate_fds(bus, 1);
  result = sd_bus_start(bus);
  while (result >= 0 && (result = sd_bus_is_ready(bus)) == 0) {
    const std::uint64_t left = microseconds_until(deadline);
    if (left == 0) result = -ETIMEDOUT;
    if (result >= 0) result = sd_bus_process(bus, nullptr);
    if (result == 0) result = sd_bus_wait(bus, left);
    if (result == -EINTR) result = 0;
  }
  if (result < 0) *out_trouble = std::string("no greeting: ") + std::strerror(-result);
  return result > 0;
}

bool Connection::is_good() const { return process_ == process_number() && socket_.is_ours(); }

Message Connection::question(Exchange& exchange, wire::Number key) {
  sd_bus_message* made = nullptr;
  const int result =
      sd_bus_message_new_method_call(bus_, &made, nullptr, wire::object_path, wire::interface_name, exchange.member());
  Message message(made);
  return result >= 0 && exchange.write(made, key) >= 0 ? std::move(message) : nullptr;
}

// A connection is looked at before it is touched: while this waits, the program may close its descriptor.
Reply Connection::await(Exchange& exchange, const std::function<bool()>& goes_on, DWORD* out_code) {
  const Message message = question(exchange, 0);
  if (message == nullptr) return Reply::no_memory;
  Awaited awaited;
  sd_bus_slot* slot = nullptr;
  int result = sd_bus_call_async(bus_, &slot, message.get(), &Awaited::on_answer, &awaited, UINT64_MAX);
  const Slot kept(slot);
  while (result >= 0 && awaited.answer == nullptr) {
    if (!is_good()) return Reply::lost;
    result = sd_bus_process(bus_, nullptr);
    if (result != 0 || awaited.answer != nullptr) continue;
    if (!goes_on()) return Reply::late;
    pollfd end{socket_.fd(), static_cast<short>(sd_bus_get_events(bus_)), 0};
    poll(&end, 1, look_about);
  }
  if (result < 0 || sd_bus_message_is_method_error(awaited.answer.get(), nullptr) > 0) return Reply::lost;
  const DWORD code = exchange.read(awaited.answer.get());
  if (code == wrong_answer) return Reply::wrong;
  *out_code = code;
  return Reply::answered;
}

// Signals interrupt a look at the socket, never the question. What comes beside the answer is no server's.
Reply Connection::ask(Exchange& exchange, wire::Number key, std::chrono::milliseconds patience, DWORD* out_code) {
  const Message message = question(exchange, key);
  if (message == nullptr) return sd_bus_is_open(bus_) > 0 ? Reply::no_memory : Reply::lost;
  const Deadline deadline = Clock::now() + patience;
  Awaited awaited;
  sd_bus_slot* slot = nullptr;
  int result = sd_bus_call_async(bus_, &slot, message.get(), &Awaited::on_answer, &awaited, UINT64_MAX);
  const Slot kept(slot);
  while (result >= 0 && awaited.answer == nullptr) {
    sd_bus_message* stranger = nullptr;
    result = sd_bus_process(bus_, &stranger);
    const Message unexpected(stranger);
    if (unexpected != nullptr) return Reply::wrong;
    if (result == 0 && !wait_until(deadline)) return Reply::late;
  }
  const bool is_open = sd_bus_is_open(bus_) > 0;
  if (result < 0) return reply_of(nullptr, result, is_open);
  if (sd_bus_message_is_method_error(awaited.answer.get(), nullptr) > 0) {
    return reply_of(sd_bus_message_get_error(awaited.answer.get()), 0, is_open);
  }
  std::uint64_t unexpected = 0;
  if (sd_bus_get_n_queued_read(bus_, &unexpected) >= 0 && unexpected > 0) return Reply::wrong;
  const DWORD code = exchange.read(awaited.answer.get());
  if (code == wrong_answer) return Reply::wrong;
  *out_code = code;
  return Reply::answered;
}

// False behind the deadline.
bool Connection::wait_until(Deadline deadline) const {
  const std::uint64_t left = microseconds_until(deadline);
  if (left == 0) return false;
  const timespec time{static_cast<time_t>(left / 1'000'000), static_cast<long>(left % 1'000'000 * 1000)};
  pollfd end{socket_.fd(), static_cast<short>(sd_bus_get_events(bus_)), 0};
  ppoll(&end, 1, &time, nullptr);
  return true;
}

}  // namespace impl::client
