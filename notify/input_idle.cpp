// The handlers of notifications, by kind, and the one that the library registers itself.

#include "notify/input_idle.h"

inline namespace kelvane {
namespace {

constexpr int input_idle = 0;
constexpr int kind_count = 2;
NotifOp* notifications[kind_count];

// Hears that another process has become idle. Nobody waits for it yet, so there is nothing to signal.
class WaitNotifOp final : public NotifOp {
 public:
  int operator()(int, int, char*, int) override { return 0; }
};

}  // namespace

NotifOp::~NotifOp() = default;

int AdvInitInputIdle() {
  notifications[input_idle] = new WaitNotifOp;
  return 1;
}

}  // namespace kelvane
