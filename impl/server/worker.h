// A thread that does one job after the other: for what takes long, whole hives and writing through to the disk; and for
// a batch, which belongs to a thread.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace impl::server {

class Worker {
 public:
  using Job = std::function<void()>;

  // name: as tools show it, of at most 15 characters.
  explicit Worker(const char* name) : name_(name) {}
  // Waits for the job under way; those behind it are dropped.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // The thread is made with the first job, and takes no signal. False when there is none to be had.
  bool add(Job job);
  // The thread ends behind the job under way, without those behind it.
  void end();
  // Whether waiting for it would be short.
  bool is_over() const { return is_over_; }

 private:
  bool start();
  void run();

  const char* const name_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Job> jobs_;
  bool ends_ = false;
  std::atomic<bool> is_over_{false};
  std::thread thread_;
};

}  // namespace impl::server
