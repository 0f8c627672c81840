// A peer at an endpoint of the test's own that answers what the test says, or misbehaves: it greets clients as a server
// does and gives each question to the test's function, or hands the bare socket over.
#ifndef KELVANE_TESTS_CLIENT_SCRIPTED_PEER_H
#define KELVANE_TESTS_CLIENT_SCRIPTED_PEER_H

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "impl/wire/message.h"
#include "impl/wire/names.h"

namespace kvtest {

// Hangs the connection up.
inline constexpr int hang_up = -1;
// Leaves the question without an answer.
inline constexpr int say_nothing = 1;

// Answers with a record; 0.
template <class Answer>
int reply_with(sd_bus_message* question, Answer answer) {
  sd_bus_message* reply = nullptr;
  sd_bus_message_new_method_return(question, &reply);
  impl::wire::write(reply, answer);
  sd_bus_send(nullptr, reply, nullptr);
  sd_bus_message_unref(reply);
  return 0;
}

// The answers to what begins a session: a good one.
inline int begin_session(sd_bus_message* question) {
  static constexpr unsigned char id[impl::wire::session_size] = {1, 2, 3};
  impl::wire::Begin_Session::Answer answer;
  answer.session = id;
  return reply_with(question, answer);
}

class Scripted_Peer {
 public:
  // Called on the peer's thread with each question but Begin_Session.
  using Script = std::function<int(sd_bus_message*)>;
  // Takes a bare socket, before any greeting; the socket is closed when it returns.
  using Bare = std::function<void(int)>;

  Scripted_Peer(const std::string& folder, Script script) : folder_(folder), script_(std::move(script)) { start(); }
  Scripted_Peer(const std::string& folder, Bare bare, int) : folder_(folder), bare_(std::move(bare)) { start(); }
  ~Scripted_Peer() {
    stop_ = true;
    thread_.join();
    for (auto& [fd, bus] : clients_) sd_bus_close_unref(bus);
    close(listening_);
  }
  Scripted_Peer(const Scripted_Peer&) = delete;
  Scripted_Peer& operator=(const Scripted_Peer&) = delete;

  std::string endpoint() const { return folder_ + "/regss"; }
  // How many connections were made so far.
  int connections() const { return connections_; }
  std::function<int(sd_bus_message*)> on_begin = begin_session;  // to be set before the first client comes

 private:
  void start() {
    const std::string port = folder_ + "/port";
    unlink(port.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", port.c_str());
    listening_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (bind(listening_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(listening_, 64) != 0) {
      throw std::runtime_error(port);
    }
    std::ofstream(endpoint()) << port;
    thread_ = std::thread([this] { run(); });
  }

  void run() {
    while (!stop_) {
      std::vector<pollfd> ends{{listening_, POLLIN, 0}};
      for (const auto& [fd, bus] : clients_) ends.push_back({fd, static_cast<short>(sd_bus_get_events(bus)), 0});
      poll(ends.data(), ends.size(), 20);
      admit();
      for (auto at = clients_.begin(); at != clients_.end();) {
        int result = 0;
        while ((result = sd_bus_process(at->second, nullptr)) > 0 && !hangs_up_) {
        }
        const bool goes = result < 0 || hangs_up_;
        hangs_up_ = false;
        if (goes) sd_bus_close_unref(at->second);
        at = goes ? clients_.erase(at) : std::next(at);
      }
    }
  }

  void admit() {
    const int fd = accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) return;
    ++connections_;
    if (bare_) {
      bare_(fd);
      close(fd);
      return;
    }
    sd_bus* bus = nullptr;
    sd_bus_new(&bus);
    sd_bus_set_fd(bus, fd, fd);
    sd_bus_set_server(bus, 1, sd_id128_t{});
    sd_bus_negotiate_fds(bus, 1);
    sd_bus_start(bus);
    sd_bus_add_filter(bus, nullptr, &on_message, this);
    clients_[fd] = bus;
  }

  static int on_message(sd_bus_message* message, void* peer, sd_bus_error*) {
    auto& self = *static_cast<Scripted_Peer*>(peer);
    if (!sd_bus_message_is_method_call(message, impl::wire::interface_name, nullptr)) return 0;
    const bool begins = sd_bus_message_is_method_call(message, nullptr, "BeginSession");
    const int result = begins ? self.on_begin(message) : self.script_(message);
    self.hangs_up_ = result == hang_up;
    return 1;
  }

  std::string folder_;
  Script script_;
  Bare bare_;
  int listening_ = -1;
  std::map<int, sd_bus*> clients_;
  bool hangs_up_ = false;
  std::atomic<bool> stop_ = false;
  std::atomic<int> connections_ = 0;
  std::thread thread_;
};

}  // namespace kvtest

#endif
