#include "impl/inproc/root_keys.h"

#include <winnt.h>

#include <utility>

namespace impl {
hive::Status Root_Keys::handle_of(hive::Root root, HKEY* out_handle) {
  *out_handle = kept(root).load(std::memory_order_acquire);
  if (*out_handle != nullptr) return hive::Status::ok;
  hive::Key key;
  if (hive::Status status = registry_.open_root(root, &key); status != hive::Status::ok) return status;
  const HKEY fresh = handles_.add(std::move(key), KEY_ALL_ACCESS);
  if (fresh == nullptr) return hive::Status::no_memory;
  if (kept(root).compare_exchange_strong(*out_handle, fresh, std::memory_order_acq_rel)) {
    *out_handle = fresh;
  } else {
    handles_.close(fresh);  // another thread was first, and *out_handle is its handle
  }
  return hive::Status::ok;
}

void Root_Keys::forget(hive::Root root, HKEY handle) {
  kept(root).compare_exchange_strong(handle, nullptr, std::memory_order_acq_rel);
}

}  // namespace impl
