// The guarded regions of each thread, innermost first, and the way out of them.
#include <kelvane/seh.h>
#include <pthread.h>
#include <string.h>
#include <ucontext.h>

#include <atomic>

#include "kernel32/seh/fault_handler.h"

namespace {

// Of the initial-exec kind because the first use may be inside the handler, where nothing may be allocated.
thread_local SehFrame* innermost __attribute__((tls_model("initial-exec"))) = nullptr;

constexpr size_t kernel_mask_size = _NSIG / 8;

// The mask of the interrupted code: another handler in front of ours may have run us with its own.
void restore_mask(const void* context) {
  sigset_t mask;
  sigemptyset(&mask);
  memcpy(&mask, &static_cast<const ucontext_t*>(context)->uc_sigmask, kernel_mask_size);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

bool is_open(const SehFrame* frame) {
  const SehFrame* open = innermost;
  while (open != nullptr && open != frame) open = open->outer;
  return open != nullptr;
}

}  // namespace

inline namespace kelvane {

void leave_guarded_region(const Fault& fault) {
  SehFrame* const frame = innermost;
  if (frame == nullptr || !is_own_fault(fault)) return;
  innermost = frame->outer;
  frame->must_complete = 1;
  frame->signal_number = fault.signal;
  restore_mask(fault.context);
  siglongjmp(frame->context, 1);
}

}  // namespace kelvane

void SehBeginTry3(SehFrame* frame) {
  keep_fault_handler_in_front();
  frame->must_complete = 0;
  frame->signal_number = 0;
  frame->outer = innermost;
  std::atomic_signal_fence(std::memory_order_seq_cst);
  innermost = frame;
}

void SehEndTry(SehFrame* frame) {
  std::atomic_signal_fence(std::memory_order_seq_cst);
  if (is_open(frame)) innermost = frame->outer;
}

// The jump out of the handler has ended the dispatch already.
void SehExceptReturn2(int) {}
