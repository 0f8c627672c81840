// The handlers of notifications, by kind, and the functions that forward to the registry's implementation.
#include <kelvane/notify.h>

#include "bootstrap/registry_table.h"

inline namespace kelvane {
namespace {

constexpr int kind_count = 2;
NotifOp* notifications[kind_count];

}  // namespace

NotifOp::~NotifOp() = default;

}  // namespace kelvane

int KvRegisterNotificationHandler(int kind, NotifOp* handler) {
  notifications[kind] = handler;
  return 1;
}

int KvRequestNotification(int pid, int kind, int mode) {
  slot<Slot::KvIRequestNotification>(pid, kind, mode);
  return 1;
}

int KvReportNotification(int kind, char* data, int length) {
  return slot<Slot::KvIReportNotification>(kind, data, length);
}

int KvAutoReportNotification(int kind, int on) {
  slot<Slot::KvIAutoReportNotification>(kind, on);
  return 1;
}

int KvNotification(int pid, int kind, char* data, int length) {
  return (*notifications[kind])(pid, kind, data, length);
}
