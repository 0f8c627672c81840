#include "impl/inproc/watch_targets.h"

namespace impl {

void Waiting_Caller::signal() {
  const std::lock_guard guard(mutex_);
  is_told_ = true;
  told_.notify_one();
}

void Waiting_Caller::wait() {
  std::unique_lock lock(mutex_);
  told_.wait(lock, [this] { return is_told_; });
}

}  // namespace impl
