#include "hive/cache/index_map.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>
#include <vector>

namespace hive {
namespace {

constexpr std::size_t mapped_size = Index_Head::words * sizeof(std::uint64_t);

std::mutex& maps_mutex() {
  static std::mutex& mutex = *new std::mutex;
  return mutex;
}

std::vector<Index_Map*>& maps() {
  static std::vector<Index_Map*>& list = *new std::vector<Index_Map*>;
  return list;
}

bool is_open(const Descriptors& open, const File_Identity& file) {
  return std::any_of(open.list().begin(), open.list().end(),
                     [&](const Descriptor& descriptor) { return descriptor.file == file; });
}

}  // namespace

Index_Map* Index_Map::of(const std::string& hive_file, const Descriptors& open) {
  const std::string name = hive_file + "-shm";
  struct stat found;
  if (stat(name.c_str(), &found) != 0) return nullptr;
  const File_Identity file{found.st_dev, found.st_ino};
  if (!is_open(open, file) || found.st_size < static_cast<off_t>(mapped_size)) return nullptr;
  std::lock_guard lock(maps_mutex());
  for (Index_Map* map : maps()) {
    if (map->file_ == file && map->has_name()) {
      ++map->users_;
      return map;
    }
  }
  const int fd = above_standard(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (fd < 0 || fstat(fd, &found) != 0 || !(File_Identity{found.st_dev, found.st_ino} == file)) return nullptr;
  void* head = mmap(nullptr, mapped_size, PROT_READ, MAP_SHARED, fd, 0);
  if (head == MAP_FAILED) return nullptr;
  maps().push_back(new Index_Map(fd, file, static_cast<const std::uint64_t*>(head)));
  ++maps().back()->users_;
  return maps().back();
}

void Index_Map::let_go(Index_Map* map) {
  std::lock_guard lock(maps_mutex());
  if (--map->users_ > 0 || map->has_name()) return;
  std::erase(maps(), map);
  struct stat now;
  const bool is_own = fstat(map->fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == map->file_;
  if (is_own) close(map->fd_);
  retire(std::unique_ptr<const Shared_Object>(map));
}

Index_Map::~Index_Map() { munmap(const_cast<std::uint64_t*>(head_), mapped_size); }

bool Index_Map::has_name() const {
  struct stat now;
  return fstat(fd_, &now) == 0 && File_Identity{now.st_dev, now.st_ino} == file_ && now.st_nlink > 0;
}

}  // namespace hive
