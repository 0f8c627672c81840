// A block of the system's heap that is released at its end.
#pragma once

#include <windef.h>

#include <cstdlib>
#include <memory>

inline namespace kelvane {

struct Free_Block {
  void operator()(void* block) const { std::free(block); }
};

using Block = std::unique_ptr<BYTE, Free_Block>;

}  // namespace kelvane
