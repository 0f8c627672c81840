// The input-idle notification's place in start-up.
#pragma once

inline namespace kelvane {

// A handler of notifications that reach this process; registered once for its kind, never destroyed.
class NotifOp {
 public:
  virtual ~NotifOp();
  virtual int operator()(int pid, int kind, char* data, int size) = 0;
};

// Registers the handler of input-idle notifications (kind 0). Returns 1.
int AdvInitInputIdle();

}  // namespace kelvane
