// Entries of notifications between processes: 1 when a request or a report was made, else 0.
#include <kelvane/registry_entries.h>

#include <new>

#include "impl/registry_service.h"

using impl::registry_service;

namespace {

template <class Body>
int done(Body body) {
  try {
    return body() ? 1 : 0;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

}  // namespace

extern "C" {

int KvIRequestNotification(int pid, int kind, int mode) {
  return done([&] { return registry_service().request_notification(pid, kind, mode != 0); });
}

int KvIReportNotification(int kind, char* data, int size) {
  return done([&] { return registry_service().report_notification(kind, data, size); });
}

int KvIAutoReportNotification(int kind, int on) {
  return done([&] { return registry_service().report_notification_always(kind, on != 0); });
}

}  // extern "C"
