// Memory that ends at an unreadable page.
#ifndef KELVANE_TESTS_REGISTRY_GUARDED_PAGE_H
#define KELVANE_TESTS_REGISTRY_GUARDED_PAGE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string>

namespace kvtest {

// Two pages, the second without any access.
class Guarded_Page {
 public:
  Guarded_Page() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    void* pages = mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::runtime_error("mmap");
    start_ = static_cast<char*>(pages);
    mprotect(start_ + size_, size_, PROT_NONE);
  }
  ~Guarded_Page() { munmap(start_, 2 * size_); }
  Guarded_Page(const Guarded_Page&) = delete;
  Guarded_Page& operator=(const Guarded_Page&) = delete;

  // The content, so placed that the first unreadable byte follows it.
  char* ending_with(const std::string& content) {
    return static_cast<char*>(std::memcpy(start_ + size_ - content.size(), content.data(), content.size()));
  }
  // The first unreadable byte.
  char* end() { return start_ + size_; }

 private:
  std::size_t size_;
  char* start_;
};

}  // namespace kvtest

#endif
