// The service's operation of watching.
#include <winnt.h>

#include "impl/inproc/inproc_service.h"
#include "impl/inproc/watch_targets.h"

namespace impl {

static_assert(hive::way_name == REG_NOTIFY_CHANGE_NAME && hive::way_attributes == REG_NOTIFY_CHANGE_ATTRIBUTES &&
              hive::way_last_set == REG_NOTIFY_CHANGE_LAST_SET && hive::way_security == REG_NOTIFY_CHANGE_SECURITY);

DWORD Inproc_Service::watch_for(HKEY key, bool subtree, DWORD filter, std::shared_ptr<hive::Watch_Target> target) {
  if (root_of(key) == hive::Root::performance) return ERROR_INVALID_HANDLE;  // nothing is there to change
  return with_key(key, KEY_NOTIFY,
                  [&](const hive::Key& at, DWORD) { return registry_.watch(at, subtree, filter, std::move(target)); });
}

// The key's handle is free while the call waits: another thread may close it, which ends the waiting.
DWORD Inproc_Service::watch_key(HKEY key, bool subtree, DWORD filter, HANDLE event) {
  if (event == nullptr) {
    const auto caller = std::make_shared<Waiting_Caller>();
    const DWORD code = watch_for(key, subtree, filter, caller);
    if (code == ERROR_SUCCESS) caller->wait();
    return code;
  }
  const auto target = std::make_shared<Event_Target>(event);
  return target->code() == ERROR_SUCCESS ? watch_for(key, subtree, filter, target) : target->code();
}

}  // namespace impl
