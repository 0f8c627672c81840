#include "hive/store/fork.h"

#include <pthread.h>

#include "hive/batch.h"
#include "hive/cache/node_cache.h"
#include "hive/cache/read_section.h"
#include "hive/position.h"
#include "hive/store/store.h"

namespace hive {
namespace {

void before_fork() {
  opening_mutex().lock();
  Batch::before_fork();
  for (Store* store : Store::all()) store->before_fork();
  Node_Cache::of_process().hold();
  hold_retired_objects();
}

void let_go_of_memory() {
  let_go_of_retired_objects();
  Node_Cache::of_process().let_go();
}

void after_fork_in_parent() {
  let_go_of_memory();
  for (Store* store : Store::all()) store->after_fork_in_parent();
  Batch::after_fork_in_parent();
  opening_mutex().unlock();
}

void after_fork_in_child() {
  forget_other_sections();
  Position_Lock::after_fork();
  let_go_of_memory();
  for (Store* store : Store::all()) store->after_fork_in_child();
  Batch::after_fork_in_child();
  opening_mutex().unlock();
}

}  // namespace

std::mutex& opening_mutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

bool guard_forks() {
  static const bool registered = pthread_atfork(&before_fork, &after_fork_in_parent, &after_fork_in_child) == 0;
  return registered;
}

}  // namespace hive
