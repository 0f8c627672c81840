#include "hive/store/shared_memory.h"

#include <sys/mman.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace hive {
namespace {

// As statfs(2) names them; the numbers are the kernel's.
constexpr std::uint32_t network_file_systems[] = {
    0x00006969,  // NFS
    0x0000517B,  // SMB
    0xFE534D42,  // SMB 2
    0xFF534D42,  // CIFS
    0x01021997,  // 9P
    0x5346414F,  // AFS
    0x6B414653,  // AFS, the kernel's
    0x00C36400,  // Ceph
    0x73757245,  // Coda
    0x0000564C,  // NCP
    0x7461636F,  // OCFS2
    0x01161970,  // GFS2
    0x0BD00BD0,  // Lustre
    0x47504653,  // GPFS
    0x19830326,  // BeeGFS
    0xAAD7AAEA,  // PanFS
    0x786F4256,  // folders of a virtual machine's host
    0x65735546,  // FUSE: what is behind it is not known
};

bool can_be_mapped(int fd) {
  void* page = mmap(nullptr, 1, PROT_READ, MAP_SHARED, fd, 0);
  if (page == MAP_FAILED) return false;
  munmap(page, 1);
  return true;
}

}  // namespace

bool is_of_one_machine(unsigned long file_system) {
  const auto number = static_cast<std::uint32_t>(file_system);
  return std::find(std::begin(network_file_systems), std::end(network_file_systems), number) ==
         std::end(network_file_systems);
}

bool shares_memory(int fd) {
  struct statfs found;
  if (fstatfs(fd, &found) == 0 && !is_of_one_machine(static_cast<unsigned long>(found.f_type))) return false;
  return can_be_mapped(fd);
}

}  // namespace hive
