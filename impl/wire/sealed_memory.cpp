#include "impl/wire/sealed_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>

namespace impl::wire {
namespace {

constexpr int needed_seals = F_SEAL_WRITE | F_SEAL_SHRINK;
constexpr int all_seals = needed_seals | F_SEAL_GROW | F_SEAL_SEAL;

bool write_all(int fd, Bytes bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes = bytes.subspan(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

Unique_Fd seal(Bytes bytes) {
  Unique_Fd file(memfd_create("registry-data", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!file || !write_all(file.get(), bytes) || fcntl(file.get(), F_ADD_SEALS, all_seals) != 0) return {};
  return file;
}

Sealed_Bytes::Sealed_Bytes(int fd, std::size_t most) {
  const int seals = fcntl(fd, F_GET_SEALS);
  struct stat found;
  if (seals < 0 || (seals & needed_seals) != needed_seals) {
    error_ = EPERM;
  } else if (fstat(fd, &found) != 0) {
    error_ = errno;
  } else if (static_cast<std::size_t>(found.st_size) > most) {
    error_ = EFBIG;
  } else if (found.st_size > 0) {
    size_ = static_cast<std::size_t>(found.st_size);
    address_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, fd, 0);
    if (address_ != MAP_FAILED) return;
    error_ = errno;
    address_ = nullptr;
    size_ = 0;
  }
}

Sealed_Bytes::~Sealed_Bytes() {
  if (address_ != nullptr) munmap(address_, size_);
}

}  // namespace impl::wire
