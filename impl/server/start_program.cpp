#include "impl/server/start_program.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "impl/server/start_descriptor.h"

namespace impl {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t stack_size = 64 * 1024;
constexpr std::size_t max_text = 4096;
constexpr int lock_number = 3;        // of the handed lock in the program
constexpr int first_free_number = 10;
constexpr int cannot_run = 127;

// Any object of this library, by whose address the loader tells the library's file.
const char anchor = 0;

// What the child needs, made before it begins: it shares this process's memory until it runs the program.
struct Launch {
  const char* file;
  char* const* arguments;
  int null_device;
  int text;
  int lock;
  int error;
};

// Above every descriptor that the program is given, so that none of those covers it.
int moved_up(int descriptor) { return descriptor == -1 ? -1 : fcntl(descriptor, F_DUPFD, first_free_number); }

// Calls nothing but the system.
__attribute__((no_sanitize("address", "undefined", "thread"))) int run_in_child(void* launch_data) {
  auto* const launch = static_cast<Launch*>(launch_data);
  setsid();
  const int text = moved_up(launch->text), lock = moved_up(launch->lock), nothing = moved_up(launch->null_device);
  dup2(nothing, STDIN_FILENO);
  dup2(text, STDOUT_FILENO);
  dup2(text, STDERR_FILENO);
  if (lock != -1) dup2(lock, lock_number);
  close_range(launch->lock != -1 ? lock_number + 1 : lock_number, ~0u, 0);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execve(launch->file, launch->arguments, environ);
  launch->error = errno;
  _exit(cannot_run);
}

// No signal of this process reaches a handler in the child while both use one memory.
class Signals_Held {
 public:
  Signals_Held() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~Signals_Held() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  Signals_Held(const Signals_Held&) = delete;
  Signals_Held& operator=(const Signals_Held&) = delete;

 private:
  sigset_t before_;
};

// The child's number, or -1 with errno; comes back when the child runs the program or has ended.
pid_t launch_child(Launch& launch) {
  void* const stack =
      mmap(nullptr, stack_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
  if (stack == MAP_FAILED) return -1;
  const Signals_Held held;
  // Without a signal at its end, the child is nobody's but who asks for such a one.
  const pid_t child = clone(run_in_child, static_cast<char*>(stack) + stack_size, CLONE_VM | CLONE_VFORK, &launch);
  const int error = errno;
  munmap(stack, stack_size);
  errno = error;
  return child;
}

int status_of(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, __WCLONE) < 0) {
    if (errno != EINTR) return cannot_run;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : cannot_run;
}

// What comes until the other end is closed; false when that takes too long.
bool read_text(int descriptor, Clock::time_point end, std::string* out_text) {
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd text = {descriptor, POLLIN, 0};
    const int ready = left <= 0 ? 0 : poll(&text, 1, static_cast<int>(left));
    if (ready == 0) return false;
    if (ready < 0) continue;
    char block[max_text];
    const ssize_t size = read(descriptor, block, sizeof block);
    if (size == 0 || (size < 0 && errno != EINTR)) return true;
    if (size > 0 && out_text->size() < max_text) out_text->append(block, static_cast<std::size_t>(size));
  }
}

// One line without its end and without the program's own name.
std::string as_reason(std::string text) {
  constexpr char own_name[] = "regss: ";
  while (!text.empty() && (text.back() == '\n' || text.back() == '.')) text.pop_back();
  if (text.compare(0, sizeof own_name - 1, own_name) == 0) text.erase(0, sizeof own_name - 1);
  for (char& unit : text) {
    if (unit == '\n') unit = ' ';
  }
  return text.empty() ? "regss ended without a reason" : text;
}

std::string outcome(pid_t child, int text_end, std::chrono::milliseconds limit) {
  std::string text;
  if (!read_text(text_end, Clock::now() + limit, &text)) {
    kill(child, SIGKILL);
    status_of(child);
    return "regss did not answer in time";
  }
  return status_of(child) == 0 ? "" : as_reason(text);
}

}  // namespace

std::string regss_file() {
  if (const char* chosen = secure_getenv("KVREGSS_PATH")) return chosen;
  Dl_info library;
  if (dladdr(&anchor, &library) == 0 || library.dli_fname == nullptr) return "";
  std::error_code failure;
  const std::filesystem::path modules = std::filesystem::canonical(library.dli_fname, failure).parent_path();
  // <prefix>/lib/kelvane, or <prefix>/lib/<architecture>/kelvane.
  for (const char* way : {"../../bin/regss", "../../../bin/regss"}) {
    const std::string file = (modules / way).lexically_normal().string();
    if (access(file.c_str(), X_OK) == 0) return file;
  }
  return "";
}

std::string run_regss(int lock, std::chrono::milliseconds limit) {
  const std::string file = regss_file();
  if (file.empty()) return "there is no program regss beside the library";
  std::string name = "regss", mode = "--user", background = "--background", option = "--lock-descriptor",
              number = std::to_string(lock_number);
  char* const with_lock[] = {name.data(), mode.data(), background.data(), option.data(), number.data(), nullptr};
  char* const without_lock[] = {name.data(), mode.data(), background.data(), nullptr};
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return std::string("no pipe: ") + std::strerror(errno);
  const Descriptor text_end(ends[0]);
  Descriptor child_end(ends[1]);
  const Descriptor null_device(open("/dev/null", O_RDONLY | O_CLOEXEC));
  Launch launch{file.c_str(), lock != -1 ? with_lock : without_lock, null_device.number(), child_end.number(), lock, 0};
  const pid_t child = launch_child(launch);
  if (child == -1) return file + " cannot be run: " + std::strerror(errno);
  child_end.reset();
  if (launch.error != 0) {
    status_of(child);
    return file + " cannot be run: " + std::strerror(launch.error);
  }
  return outcome(child, text_end.number(), limit);
}

}  // namespace impl
