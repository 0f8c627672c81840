#include "impl/server/passing_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>
#include <winerror.h>

#include <cerrno>
#include <filesystem>

namespace impl::server {
namespace {

constexpr mode_t owner_reads_and_writes = 0600;

}  // namespace

Passing_Folder::Passing_Folder(const std::string& data_folder) : path_(data_folder + "/passing.XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) path_.clear();
}

Passing_Folder::~Passing_Folder() {
  std::error_code ignored;
  if (is_made()) std::filesystem::remove_all(path_, ignored);
}

wire::Unique_Fd Passing_Folder::take(const std::string& name) const {
  wire::Unique_Fd taken(open(file(name).c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (taken) unlink(file(name).c_str());
  return taken;
}

int Passing_Folder::put(const std::string& name, wire::Bytes bytes) const {
  const wire::Unique_Fd made(open(file(name).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owner_reads_and_writes));
  if (!made) return errno;
  while (!bytes.empty()) {
    const ssize_t written = write(made.get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return written == 0 ? ENOSPC : errno;
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return 0;
}

DWORD code_of_errno(int error) {
  if (error == ENOSPC || error == EDQUOT) return ERROR_DISK_FULL;
  return error == ENOMEM || error == EMFILE || error == ENFILE ? ERROR_NOT_ENOUGH_MEMORY : ERROR_REGISTRY_IO_FAILED;
}

}  // namespace impl::server
