// Entry points that only tell the call log that they were called. Without a log they are silent.

#include <kelvane/stream.h>
#include <kelvane/truth.h>
#include <process.h>
#include <winbase.h>

#include "bootstrap/call_log.h"

inline namespace kelvane {
namespace {

void log_call(const char* name) {
  if (Log_Call != nullptr) *Log_Call << "Called " << name << kvendl;
}

}  // namespace
}  // namespace kelvane

BOOL DeregisterEventSource(HANDLE) {
  log_call("DeregisterEventSource");
  return FALSE;
}

BOOL _CRT_INIT(HINSTANCE, DWORD, LPVOID) {
  log_call("_CRT_INIT");
  return True;
}

void _cexit(void) { log_call("_cexit"); }
