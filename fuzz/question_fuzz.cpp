// Feeds any bytes to the registry's server as what a client sends behind its greeting. The registry is in memory.
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "hive/registry.h"
#include "impl/server/core.h"

namespace {

constexpr std::string_view greeting{"\0AUTH EXTERNAL\r\nDATA\r\nNEGOTIATE_UNIX_FD\r\nBEGIN\r\n", 48};

class Nowhere : public hive::Locations {
 public:
  std::string machine_hive() override { return {}; }
  std::string user_hive() override { return {}; }
  std::string user_image() override { return {}; }
  mode_t machine_mask() override { return 022; }
};

impl::server::Core& core() {
  static auto& registry = *new hive::Registry(std::make_unique<Nowhere>(), [](const std::string&) {});
  static auto& served = *new impl::server::Core(registry, {false, "/tmp"});
  static const bool is_open = served.open();
  if (!is_open) __builtin_trap();
  return served;
}

void drain(int socket) {
  char block[4096];
  while (recv(socket, block, sizeof block, MSG_DONTWAIT) > 0) {
  }
}

void serve(int socket) {
  for (int round = 0; round < 4; ++round) {
    core().serve();
    core().mail().deliver();
    drain(socket);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) return 0;
  core().admit(impl::wire::Unique_Fd(ends[0]));
  if (send(ends[1], greeting.data(), greeting.size(), MSG_NOSIGNAL) > 0) serve(ends[1]);
  while (size > 0) {
    const ssize_t sent = send(ends[1], data, size, MSG_NOSIGNAL);
    if (sent <= 0) break;
    data += sent;
    size -= static_cast<std::size_t>(sent);
    serve(ends[1]);
  }
  close(ends[1]);
  while (core().connection_count() > 0) {
    core().serve();
    core().mail().deliver();  // a long operation holds its connection until it has told its result
  }
  return 0;
}
