// Makes sure of the per-user server as mode 3 does, waits for a line when asked to by an argument, and prints the
// number of the server that it reaches.
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "impl/server/start_files.h"
#include "impl/server/start_port.h"
#include "impl/server/start_server.h"

namespace {

constexpr int answer_limit = 20000;
constexpr int attempts = 10;

std::string ask_server() {
  impl::Endpoint_Files files;
  std::string reason;
  if (!impl::user_endpoint(&files, &reason)) return "";
  const impl::Descriptor connection = impl::connect_to_port(impl::port_in(files.endpoint_file));
  pollfd answer = {connection.number(), POLLIN, 0};
  if (!connection || poll(&answer, 1, answer_limit) != 1) return "";
  char pid[16];
  const ssize_t size = read(connection.number(), pid, sizeof pid);
  return size > 0 ? std::string(pid, static_cast<std::size_t>(size)) : "";
}

}  // namespace

int main(int count, char**) {
  char line[2];
  if (count > 1 && read(STDIN_FILENO, line, sizeof line) < 0) return 3;
  std::string pid;
  // As a client does whose server ends just then.
  for (int i = 0; i < attempts && pid.empty(); ++i) {
    if (!impl::make_sure_server_lives()) return 1;
    pid = ask_server();
  }
  std::printf("%s\n", pid.c_str());
  return pid.empty() ? 2 : 0;
}
