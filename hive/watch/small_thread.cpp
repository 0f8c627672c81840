#include "hive/watch/small_thread.h"

#include <limits.h>
#include <pthread.h>
#include <signal.h>

#include <cerrno>
#include <memory>

namespace hive {
namespace {

// What SQLite and a tree of keys need, with room for tools that make frames larger.
constexpr std::size_t stack_size = 256 * 1024;

void* run(void* body) {
  std::unique_ptr<std::function<void()>> owned(static_cast<std::function<void()>*>(body));
  (*owned)();
  return nullptr;
}

class Signals_Blocked {
 public:
  Signals_Blocked() {
    sigset_t all;
    sigfillset(&all);
    for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS}) sigdelset(&all, fault);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~Signals_Blocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  Signals_Blocked(const Signals_Blocked&) = delete;
  Signals_Blocked& operator=(const Signals_Blocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace

bool start_small_thread(const char* name, std::function<void()> body) {
  auto owned = std::make_unique<std::function<void()>>(std::move(body));
  pthread_attr_t small;
  if (pthread_attr_init(&small) != 0) return false;
  pthread_attr_setstacksize(&small, static_cast<std::size_t>(PTHREAD_STACK_MIN) + stack_size);
  const Signals_Blocked blocked;
  pthread_t thread;
  int failure = pthread_create(&thread, &small, &run, owned.get());
  // Thread-local storage is taken from the stack, and a program may have more of it than that.
  if (failure == EINVAL) failure = pthread_create(&thread, nullptr, &run, owned.get());
  pthread_attr_destroy(&small);
  if (failure != 0) return false;
  owned.release();
  pthread_setname_np(thread, name);
  pthread_detach(thread);
  return true;
}

}  // namespace hive
