#include "impl/server/server.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace impl::server {
namespace {

constexpr int most_clients_at_once = 64;
constexpr std::uint64_t second = 1'000'000;  // microseconds
constexpr std::uint64_t between_looks = 10 * second;
constexpr std::uint64_t between_attempts = second / 100;

bool is_lack(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS; }

// Each client is a descriptor or more.
void allow_many_descriptors() {
  rlimit limit{};
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

bool make_non_blocking(int socket) {
  const int flags = fcntl(socket, F_GETFL);
  return flags >= 0 && fcntl(socket, F_SETFL, flags | O_NONBLOCK) == 0;
}

}  // namespace

Server::Server(hive::Registry& registry, const Regss_Options& options)
    : options_(options),
      core_(registry, {options.machine_wide != 0, options.data_folder == nullptr ? "" : options.data_folder}) {}

Server::~Server() {
  for (sd_event_source* const listener : listeners_) sd_event_source_unref(listener);
  sd_event_source_unref(silence_);
  sd_event_source_unref(look_);
  sd_event_source_unref(waiting_);
  sd_event_source_unref(idle_);
  sd_event_unref(event_);
}

int Server::run() {
  if (!begin()) {
    say("The registry's server cannot begin", errno);
    return 1;
  }
  after_round();
  if (options_.ready != nullptr) options_.ready(options_.context);
  const int result = sd_event_loop(event_);
  core_.end();
  if (result < 0) say("The registry's server cannot go on", -result);
  return result < 0 ? 1 : 0;
}

void Server::say(const char* what, int error) {
  const std::string line = std::string(what) + ": " + std::strerror(error);
  if (options_.say != nullptr) options_.say(options_.context, line.c_str());
}

// False with errno, which sd-event's calls give as their result.
bool Server::begin() {
  allow_many_descriptors();
  if (!core_.open()) return false;
  const auto done = [](int result) {
    if (result < 0) errno = -result;
    return result >= 0;
  };
  if (!done(sd_event_new(&event_)) || !done(sd_event_set_watchdog(event_, 1))) return false;
  if (!done(sd_event_add_io(event_, nullptr, core_.ready_fd(), EPOLLIN, &on_ready, this))) return false;
  if (!done(sd_event_add_io(event_, nullptr, core_.mail().fd(), EPOLLIN, &on_mail, this))) return false;
  if (options_.stop >= 0 && !done(sd_event_add_io(event_, nullptr, options_.stop, EPOLLIN, &on_stop, this))) {
    return false;
  }
  for (std::size_t i = 0; i < options_.socket_count; ++i) {
    if (!listen(options_.sockets[i])) return false;
  }
  return set_timers();
}

bool Server::listen(int socket) {
  if (!make_non_blocking(socket)) return false;
  sd_event_source* listener = nullptr;
  const int result = sd_event_add_io(event_, &listener, socket, EPOLLIN, &on_client, this);
  if (result < 0) errno = -result;
  if (result >= 0) listeners_.push_back(listener);
  return result >= 0;
}

bool Server::set_timers() {
  constexpr std::uint64_t accuracy = 1000;
  const auto add = [this](sd_event_source** timer, sd_event_time_handler_t handler) {
    const int result =
        sd_event_add_time_relative(event_, timer, CLOCK_MONOTONIC, between_looks, accuracy, handler, this);
    if (result < 0) errno = -result;
    return result >= 0 && sd_event_source_set_enabled(*timer, SD_EVENT_OFF) >= 0;
  };
  return add(&silence_, &on_silence) && add(&look_, &on_look) && add(&waiting_, &on_waiting) &&
         (options_.idle_seconds == 0 || add(&idle_, &on_idle));
}

void Server::after_round() {
  if (core_.is_to_end()) sd_event_exit(event_, 0);
  if (core_.has_waiting()) set_time(waiting_, between_attempts);
  const bool is_idle = core_.connection_count() == 0;
  if (idle_ == nullptr || is_idle == is_idle_) return;
  is_idle_ = is_idle;
  if (is_idle) sd_event_source_set_time_relative(idle_, options_.idle_seconds * second);
  sd_event_source_set_enabled(idle_, is_idle ? SD_EVENT_ONESHOT : SD_EVENT_OFF);
}

void Server::set_listening(bool on) {
  for (sd_event_source* const listener : listeners_) {
    sd_event_source_set_enabled(listener, on ? SD_EVENT_ON : SD_EVENT_OFF);
  }
}

// From now on; one that is on keeps its time.
void Server::set_time(sd_event_source* timer, std::uint64_t microseconds) {
  int enabled = SD_EVENT_OFF;
  sd_event_source_get_enabled(timer, &enabled);
  if (enabled != SD_EVENT_OFF) return;
  sd_event_source_set_time_relative(timer, microseconds);
  sd_event_source_set_enabled(timer, SD_EVENT_ONESHOT);
}

void Server::look_again_in(std::uint64_t microseconds) {
  sd_event_source_set_time_relative(silence_, microseconds);
  sd_event_source_set_enabled(silence_, SD_EVENT_ONESHOT);
}

void Server::look_around_soon() {
  int enabled = SD_EVENT_OFF;
  sd_event_source_get_enabled(look_, &enabled);
  if (enabled != SD_EVENT_OFF || core_.connection_count() == 0) return;
  sd_event_source_set_time_relative(look_, second);
  sd_event_source_set_enabled(look_, SD_EVENT_ONESHOT);
}

// Without descriptors those who come wait a moment.
int Server::on_client(sd_event_source*, int socket, std::uint32_t, void* server) {
  auto& self = *static_cast<Server*>(server);
  for (int i = 0; i < most_clients_at_once; ++i) {
    wire::Unique_Fd client(accept4(socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!client && is_lack(errno)) {
      self.set_listening(false);
      self.look_again_in(second);
    }
    if (!client) break;
    self.core_.admit(std::move(client));
  }
  set_time(self.silence_, between_looks);
  self.look_around_soon();
  self.after_round();
  return 0;
}

int Server::on_ready(sd_event_source*, int, std::uint32_t, void* server) {
  auto& self = *static_cast<Server*>(server);
  self.core_.serve();
  self.after_round();
  return 0;
}

int Server::on_mail(sd_event_source*, int, std::uint32_t, void* server) {
  auto& self = *static_cast<Server*>(server);
  self.core_.mail().deliver();
  self.after_round();
  return 0;
}

int Server::on_stop(sd_event_source*, int, std::uint32_t, void* server) {
  return sd_event_exit(static_cast<Server*>(server)->event_, 0);
}

int Server::on_waiting(sd_event_source*, std::uint64_t, void* server) {
  auto& self = *static_cast<Server*>(server);
  self.core_.try_again();
  self.after_round();
  return 0;
}

int Server::on_silence(sd_event_source*, std::uint64_t, void* server) {
  auto& self = *static_cast<Server*>(server);
  self.set_listening(true);
  if (self.core_.end_silent_connections()) self.look_again_in(between_looks);
  self.after_round();
  return 0;
}

int Server::on_look(sd_event_source*, std::uint64_t, void* server) {
  auto& self = *static_cast<Server*>(server);
  self.core_.changes().look_around();
  self.look_around_soon();
  return 0;
}

int Server::on_idle(sd_event_source*, std::uint64_t, void* server) {
  return sd_event_exit(static_cast<Server*>(server)->event_, 0);
}

}  // namespace impl::server
