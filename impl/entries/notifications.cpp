// Entries of notifications. Changes of keys are not watched yet, and reports to other processes have nowhere
// to go: the answer is 0, nothing done.
#include <kelvane/registry_entries.h>
#include <winerror.h>

extern "C" {

DWORD KvIRegNotifyChangeKeyValue(HKEY, BOOL, DWORD, HANDLE, BOOL, void*) { return ERROR_CALL_NOT_IMPLEMENTED; }

int KvIRequestNotification(int, int, int) { return 0; }

int KvIReportNotification(int, char*, int) { return 0; }

int KvIAutoReportNotification(int, int) { return 0; }

}  // extern "C"
