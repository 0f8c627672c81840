// A server library for the tests of the program around it: answers each connection with the number of its process, and
// knows no registry. A caller ends it with the word 'q', as a client's ShutDown does.
//
// KVTEST_REFUSES in the environment makes it unable to begin.
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <vector>

#include "impl/server/run.h"

namespace {

using Clock = std::chrono::steady_clock;

class Stand_In {
 public:
  explicit Stand_In(const Regss_Options& options) : options_(options) {}

  int run() {
    options_.ready(options_.context);
    while (!over_) serve_once();
    for (const int connection : connections_) close(connection);
    return 0;
  }

 private:
  int time_left() const {
    if (options_.idle_seconds == 0 || !connections_.empty()) return -1;
    const auto end = idle_since_ + std::chrono::seconds(options_.idle_seconds);
    return static_cast<int>(
        std::max(std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count(), 0l) + 1);
  }

  void serve_once() {
    std::vector<pollfd> all = {{options_.stop, POLLIN, 0}};
    for (size_t i = 0; i < options_.socket_count; ++i) all.push_back({options_.sockets[i], POLLIN, 0});
    for (const int connection : connections_) all.push_back({connection, POLLIN, 0});
    const int ready = poll(all.data(), all.size(), time_left());
    if (ready == 0 || all[0].revents != 0) over_ = true;
    if (ready <= 0) return;
    for (size_t i = 1; i < all.size(); ++i) {
      if (all[i].revents == 0) continue;
      i <= options_.socket_count ? admit(all[i].fd) : hear(all[i].fd);
    }
  }

  void admit(int socket) {
    const int connection = accept4(socket, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection == -1) return;
    const std::string pid = std::to_string(getpid());
    send(connection, pid.data(), pid.size(), MSG_NOSIGNAL);
    connections_.push_back(connection);
  }

  void hear(int connection) {
    char word = 0;
    if (recv(connection, &word, 1, 0) == 1) {
      over_ = over_ || word == 'q';
      return;
    }
    close(connection);
    std::erase(connections_, connection);
    idle_since_ = Clock::now();
  }

  const Regss_Options& options_;
  std::vector<int> connections_;
  Clock::time_point idle_since_ = Clock::now();
  bool over_ = false;
};

}  // namespace

extern "C" int KvRegssRun(const Regss_Options* options) {
  if (std::getenv("KVTEST_REFUSES") != nullptr) {
    options->say(options->context, "the stand-in refuses");
    return 1;
  }
  const std::string told = std::string(options->machine_wide != 0 ? "machine" : "user") + " data " +
                           options->data_folder + " idle " + std::to_string(options->idle_seconds);
  options->say(options->context, told.c_str());
  return Stand_In(*options).run();
}
