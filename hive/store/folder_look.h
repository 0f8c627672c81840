// The state of a folder, by which it is known without looking at each that no name in it was made, taken away or given
// to another file.
#pragma once

#include <cstdint>
#include <string>

#include "hive/store/system_calls.h"

namespace hive {

struct Folder_Look {
  File_Identity folder;
  std::int64_t changed = 0;  // when its names last changed, in nanoseconds
  // Long enough ago for a later change to get another time.
  bool is_settled = false;

  bool operator==(const Folder_Look&) const = default;
};

// Never settled when there is no such folder.
Folder_Look look_at_folder(const std::string& folder);

}  // namespace hive
