// The paths of all keys below one, in their stored form, each terminated. A key stands before the keys below it.
#pragma once

#include <kelvane/registry_table.h>
#include <winreg.h>

#include <cstddef>

#include "registry/later/value_block.h"

inline namespace kelvane {

class Path_List {
 public:
  // Asks the registry for every key below this one. What is created meanwhile may be missing.
  LSTATUS collect(HKEY key);

  std::size_t count() const { return count_; }
  const WinChar* operator[](std::size_t index);

 private:
  LSTATUS collect_children(HKEY key, const WinChar* path);
  void append(const WinChar* path, const WinChar* name);
  std::size_t& begin_of(std::size_t index);

  Value_Block text_{4096};
  Value_Block begins_{1024};
  std::size_t text_size_ = 0;  // bytes
  std::size_t count_ = 0;
};

}  // namespace kelvane
