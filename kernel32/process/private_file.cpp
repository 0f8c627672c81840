// KvCreatePrivateFile: temporary directories are everybody's, and a planted link would lead to a file of the
// caller's.
#include <fcntl.h>
#include <kelvane/process.h>

int KvCreatePrivateFile(const char* path, int flags, mode_t mode) {
  return open(path, flags | O_NOFOLLOW | O_CLOEXEC, mode);
}
