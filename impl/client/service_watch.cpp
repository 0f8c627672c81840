// The client's operation of watching.
#include <winnt.h>

#include <condition_variable>
#include <mutex>

#include "impl/client/client_service.h"
#include "impl/held_event.h"

namespace impl::client {
namespace {

class Event_Watcher final : public Watcher {
 public:
  explicit Event_Watcher(HANDLE event) : event_(event) {}
  DWORD code() const { return event_.code(); }
  void tell() override { event_.signal(); }

 private:
  Held_Event event_;
};

class Waiting_Caller final : public Watcher {
 public:
  void tell() override {
    const std::lock_guard guard(mutex_);
    is_told_ = true;
    told_.notify_one();
  }
  void wait() {
    std::unique_lock lock(mutex_);
    told_.wait(lock, [this] { return is_told_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable told_;
  bool is_told_ = false;
};

}  // namespace

// The key's handle is free while the call waits: another thread may close it, which ends the waiting.
DWORD Client_Service::watch_key(HKEY key, bool subtree, DWORD filter, HANDLE event) {
  const auto begin = [&](std::shared_ptr<Watcher> watcher) {
    return with_key(key, KEY_NOTIFY, [&](const Subject& subject) -> DWORD {
      if (carrier_.batches().of_thread() != nullptr) return ERROR_TRANSACTION_REQUEST_NOT_VALID;
      return watches_.begin(subject, subtree, filter, std::move(watcher));
    });
  };
  if (event == nullptr) {
    const auto caller = std::make_shared<Waiting_Caller>();
    const DWORD code = begin(caller);
    if (code == ERROR_SUCCESS) caller->wait();
    return code;
  }
  const auto watcher = std::make_shared<Event_Watcher>(event);
  return watcher->code() == ERROR_SUCCESS ? begin(watcher) : watcher->code();
}

}  // namespace impl::client
