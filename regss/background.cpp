#include "regss/background.h"

#include <fcntl.h>
#include <kelvane/log.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "regss/exit_status.h"
#include "regss/log.h"

namespace regss {
namespace {

constexpr char ready_word = '+';

int status_of(pid_t server) {
  int status = 0;
  while (waitpid(server, &status, 0) < 0) {
    if (errno != EINTR) return could_not_serve;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : could_not_serve;
}

int wait_for_server(pid_t server, int ready) {
  char word = 0;
  ssize_t size = 0;
  do {
    size = read(ready, &word, 1);
  } while (size < 0 && errno == EINTR);
  return size == 1 && word == ready_word ? ended : status_of(server);
}

void lead_to(const char* file, int flags, int descriptor) {
  const int opened = open(file, flags | O_CLOEXEC);
  if (opened == -1) return;
  dup2(opened, descriptor);
  if (opened != descriptor) close(opened);
}

}  // namespace

bool Background::enter(int* out_status) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    *out_status = could_not_serve;
    return false;
  }
  impl::Descriptor read_end(ends[0]);
  ready_ = impl::Descriptor(ends[1]);
  const pid_t server = fork();
  if (server == 0) {
    setsid();
    return true;
  }
  ready_.reset();
  *out_status = server == -1 ? could_not_serve : wait_for_server(server, read_end.number());
  return false;
}

// What libraries print on standard error comes behind the records of the log.
void Background::take_log() {
  if (!ready_) return;
  log_in_background();
  const std::string_view log = RegLog().Name();
  lead_to("/dev/null", O_RDWR, STDIN_FILENO);
  lead_to("/dev/null", O_RDWR, STDOUT_FILENO);
  lead_to(log == "stdout" ? "/dev/null" : log.data(), O_WRONLY | O_APPEND, STDERR_FILENO);
}

void Background::tell_ready() {
  if (!ready_) return;
  [[maybe_unused]] const ssize_t told = write(ready_.number(), &ready_word, 1);
  ready_.reset();
}

}  // namespace regss
