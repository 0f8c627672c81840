// Times as they cross the table.
#pragma once

#include <windef.h>

#include <cstdint>

namespace impl {

inline FILETIME file_time(std::uint64_t hundred_ns) {
  return {static_cast<DWORD>(hundred_ns), static_cast<DWORD>(hundred_ns >> 32)};
}

}  // namespace impl
