#include "impl/client/change_view.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <iterator>

namespace impl::client {
namespace {

using wire::Change_Page;

// Memory that can be made shorter would end the program that looks at it.
bool has_whole_page(int fd) {
  constexpr int needed = F_SEAL_SHRINK | F_SEAL_SEAL;
  const int seals = fcntl(fd, F_GET_SEALS);
  struct stat found;
  return seals >= 0 && (seals & needed) == needed && fstat(fd, &found) == 0 &&
         static_cast<std::size_t>(found.st_size) >= sizeof(Change_Page);
}

bool has_this_layout(const Change_Page& page) {
  return std::equal(std::begin(page.mark), std::end(page.mark), std::begin(Change_Page::mark_bytes)) &&
         page.layout == Change_Page::layout_number;
}

}  // namespace

std::shared_ptr<const Change_View> Change_View::of(wire::Memory memory) {
  if (memory.fd < 0 || !has_whole_page(memory.fd)) return nullptr;
  void* const address = mmap(nullptr, sizeof(Change_Page), PROT_READ, MAP_SHARED, memory.fd, 0);
  if (address == MAP_FAILED) return nullptr;
  const auto& page = *static_cast<const Change_Page*>(address);
  const std::uint32_t owner = page.owner.load(std::memory_order_relaxed);
  std::shared_ptr<const Change_View> view(new Change_View(page, owner));
  return has_this_layout(page) && wire::is_held(owner) ? view : nullptr;
}

Change_View::~Change_View() { munmap(const_cast<Change_Page*>(&page_), sizeof(Change_Page)); }

const std::atomic<std::uint64_t>* Change_View::number_of(wire::Bytes key_id) const {
  const std::size_t count =
      std::min<std::size_t>(page_.hive_count.load(std::memory_order_acquire), Change_Page::max_hives);
  if (key_id.size() < wire::Hive_Changes::identity_size) return nullptr;
  for (std::size_t i = 0; i < count; ++i) {
    const wire::Hive_Changes& hive = page_.hives[i];
    if (std::equal(std::begin(hive.hive), std::end(hive.hive), key_id.begin())) return &hive.number;
  }
  return nullptr;
}

}  // namespace impl::client
