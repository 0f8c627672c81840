#include "impl/inproc/root_keys.h"

#include <winreg.h>

#include <utility>

namespace impl {
namespace {

std::uint32_t low_half(HKEY handle) { return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(handle)); }

struct Predefined {
  HKEY handle;
  hive::Root root;
};

}  // namespace

std::optional<hive::Root> predefined_root(std::uint32_t handle) {
  const Predefined predefined[] = {
      {HKEY_CLASSES_ROOT, hive::Root::classes},
      {HKEY_CURRENT_USER, hive::Root::current_user},
      {HKEY_LOCAL_MACHINE, hive::Root::machine},
      {HKEY_USERS, hive::Root::users},
      {HKEY_PERFORMANCE_DATA, hive::Root::performance},
      {HKEY_CURRENT_CONFIG, hive::Root::current_config},
      {HKEY_DYN_DATA, hive::Root::performance},
      {HKEY_PERFORMANCE_TEXT, hive::Root::performance},
      {HKEY_PERFORMANCE_NLSTEXT, hive::Root::performance},
  };
  for (const Predefined& each : predefined) {
    if (low_half(each.handle) == handle) return each.root;
  }
  return std::nullopt;
}

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
