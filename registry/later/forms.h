// The two forms of the functions that this room builds upon, so that one text makes both of its own.
#pragma once

#include <winbase.h>
#include <winreg.h>

inline namespace kelvane {

struct Narrow {
  using Char = char;
  static constexpr auto open = RegOpenKeyExA;
  static constexpr auto create = RegCreateKeyExA;
  static constexpr auto delete_key = RegDeleteKeyA;
  static constexpr auto query = RegQueryValueExA;
  static constexpr auto set = RegSetValueExA;
  static constexpr auto delete_value = RegDeleteValueA;
  static constexpr auto expand = ExpandEnvironmentStringsA;
};

struct Wide {
  using Char = wchar_t;
  static constexpr auto open = RegOpenKeyExW;
  static constexpr auto create = RegCreateKeyExW;
  static constexpr auto delete_key = RegDeleteKeyW;
  static constexpr auto query = RegQueryValueExW;
  static constexpr auto set = RegSetValueExW;
  static constexpr auto delete_value = RegDeleteValueW;
  static constexpr auto expand = ExpandEnvironmentStringsW;
};

template <class Char>
bool names_key(const Char* sub_key) {
  return sub_key != nullptr && *sub_key != 0;
}

}  // namespace kelvane
