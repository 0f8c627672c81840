// The user's hive file mapped into memory.

#include <fcntl.h>
#include <kelvane/user_hive_file.h>
#include <sys/mman.h>
#include <unistd.h>
#include <winerror.h>

#include <cstddef>

inline namespace kelvane {

HKCUDataReader::HKCUDataReader(char* path) : error(ERROR_SUCCESS), data(nullptr), size(0) {
  const KvProxyFile file(path, O_RDONLY, 0);
  if (file.descriptor == -1) {
    error = ERROR_OPEN_FAILED;
    return;
  }
  // QUIRK reader-size-32-bit: of a file of 4 GiB and more the remainder is told and mapped.
  size = static_cast<unsigned>(lseek(file.descriptor, 0, SEEK_END));
  lseek(file.descriptor, 0, SEEK_SET);
  void* const mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file.descriptor, 0);
  if (mapped == MAP_FAILED) {
    error = ERROR_OUTOFMEMORY;
    return;
  }
  data = static_cast<unsigned char*>(mapped);
}

HKCUDataReader::~HKCUDataReader() {
  if (data != nullptr) munmap(data, size);
}

static_assert(offsetof(HKCUDataReader, error) == 0 && offsetof(HKCUDataReader, data) == 8);
static_assert(offsetof(HKCUDataReader, size) == 16 && sizeof(HKCUDataReader) == 24);

}  // namespace kelvane
