// The slot of each thread.
#include <kelvane/impersonation.h>

namespace {

thread_local DWORD slot = 0;

}  // namespace

DWORD KvTTGetUid() { return slot; }

BOOL KvTTSetUid(DWORD uid_plus_one) {
  slot = uid_plus_one;
  return TRUE;
}
