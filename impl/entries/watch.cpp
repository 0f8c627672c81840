// The entry that watches keys.
#include <kelvane/registry_entries.h>
#include <winerror.h>
#include <winnt.h>

#include "impl/entries/answer.h"
#include "impl/registry_service.h"

namespace {

// Watches belong to handles, never to threads: being independent of the calling one needs nothing.
constexpr DWORD known_filter = REG_LEGAL_CHANGE_FILTER | REG_NOTIFY_THREAD_AGNOSTIC;

}  // namespace

extern "C" {

DWORD KvIRegNotifyChangeKeyValue(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous, void*) {
  const DWORD ways = filter & REG_LEGAL_CHANGE_FILTER;
  if (ways == 0 || (filter & ~known_filter) != 0) return ERROR_INVALID_PARAMETER;
  if (asynchronous && event == nullptr) return ERROR_INVALID_PARAMETER;
  return impl::answer(
      [&] { return impl::registry_service().watch_key(key, subtree != FALSE, ways, asynchronous ? event : nullptr); });
}

}  // extern "C"
