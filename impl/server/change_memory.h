// The page of change numbers as the server has it: mapped for writing before it is sealed, so that nobody else can
// write it any more.
#pragma once

#include "impl/wire/change_page.h"
#include "impl/wire/unique_fd.h"

namespace impl::server {

class Change_Memory {
 public:
  Change_Memory() = default;
  // On the thread that opened it.
  ~Change_Memory();
  Change_Memory(const Change_Memory&) = delete;
  Change_Memory& operator=(const Change_Memory&) = delete;

  // The calling thread holds the page's mutex from now on: with its end, or that of this, every client knows that the
  // numbers mean nothing any more. False where the system cannot make such memory.
  bool open();

  // Null until it is open.
  wire::Change_Page* page() const { return page_; }
  // For reading only; -1 until it is open.
  int fd() const { return shown_.get(); }

 private:
  bool make_page(int memory);
  bool hold_mutex();

  wire::Unique_Fd shown_;
  wire::Change_Page* page_ = nullptr;
};

}  // namespace impl::server
