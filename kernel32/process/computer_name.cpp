// The host's name as it is: neither cut at a dot nor to the published length of a computer name.
#include <limits.h>
#include <string.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

BOOL GetComputerNameA(LPSTR name, LPDWORD size) {
  if (size == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  char host[HOST_NAME_MAX + 1] = {};
  gethostname(host, sizeof host);
  const auto length = static_cast<DWORD>(strlen(host));
  if (name == nullptr || *size <= length) {
    *size = length + 1;
    SetLastError(ERROR_BUFFER_OVERFLOW);
    return FALSE;
  }
  memcpy(name, host, length + 1);
  *size = length;
  return TRUE;
}
