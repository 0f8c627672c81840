// The layer's global critical section: a plain mutex and a count of holds in each thread, so that recursion
// needs no owner and a forked child, whose only thread has another id, still releases what it held. A hold of
// a thread that the child does not have ends with the fork.
#include <kelvane/critical.h>
#include <pthread.h>

namespace {

pthread_mutex_t kernel_mutex = PTHREAD_MUTEX_INITIALIZER;
pthread_once_t fork_handler_once = PTHREAD_ONCE_INIT;
thread_local unsigned holds = 0;

void renew_in_child() {
  pthread_mutex_init(&kernel_mutex, nullptr);
  if (holds != 0) pthread_mutex_lock(&kernel_mutex);
}

void install_fork_handler() { pthread_atfork(nullptr, nullptr, renew_in_child); }

}  // namespace

void KvEnterKernelCritical() {
  pthread_once(&fork_handler_once, install_fork_handler);
  if (holds == 0) pthread_mutex_lock(&kernel_mutex);
  ++holds;
}

void KvLeaveKernelCritical() {
  if (holds == 0) return;
  if (--holds == 0) pthread_mutex_unlock(&kernel_mutex);
}

void KvTotalUnblockKernelCritical() {
  if (holds == 0) return;
  holds = 0;
  pthread_mutex_unlock(&kernel_mutex);
}
