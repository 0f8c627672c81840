// The handles of this process.
//
// A handle is (generation << 18 | index) << 2 with a generation from 1 to 2,047: a multiple of four that fits a
// positive LONG, as sources of Windows expect, and never small. The generation changes whenever an index is used again,
// and an index rests behind others before it is, so that a stale handle is refused.
//
// A forked child has copies of all handles, each with its own life from then on.
#ifndef KELVANE_KERNEL32_SYNC_HANDLE_TABLE_H
#define KELVANE_KERNEL32_SYNC_HANDLE_TABLE_H

#include <windef.h>

#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "kernel32/sync/kernel_object.h"

inline namespace kelvane {

class Handle_Table {
 public:
  // An object in use. It stays while the pin does, also when its handle is closed meanwhile.
  class Pin {
   public:
    Pin() = default;
    Pin(Pin&& other) noexcept;
    Pin& operator=(Pin&& other) noexcept;
    ~Pin();

    explicit operator bool() const { return object_ != nullptr; }
    Kernel_Object* operator->() const { return object_; }
    Kernel_Object* get() const { return object_; }
    DWORD access() const { return access_; }

   private:
    friend class Handle_Table;
    Pin(Kernel_Object* object, DWORD access) : object_(object), access_(access) {}

    Kernel_Object* object_ = nullptr;
    DWORD access_ = 0;
  };

  // The process's table; never destroyed.
  static Handle_Table& of_process();

  // A new handle of the object with these rights; null when there are too many.
  HANDLE add(std::unique_ptr<Kernel_Object> object, DWORD access);

  // The handle's object; a false pin when the handle is unknown or closed.
  Pin find(HANDLE handle);

  // False when the handle is unknown or closed.
  bool close(HANDLE handle);

 private:
  struct Entry {
    Kernel_Object* object = nullptr;
    DWORD access = 0;
    DWORD generation = 0;
  };

  Handle_Table() = default;

  Entry* entry_of(HANDLE handle);
  bool take_index(DWORD* out_index);
  void let_go(Kernel_Object* object);
  void forget_pins();
  static int guard_forks();

  static const int forks_guarded_;
  std::mutex mutex_;
  std::vector<Entry> entries_;
  std::deque<DWORD> resting_; /* free indexes, oldest first */
};

}  // namespace kelvane

#endif
