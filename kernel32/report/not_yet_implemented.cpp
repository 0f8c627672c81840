// KvNotYetImplemented: silent unless KVTRACE_STUBS is true.
#include <kelvane/process.h>
#include <kelvane/report.h>

void KvNotYetImplemented(const char* name) {
  if (KvEnvTrue("KVTRACE_STUBS") == 0) return;
  KvConsoleMessage("Not yet implemented: %s\n", name != nullptr ? name : "(null)");
}
