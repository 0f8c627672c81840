// The test program's own link, which the dynamic linker prefers: it can play a network file system whose
// handles went stale.
#include <dlfcn.h>
#include <unistd.h>
#include <windef.h>

#include <cerrno>

#include "tests/registry/user_file.h"

namespace kvtest {

int& stale_links() {
  static int count = 0;
  return count;
}

int& link_calls() {
  static int count = 0;
  return count;
}

}  // namespace kvtest

extern "C" KV_EXPORT int link(const char* from, const char* to) noexcept {
  ++kvtest::link_calls();
  if (kvtest::stale_links() > 0) {
    --kvtest::stale_links();
    errno = ESTALE;
    return -1;
  }
  return reinterpret_cast<int (*)(const char*, const char*)>(dlsym(RTLD_NEXT, "link"))(from, to);
}
