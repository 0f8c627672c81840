#include "impl/server/mail.h"

#include <sys/eventfd.h>

#include <utility>

namespace impl::server {

bool Mail::open() {
  bell_ = wire::Unique_Fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  return static_cast<bool>(bell_);
}

void Mail::post(Task task) {
  const std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
  if (tasks_.size() == 1) eventfd_write(bell_.get(), 1);
}

void Mail::deliver() {
  std::vector<Task> tasks;
  {
    const std::lock_guard lock(mutex_);
    eventfd_t rings = 0;
    eventfd_read(bell_.get(), &rings);
    tasks.swap(tasks_);
  }
  for (const Task& task : tasks) task();
}

}  // namespace impl::server
