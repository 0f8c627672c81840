// Processes as what handles stand for.
#ifndef KELVANE_KERNEL32_SYNC_PROCESS_OBJECT_H
#define KELVANE_KERNEL32_SYNC_PROCESS_OBJECT_H

#include <sys/types.h>
#include <windef.h>

#include <utility>

#include "kernel32/sync/handle_table.h"
#include "kernel32/sync/own_descriptor.h"

inline namespace kelvane {

// A process is signalled once it has ended.
class Process_Object final : public Kernel_Object {
 public:
  // A pidfd; an empty one for the calling process, whose end nobody in it sees.
  Process_Object(Own_Descriptor pidfd, pid_t pid)
      : Kernel_Object(Object_Kind::process), pidfd_(std::move(pidfd)), pid_(pid) {}

  int descriptor() const override { return pidfd_.get(); }
  bool is_intact() const override { return pidfd_.get() < 0 || pidfd_.is_ours(); }
  bool take() override { return true; }
  void give_back() override {}

  pid_t pid() const { return pid_; }

 private:
  Own_Descriptor pidfd_;
  pid_t pid_;
};

// The handle that means the calling process without being in the table.
inline bool is_current_process(HANDLE handle) { return handle == reinterpret_cast<HANDLE>(INT_PTR{-1}); }

}  // namespace kelvane

#endif
