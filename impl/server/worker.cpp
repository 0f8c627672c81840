#include "impl/server/worker.h"

#include <pthread.h>
#include <signal.h>

#include <system_error>
#include <utility>

namespace impl::server {

Worker::~Worker() {
  end();
  if (thread_.joinable()) thread_.join();
}

void Worker::end() {
  const std::lock_guard lock(mutex_);
  ends_ = true;
  jobs_.clear();
  changed_.notify_one();
  if (!thread_.joinable()) is_over_ = true;
}

bool Worker::add(Job job) {
  const std::lock_guard lock(mutex_);
  if (!thread_.joinable() && !start()) return false;
  jobs_.push_back(std::move(job));
  changed_.notify_one();
  return true;
}

bool Worker::start() {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    thread_ = std::thread([this] { run(); });
    pthread_setname_np(thread_.native_handle(), name_);
  } catch (const std::system_error&) {
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return thread_.joinable();
}

void Worker::run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ends_ || !jobs_.empty(); });
    if (ends_) break;
    const Job job = std::move(jobs_.front());
    jobs_.pop_front();
    lock.unlock();
    job();
    lock.lock();
  }
  is_over_ = true;
}

}  // namespace impl::server
