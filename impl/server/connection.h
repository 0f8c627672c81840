// One connection of a client: its socket, what it has asked and what it has not taken yet.
//
// A client that does not read its answers is not read from until it does, so that what waits for it is bounded; one
// that brings it beyond the bound all the same is parted from.
#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <memory>

#include "impl/server/client_batch.h"
#include "impl/server/framing.h"
#include "impl/server/peer.h"
#include "impl/server/reply.h"
#include "impl/server/session.h"
#include "impl/wire/unique_fd.h"

namespace impl::server {

class Core;

class Connection {
 public:
  using Clock = std::chrono::steady_clock;

  Connection(Core& core, wire::Unique_Fd socket, Peer peer);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Begins to speak; false when it cannot.
  bool start(const sd_id128_t& server);
  int fd() const { return fd_; }

  // What is there to be read and written, a bounded part of it. The events are those of the socket.
  void serve(std::uint32_t events);

  // Sends a reply and gives it back.
  void send(const Reply& reply);
  void send_error(sd_bus_message* question, const char* name, const char* text);
  // No longer served; it goes at the end of the round.
  void end();
  bool has_ended() const { return ended_; }

  // Whether the client takes descriptors with answers.
  bool takes_descriptors() const { return sd_bus_can_send(bus_, SD_BUS_TYPE_UNIX_FD) > 0; }

  const Peer& peer() const { return peer_; }
  Session* session() const { return session_.get(); }
  const std::shared_ptr<Session>& shared_session() const { return session_; }
  void set_session(std::shared_ptr<Session> session);
  Clock::time_point since() const { return since_; }

  // Calls that are answered later.
  std::size_t calls_under_way = 0;
  // Whether a write of this connection waits for the next commit.
  bool has_write = false;
  // Questions that wait for a hive; nothing is read behind them. watch_socket() follows a change.
  std::size_t waiting = 0;
  // Null outside of a batch.
  std::unique_ptr<Client_Batch> batch;

  void watch_socket();

 private:
  static int on_message(sd_bus_message* message, void* connection, sd_bus_error* error);

  int take(sd_bus_message* message);
  bool is_greeting() const;
  bool may_read();
  int step();
  void note_sent(std::size_t size);

  Core& core_;
  const int fd_;
  wire::Unique_Fd socket_;  // until the bus has it
  sd_bus* bus_ = nullptr;
  const Peer peer_;
  const Clock::time_point since_ = Clock::now();
  std::shared_ptr<Session> session_;
  bool ended_ = false;
  bool took_message_ = false;
  bool lacks_bytes_ = false;  // of a message's beginning
  Framing framing_;
  std::size_t unsent_ = 0;  // bytes, about, that the client has not taken
  std::uint32_t watched_ = 0;
};

}  // namespace impl::server
