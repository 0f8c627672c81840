// Entries of notifications: of changes of keys, and of requests and reports between processes, which answer 1 when
// they were made, else 0.
#include <kelvane/registry_entries.h>
#include <winerror.h>
#include <winnt.h>

#include <new>

#include "impl/entries/answer.h"
#include "impl/registry_service.h"

using impl::registry_service;

namespace {

// Watches belong to handles, never to threads: being independent of the calling one needs nothing.
constexpr DWORD known_filter = REG_LEGAL_CHANGE_FILTER | REG_NOTIFY_THREAD_AGNOSTIC;

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

DWORD KvIRegNotifyChangeKeyValue(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous, void*) {
  const DWORD ways = filter & REG_LEGAL_CHANGE_FILTER;
  if (ways == 0 || (filter & ~known_filter) != 0) return ERROR_INVALID_PARAMETER;
  if (asynchronous && event == nullptr) return ERROR_INVALID_PARAMETER;
  return impl::answer(
      [&] { return impl::registry_service().watch_key(key, subtree != FALSE, ways, asynchronous ? event : nullptr); });
}

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
