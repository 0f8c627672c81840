// The temporary directory and names in it.
#include <kelvane/process.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>

namespace {

// "/" becomes the empty text, behind which "/name" is right again.
std::string settle_directory() {
  const char* configured = secure_getenv("TMPDIR");
  std::string directory = configured != nullptr && *configured != '\0' ? configured : "/tmp";
  while (directory.ends_with('/')) directory.pop_back();
  return directory;
}

// A link that points nowhere is in use, too.
bool is_in_use(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

}  // namespace

const char* KvTmpDir(int) {
  // Never destroyed: the name of the user's registry file is asked for while the process ends.
  static const std::string& directory = *new std::string(settle_directory());
  return directory.c_str();
}

char* Kv_tempnam(const char* directory, const char* prefix) {
  static std::atomic<unsigned> counter;
  std::string start = directory != nullptr && *directory != '\0' ? directory : KvTmpDir(0);
  start.append("/").append(prefix != nullptr ? prefix : "").append(std::to_string(getpid())).append(".");
  std::string path;
  do {
    path = start + std::to_string(counter++);
  } while (is_in_use(path));
  return strdup(path.c_str());
}
