// How many bytes of the heap are in use, to see whether temporaries were released.
#ifndef KELVANE_TESTS_REGISTRY_HEAP_USE_H
#define KELVANE_TESTS_REGISTRY_HEAP_USE_H

#include <cstddef>

#if defined(__SANITIZE_ADDRESS__)
#define KVTEST_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KVTEST_ADDRESS_SANITIZER 1
#endif
#endif

#ifdef KVTEST_ADDRESS_SANITIZER
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

namespace kvtest {

inline std::size_t heap_in_use() {
#ifdef KVTEST_ADDRESS_SANITIZER
  return __sanitizer_get_current_allocated_bytes();
#else
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
#endif
}

}  // namespace kvtest

#endif
