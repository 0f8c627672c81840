// The server's loop: takes clients in, serves them, ends when it is told to or has nothing to do.
#pragma once

#include <systemd/sd-event.h>

#include <vector>

#include "impl/server/core.h"
#include "impl/server/run.h"

namespace impl::server {

class Server {
 public:
  Server(hive::Registry& registry, const Regss_Options& options);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // As KvRegssRun.
  int run();

 private:
  bool begin();
  bool listen(int socket);
  bool set_timers();
  void set_listening(bool on);
  static void set_time(sd_event_source* timer, std::uint64_t microseconds);
  void look_again_in(std::uint64_t microseconds);
  void look_around_soon();
  void say(const char* what, int error);
  void after_round();

  static int on_client(sd_event_source*, int socket, std::uint32_t, void* server);
  static int on_ready(sd_event_source*, int, std::uint32_t, void* server);
  static int on_mail(sd_event_source*, int, std::uint32_t, void* server);
  static int on_stop(sd_event_source*, int, std::uint32_t, void* server);
  static int on_waiting(sd_event_source*, std::uint64_t, void* server);
  static int on_silence(sd_event_source*, std::uint64_t, void* server);
  static int on_look(sd_event_source*, std::uint64_t, void* server);
  static int on_idle(sd_event_source*, std::uint64_t, void* server);

  const Regss_Options options_;
  Core core_;
  sd_event* event_ = nullptr;
  std::vector<sd_event_source*> listeners_;
  sd_event_source* silence_ = nullptr;  // looks for clients that begin no session; off while there is none
  sd_event_source* look_ = nullptr;     // looks whether others write the hives; off while there is no client
  sd_event_source* waiting_ = nullptr;  // on while a question waits for a hive
  sd_event_source* idle_ = nullptr;     // on while there is no client; null when the server never ends by itself
  bool is_idle_ = false;
};

}  // namespace impl::server
