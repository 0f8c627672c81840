// The registry's server for tests: client_test_server <endpoint file> <port>. The hives are those of the environment.
// Writes the endpoint file, then "r" to standard output when it serves; ends by SIGTERM.
#include <kelvane/advapi32.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <winbase.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "impl/server/run.h"

// As in_clean_home has it, for who runs a test program without it: the server would end at its first key, and clients
// would look for it as long as clients do.
extern "C" const char* __asan_default_options() { return "handle_segv=0:alloc_dealloc_mismatch=0"; }

namespace {

int listening_at(const char* port) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::snprintf(address.sun_path, sizeof address.sun_path, "%s", port);
  unlink(port);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || listen(fd, 4096) != 0) {
    std::perror(port);
    std::exit(1);
  }
  return fd;
}

void write_endpoint(const char* file, const char* port) {
  const std::string fresh = std::string(file) + ".new";
  std::FILE* const endpoint = std::fopen(fresh.c_str(), "w");
  std::fprintf(endpoint, "%s", port);
  std::fclose(endpoint);
  std::rename(fresh.c_str(), file);
}

struct Place {
  const char* endpoint;
  const char* port;
};

void begin(void* context) {
  const auto& place = *static_cast<const Place*>(context);
  write_endpoint(place.endpoint, place.port);
  [[maybe_unused]] const ssize_t said = write(STDOUT_FILENO, "r", 1);
}

void say(void*, const char* line) { std::fprintf(stderr, "server: %s\n", line); }

}  // namespace

int main(int, char** argv) {
  sigset_t end;
  sigemptyset(&end);
  sigaddset(&end, SIGTERM);
  sigprocmask(SIG_BLOCK, &end, nullptr);
  Place place{argv[1], argv[2]};
  const int socket = listening_at(place.port);
  const HMODULE library = LoadLibraryA("advapi32server.dll");
  const auto run =
      reinterpret_cast<decltype(&KvRegssRun)>(reinterpret_cast<void*>(GetProcAddress(library, "KvRegssRun")));
  if (run == nullptr) {
    std::fprintf(stderr, "no advapi32server.dll\n");
    return 1;
  }
  const char* const data = std::getenv("KVCORE_PRIVATE_DATA");
  const char* const machine_wide = std::getenv("KVTEST_MACHINE_WIDE");
  Regss_Options options{};
  options.sockets = &socket;
  options.socket_count = 1;
  options.machine_wide = machine_wide != nullptr ? 1 : 0;
  options.data_folder = data;
  options.stop = signalfd(-1, &end, SFD_CLOEXEC);
  options.ready = begin;
  options.say = say;
  options.context = &place;
  return run(&options);
}
