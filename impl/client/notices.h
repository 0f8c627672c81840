// Notifications between processes by way of the server.
//
// A process that asks has a thread that waits for what comes; it ends when nothing is asked for any more. What was
// asked for is asked again of a server that was started anew.
#pragma once

#include <atomic>
#include <set>
#include <string>
#include <utility>

#include "impl/client/carrier.h"

namespace impl::client {

class Notices {
 public:
  explicit Notices(Carrier& carrier) : carrier_(carrier) {}
  Notices(const Notices&) = delete;
  Notices& operator=(const Notices&) = delete;

  // The operations of Registry_Service.
  bool request(int pid, int kind, bool on);
  bool report(int kind, const char* data, int size);
  bool report_always(int kind, bool on);

  // Delivers nothing from now on.
  void end() { has_ended_ = true; }

 private:
  struct Notice {
    int pid = 0;
    int kind = 0;
    std::string data;
  };
  using Request = std::pair<int, int>;  // process and kind

  void settle();
  bool want(const Request& request, bool on);
  bool is_wanted(const Request& request);
  bool has_wishes();
  bool ensure_thread();
  bool ask_request(const Request& request, bool on);
  bool ask_always(int kind, bool on);
  void receive(int process);
  bool receive_in(const std::shared_ptr<Session>& session, int process);
  void ask_again();
  void deliver(Notice& notice);

  Carrier& carrier_;
  std::atomic<bool> has_ended_ = false;

  // With the client's lock; a forked child begins anew.
  int process_ = 0;
  bool has_thread_ = false;
  std::set<Request> requests_;
  std::set<int> standing_;
};

}  // namespace impl::client
