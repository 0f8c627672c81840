// Opening processes.
#include "kernel32/sync/process_object.h"

#include <errno.h>
#include <kelvane/process.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "kernel32/sync/sync_error.h"

namespace {

constexpr DWORD no_process = 0xFFFFFFFF;

DWORD mapped_access(DWORD access) {
  constexpr DWORD generic = GENERIC_READ | GENERIC_WRITE | GENERIC_EXECUTE | GENERIC_ALL | MAXIMUM_ALLOWED;
  DWORD mapped = access & ~generic;
  if ((access & GENERIC_EXECUTE) != 0) mapped |= STANDARD_RIGHTS_EXECUTE | SYNCHRONIZE;
  if ((access & (GENERIC_ALL | MAXIMUM_ALLOWED)) != 0) mapped |= PROCESS_ALL_ACCESS;
  return mapped;
}

// A number that no process has, or only a thread.
bool is_unknown(int error) { return error == ESRCH || error == EINVAL || error == ENOENT; }

HANDLE open_process(pid_t pid, DWORD access) {
  kelvane::Own_Descriptor pidfd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  if (pidfd.get() < 0) {
    SetLastError(is_unknown(errno) ? ERROR_INVALID_PARAMETER : kelvane::code_of_errno(errno));
    return nullptr;
  }
  auto process = std::make_unique<kelvane::Process_Object>(std::move(pidfd), pid);
  const HANDLE handle = kelvane::Handle_Table::of_process().add(std::move(process), mapped_access(access));
  if (handle == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return handle;
}

}  // namespace

HANDLE OpenProcess(DWORD access, BOOL, DWORD process_id) {
  return kelvane::handle_from([&] { return open_process(static_cast<pid_t>(process_id), access); });
}

DWORD KvGetPidFromProcHandle(HANDLE process, int) {
  if (kelvane::is_current_process(process)) return static_cast<DWORD>(getpid());
  const kelvane::Handle_Table::Pin pin = kelvane::Handle_Table::of_process().find(process);
  if (!pin || pin->kind() != kelvane::Object_Kind::process) return no_process;
  return static_cast<DWORD>(static_cast<const kelvane::Process_Object*>(pin.get())->pid());
}
