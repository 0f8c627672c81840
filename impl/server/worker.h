// The thread for what takes long: whole hives, and writing through to the disk. One job after the other.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace impl::server {

class Worker {
 public:
  using Job = std::function<void()>;

  Worker() = default;
  // Waits for the job under way; those behind it are dropped.
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // The thread is made with the first job, and takes no signal. False when there is none to be had.
  bool add(Job job);

 private:
  bool start();
  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Job> jobs_;
  bool ends_ = false;
  std::thread thread_;
};

}  // namespace impl::server
