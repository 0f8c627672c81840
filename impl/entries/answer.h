// The edge of an entry: no exception passes it.
#pragma once

#include <windef.h>
#include <winerror.h>

#include <new>

namespace impl {

// The code of the body, or ERROR_NOT_ENOUGH_MEMORY when memory ran out in it.
template <class Body>
DWORD answer(Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return ERROR_NOT_ENOUGH_MEMORY;
  }
}

}  // namespace impl
