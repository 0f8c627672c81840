// A client of the registry's server that speaks the protocol and nothing above it.
#pragma once

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <winnt.h>
#include <winreg.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "impl/wire/message.h"
#include "impl/wire/names.h"
#include "impl/wire/unique_fd.h"

namespace servertest {

namespace wire = impl::wire;

constexpr std::uint64_t long_enough = 60'000'000;  // microseconds; what takes longer is broken

// Where a server listens: a name that the system gives, which any user may connect to.
struct Address {
  sockaddr_un name{};
  socklen_t size = sizeof name;
};

inline wire::Unique_Fd connect_to(const Address& address) {
  wire::Unique_Fd made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const auto* const name = reinterpret_cast<const sockaddr*>(&address.name);
  if (connect(made.get(), name, address.size) != 0) return {};
  return made;
}

// What came back, as long as this lives: the answer, or the name of an error.
template <class Call>
struct Answered {
  typename Call::Answer answer;
  std::string error;
  std::shared_ptr<sd_bus_message> message;

  const typename Call::Answer* operator->() const { return &answer; }
};

class Client {
 public:
  // A connection without a session.
  explicit Client(wire::Unique_Fd socket, bool takes_descriptors = true) {
    if (!socket || sd_bus_new(&bus_) < 0) return;
    const int fd = socket.release();
    sd_bus_set_fd(bus_, fd, fd);
    sd_bus_negotiate_fds(bus_, takes_descriptors ? 1 : 0);
    sd_bus_start(bus_);
  }
  explicit Client(const Address& address) : Client(connect_to(address)) {}
  ~Client() {
    if (bus_ == nullptr) return;
    sd_bus_close(bus_);
    sd_bus_unref(bus_);
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  sd_bus* bus() { return bus_; }

  template <class Call>
  std::shared_ptr<sd_bus_message> question(typename Call::Question asked) {
    sd_bus_message* message = nullptr;
    int result =
        sd_bus_message_new_method_call(bus_, &message, nullptr, wire::object_path, wire::interface_name, Call::member);
    if (result >= 0) result = wire::write(message, asked);
    if (result < 0) ADD_FAILURE() << "a question cannot be written: " << strerror(-result);
    return {message, &sd_bus_message_unref};
  }

  template <class Call>
  Answered<Call> ask(typename Call::Question asked) {
    const auto message = question<Call>(asked);
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    sd_bus_call(bus_, message.get(), long_enough, &error, &reply);
    return answered<Call>(reply, &error);
  }

  // Without waiting for the answer, which receive gives later.
  template <class Call>
  std::uint64_t send(typename Call::Question asked) {
    const auto message = question<Call>(asked);
    std::uint64_t cookie = 0;
    sd_bus_send(bus_, message.get(), &cookie);
    return cookie;
  }
  // The next answer; which question it is of is told by its reply cookie.
  std::shared_ptr<sd_bus_message> receive() {
    for (;;) {
      sd_bus_message* message = nullptr;
      const int result = sd_bus_process(bus_, &message);
      if (message != nullptr) return {message, &sd_bus_message_unref};
      if (result < 0 || (result == 0 && sd_bus_wait(bus_, long_enough) <= 0)) return nullptr;
    }
  }
  template <class Call>
  Answered<Call> receive_answer() {
    const auto message = receive();
    sd_bus_error error{};
    if (message != nullptr && sd_bus_message_is_method_error(message.get(), nullptr) > 0) {
      sd_bus_error_copy(&error, sd_bus_message_get_error(message.get()));
    }
    return answered<Call>(message == nullptr ? nullptr : sd_bus_message_ref(message.get()), &error);
  }

  Answered<wire::Begin_Session> begin(wire::Bytes session = {}) {
    return ask<wire::Begin_Session>({.version = wire::protocol_version, .session = session});
  }
  bool is_open() { return bus_ != nullptr && sd_bus_is_open(bus_) > 0; }

 private:
  template <class Call>
  Answered<Call> answered(sd_bus_message* reply, sd_bus_error* error) {
    Answered<Call> result;
    result.message = {reply, &sd_bus_message_unref};
    if (error->name != nullptr) result.error = error->name;
    if (reply == nullptr && result.error.empty()) result.error = "no answer";
    sd_bus_error_free(error);
    if (result.error.empty() && wire::read(reply, &result.answer) < 0) result.error = "unreadable answer";
    return result;
  }

  sd_bus* bus_ = nullptr;
};

inline wire::Number number(HKEY root) { return static_cast<wire::Number>(reinterpret_cast<std::uintptr_t>(root)); }
inline wire::Bytes text(std::u16string_view units) { return wire::bytes_of(units); }
inline wire::Bytes bytes(std::string_view data) {
  return {reinterpret_cast<const unsigned char*>(data.data()), data.size()};
}
inline std::string string_of(wire::Bytes data) { return {reinterpret_cast<const char*>(data.data()), data.size()}; }
inline std::u16string units_of(wire::Bytes data) { return std::u16string(wire::text_of(data)); }

// The calls that most tests make.
inline Answered<wire::Create_Key> create(Client& client, wire::Number at, std::u16string_view path,
                                         wire::Number access = KEY_ALL_ACCESS, wire::Number options = 0) {
  return client.ask<wire::Create_Key>({.key = at, .path = text(path), .options = options, .access = access});
}
inline Answered<wire::Open_Key> open(Client& client, wire::Number at, std::u16string_view path,
                                     wire::Number access = KEY_READ) {
  return client.ask<wire::Open_Key>({.key = at, .path = text(path), .access = access});
}
inline wire::Number set(Client& client, wire::Number key, std::u16string_view name, std::string_view data,
                        wire::Number type = REG_BINARY) {
  return client.ask<wire::Set_Value>({.key = key, .name = text(name), .type = type, .data = bytes(data)})->code;
}
inline Answered<wire::Query_Value> query(Client& client, wire::Number key, std::u16string_view name,
                                         wire::Number room = 1 << 20) {
  return client.ask<wire::Query_Value>({.key = key, .name = text(name), .room = room});
}
inline wire::Number close_key(Client& client, wire::Number key) {
  return client.ask<wire::Close_Key>({.key = key})->code;
}
inline wire::Number remove_key(Client& client, wire::Number at, std::u16string_view path) {
  return client.ask<wire::Delete_Key>({.key = at, .path = text(path)})->code;
}

}  // namespace servertest
