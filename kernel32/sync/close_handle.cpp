// CloseHandle.
#include "kernel32/sync/handle_table.h"
#include "kernel32/sync/process_object.h"
#include "kernel32/sync/sync_error.h"

namespace {

// Tokens are numbers behind which nothing is kept open; this one is the process's own.
bool is_process_token(HANDLE handle) { return handle == reinterpret_cast<HANDLE>(INT_PTR{1}); }

}  // namespace

BOOL CloseHandle(HANDLE object) {
  if (kelvane::is_current_process(object) || is_process_token(object)) return TRUE;
  try {
    return kelvane::Handle_Table::of_process().close(object) ? TRUE : kelvane::refuse(ERROR_INVALID_HANDLE);
  } catch (const std::bad_alloc&) {
    return kelvane::refuse(ERROR_NOT_ENOUGH_MEMORY);
  }
}
