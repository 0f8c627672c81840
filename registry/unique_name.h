// Names of files that no other process and no other call uses, beside a file that is about to be replaced.
#pragma once

#include <kelvane/user_hive_file.h>

inline namespace kelvane {

// The room that such a name gets; a longer one is cut.
inline constexpr unsigned long unique_name_size = 4096;

}  // namespace kelvane
