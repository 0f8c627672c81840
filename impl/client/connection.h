// One connection to the server. For one thread at a time.
//
// In a process that has closed its descriptor, and in a forked child, a connection is given up without a word: neither
// the socket of the parent nor a file that got the number is touched.
#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "impl/client/exchange.h"
#include "impl/client/own_socket.h"
#include "impl/client/settings.h"

namespace impl::client {

enum class Reply {
  answered,
  lost,       // the connection broke; the question may have been heard
  late,       // no answer in time; it still may come
  wrong,      // no answer of this protocol
  limit,      // the server's limits for one client
  stranger,   // the server does not know this connection's session
  malformed,  // the server does not understand the question
  no_memory,
};

class Connection {
 public:
  // Greets the server behind a socket. Null, and why, when that fails or the deadline passes.
  static std::unique_ptr<Connection> over(Own_Socket socket, Deadline deadline, std::string* out_trouble);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Whether it is this process's and its socket still ours. To be asked before each use.
  bool is_good() const;

  // Asks and waits for the answer. *out_code is written with Reply::answered only.
  Reply ask(Exchange& exchange, wire::Number key, std::chrono::milliseconds patience, DWORD* out_code);

  // The same for an answer that may come at any time: looks at goes_on at least once a second, and gives up with
  // Reply::late when it says no.
  Reply await(Exchange& exchange, const std::function<bool()>& goes_on, DWORD* out_code);

  // The question as a message, for who sends it himself; null without memory.
  Message question(Exchange& exchange, wire::Number key);

  sd_bus* bus() { return bus_; }
  int fd() const { return socket_.fd(); }

  // In a forked child, and with the client's lock held: every connection of another process lets go of its socket.
  static void give_up_inherited();

 private:
  explicit Connection(Own_Socket socket);
  bool greet(Deadline deadline, std::string* out_trouble);
  bool wait_until(Deadline deadline) const;

  Own_Socket socket_;
  const int process_;
  sd_bus* bus_ = nullptr;
};

// The lock of the client: a leaf, held for moments, and around forks.
std::mutex& client_mutex();

}  // namespace impl::client
