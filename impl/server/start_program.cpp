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

constexpr std::size_t stack_size = 64 * 1024;  // of each of two
constexpr std::size_t max_text = 4096;
constexpr int lock_number = 3;  // of the handed lock in the program
constexpr int first_free_number = 10;

// Any object of this library, by whose address the loader tells the library's file.
const char anchor = 0;

// What the children need, made before they begin: they share this process's memory. The first only makes the second and
// ends, so that the program, which the second becomes, is nobody's child.
struct Launch {
  char* second_stack;
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
__attribute__((no_sanitize("address", "undefined", "thread"))) int become_program(void* launch_data) {
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
  _exit(0);
}

__attribute__((no_sanitize("address", "undefined", "thread"))) int make_second_child(void* launch_data) {
  auto* const launch = static_cast<Launch*>(launch_data);
  if (clone(become_program, launch->second_stack, CLONE_VM | CLONE_VFORK | SIGCHLD, launch) == -1)
    launch->error = errno;
  _exit(0);
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

// 0 when the program runs, else an error number.
int run_program(Launch& launch) {
  void* const stacks =
      mmap(nullptr, 2 * stack_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
  if (stacks == MAP_FAILED) return errno;
  launch.second_stack = static_cast<char*>(stacks) + 2 * stack_size;
  {
    const Signals_Held held;
    // No signal is sent at the end of this child, and no wait meets it but the one that asks for such.
    const pid_t child =
        clone(make_second_child, static_cast<char*>(stacks) + stack_size, CLONE_VM | CLONE_VFORK, &launch);
    if (child == -1) launch.error = errno;
    while (child != -1 && waitpid(child, nullptr, __WCLONE) < 0 && errno == EINTR) {
    }
  }
  munmap(stacks, 2 * stack_size);
  return launch.error;
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

bool run_regss(int lock, std::chrono::milliseconds limit, std::string* out_text) {
  const std::string file = regss_file();
  *out_text = "there is no program regss beside the library";
  if (file.empty()) return false;
  std::string name = "regss", mode = "--user", background = "--background", option = "--lock-descriptor",
              number = std::to_string(lock_number);
  char* const with_lock[] = {name.data(), mode.data(), background.data(), option.data(), number.data(), nullptr};
  char* const without_lock[] = {name.data(), mode.data(), background.data(), nullptr};
  int ends[2];
  *out_text = "no pipe can be made";
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  const Descriptor text_end(ends[0]);
  Descriptor child_end(ends[1]);
  const Descriptor null_device(open("/dev/null", O_RDONLY | O_CLOEXEC));
  Launch launch{
      nullptr, file.c_str(), lock != -1 ? with_lock : without_lock, null_device.number(), child_end.number(), lock, 0};
  if (const int error = run_program(launch); error != 0) {
    *out_text = file + " cannot be run: " + std::strerror(error);
    return false;
  }
  child_end.reset();
  std::string text;
  const bool has_come_back = read_text(text_end.number(), Clock::now() + limit, &text);
  *out_text = has_come_back ? as_reason(text) : "regss did not answer in time";
  return has_come_back;
}

}  // namespace impl
