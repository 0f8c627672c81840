#include "hive/store/fork.h"

#include <pthread.h>

#include "hive/store/store.h"

namespace hive {
namespace {

void before_fork() {
  opening_mutex().lock();
  for (Store* store : Store::all()) store->before_fork();
}

void after_fork_in_parent() {
  for (Store* store : Store::all()) store->after_fork_in_parent();
  opening_mutex().unlock();
}

void after_fork_in_child() {
  for (Store* store : Store::all()) store->after_fork_in_child();
  opening_mutex().unlock();
}

}  // namespace

std::mutex& opening_mutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

void guard_forks() {
  static bool registered = false;
  if (registered) return;
  registered = pthread_atfork(&before_fork, &after_fork_in_parent, &after_fork_in_child) == 0;
}

}  // namespace hive
