// A page of change numbers that a test writes.
#ifndef KELVANE_TESTS_CLIENT_CHANGE_PAGE_H
#define KELVANE_TESTS_CLIENT_CHANGE_PAGE_H

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "impl/wire/change_page.h"
#include "impl/wire/unique_fd.h"

namespace kvtest {

// Of one hive, whose identity is 16 times the letter h.
class Test_Page {
 public:
  explicit Test_Page(std::size_t size = sizeof(impl::wire::Change_Page),
                     int seals = F_SEAL_FUTURE_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL)
      : file_(memfd_create("test-changes", MFD_CLOEXEC | MFD_ALLOW_SEALING)) {
    if (ftruncate(file_.get(), static_cast<off_t>(size)) != 0) return;
    void* const address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file_.get(), 0);
    fcntl(file_.get(), F_ADD_SEALS, seals);
    if (size < sizeof(impl::wire::Change_Page)) return;
    page_ = static_cast<impl::wire::Change_Page*>(address);
    std::memcpy(page_->mark, "KVCP", 4);
    page_->layout = 1;
    page_->hive_count = 1;
    page_->owner = 4711;
    std::fill_n(page_->hives[0].hive, 16, 'h');
    page_->hives[0].number = 2;
  }
  ~Test_Page() {
    if (page_ != nullptr) munmap(page_, sizeof *page_);
  }
  Test_Page(const Test_Page&) = delete;
  Test_Page& operator=(const Test_Page&) = delete;

  int fd() const { return file_.get(); }
  impl::wire::Change_Page* operator->() const { return page_; }
  void set_number(std::uint64_t number) { page_->hives[0].number = number; }

 private:
  impl::wire::Unique_Fd file_;
  impl::wire::Change_Page* page_ = nullptr;
};

}  // namespace kvtest

#endif
