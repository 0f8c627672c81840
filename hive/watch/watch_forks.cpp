#include "hive/watch/watch_forks.h"

#include <pthread.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include "hive/watch/watch_post.h"

namespace hive {
namespace {

std::mutex& posts_mutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

std::vector<Watch_Post*>& posts() {
  static std::vector<Watch_Post*>& list = *new std::vector<Watch_Post*>;
  return list;
}

void before_fork() {
  posts_mutex().lock();
  for (Watch_Post* post : posts()) post->before_fork();
}

void after_fork_in_parent() {
  for (Watch_Post* post : posts()) post->after_fork_in_parent();
  posts_mutex().unlock();
}

void after_fork_in_child() {
  for (Watch_Post* post : posts()) post->after_fork_in_child();
  posts_mutex().unlock();
}

}  // namespace

void guard_at_forks(Watch_Post* post) {
  static const int registered = pthread_atfork(&before_fork, &after_fork_in_parent, &after_fork_in_child);
  static_cast<void>(registered);
  std::lock_guard lock(posts_mutex());
  posts().push_back(post);
}

void forget_at_forks(Watch_Post* post) {
  std::lock_guard lock(posts_mutex());
  std::erase(posts(), post);
}

}  // namespace hive
