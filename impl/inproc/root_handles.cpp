#include "impl/inproc/root_handles.h"

#include <winreg.h>

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

}  // namespace impl
