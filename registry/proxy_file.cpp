// Opening a file through a private hard link. Runs while the process ends: no containers, no strings.

#include <fcntl.h>
#include <kelvane/user_hive_file.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

#include "registry/unique_name.h"

inline namespace kelvane {
namespace {

// A stale handle of a network file system is asked again for as long as it takes.
bool make_link(const char* path, const char* link_name) {
  int made;
  do made = link(path, link_name);
  while (made != 0 && errno == ESTALE);
  return made == 0;
}

}  // namespace

KvProxyFile::KvProxyFile(const char* path, int flags, int mode) : descriptor(-1), linked(0) {
  KvCreateUniqFileName(linkName, sizeof linkName, path);
  if (make_link(path, linkName)) linked = 1;
  descriptor = open(linked != 0 ? linkName : path, flags, mode);
}

KvProxyFile::~KvProxyFile() {
  if (descriptor != -1) close(descriptor);
  if (linked != 0) unlink(linkName);
}

static_assert(offsetof(KvProxyFile, descriptor) == 0 && offsetof(KvProxyFile, linkName) == 4);
static_assert(offsetof(KvProxyFile, linked) == 4100 && sizeof(KvProxyFile) == 4104);
static_assert(sizeof(KvProxyFile::linkName) == unique_name_size);

}  // namespace kelvane
