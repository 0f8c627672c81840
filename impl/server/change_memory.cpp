#include "impl/server/change_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/random.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace impl::server {
namespace {

constexpr std::size_t size = sizeof(wire::Change_Page);
constexpr int seals = F_SEAL_FUTURE_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

// The same file through a descriptor that is for reading only.
int open_for_reading(int memory) {
  return open(("/proc/self/fd/" + std::to_string(memory)).c_str(), O_RDONLY | O_CLOEXEC);
}

}  // namespace

Change_Memory::~Change_Memory() {
  if (page_ == nullptr) return;
  pthread_mutex_unlock(&page_->mutex);
  munmap(page_, size);
}

bool Change_Memory::open() {
  const wire::Unique_Fd memory(memfd_create("registry-changes", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!memory || ftruncate(memory.get(), size) != 0 || !make_page(memory.get())) return false;
  shown_ = wire::Unique_Fd(open_for_reading(memory.get()));
  if (shown_ && fcntl(memory.get(), F_ADD_SEALS, seals) == 0 && hold_mutex()) return true;
  munmap(page_, size);
  page_ = nullptr;
  return false;
}

// A child has none: the mutex is the server's alone.
bool Change_Memory::make_page(int memory) {
  void* const address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, memory, 0);
  if (address == MAP_FAILED) return false;
  madvise(address, size, MADV_DONTFORK);
  page_ = static_cast<wire::Change_Page*>(address);  // zeros
  std::copy(std::begin(page_->mark_bytes), std::end(page_->mark_bytes), page_->mark);
  page_->layout = wire::Change_Page::layout_number;
  return getrandom(page_->server, sizeof page_->server, 0) == static_cast<ssize_t>(sizeof page_->server);
}

bool Change_Memory::hold_mutex() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  const bool is_made = pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED) == 0 &&
                       pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                       pthread_mutex_init(&page_->mutex, &attributes) == 0;
  pthread_mutexattr_destroy(&attributes);
  return is_made && pthread_mutex_lock(&page_->mutex) == 0;
}

}  // namespace impl::server
