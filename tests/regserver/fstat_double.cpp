// The test program's own fstat, which the dynamic linker prefers.
#include <dlfcn.h>

#include <cerrno>

#include "tests/regserver/endpoint.h"

namespace kvtest {

bool& fstat_fails() {
  static bool fails = false;
  return fails;
}

}  // namespace kvtest

extern "C" KV_EXPORT int fstat(int descriptor, struct stat* out) noexcept {
  if (kvtest::fstat_fails()) {
    kvtest::fstat_fails() = false;
    errno = EIO;
    return -1;
  }
  return reinterpret_cast<int (*)(int, struct stat*)>(dlsym(RTLD_NEXT, "fstat"))(descriptor, out);
}
