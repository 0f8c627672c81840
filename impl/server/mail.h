// What other threads have the server's own thread do: watchers that were told, work that is done.
#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "impl/wire/unique_fd.h"

namespace impl::server {

class Mail {
 public:
  using Task = std::function<void()>;

  // False without a descriptor.
  bool open();
  // Readable while there is something to do.
  int fd() const { return bell_.get(); }

  // From any thread.
  void post(Task task);
  // Does what was posted; on the server's thread.
  void deliver();

 private:
  wire::Unique_Fd bell_;
  std::mutex mutex_;
  std::vector<Task> tasks_;
};

}  // namespace impl::server
