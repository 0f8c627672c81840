// KvStub and its categories: silent unless KVTRACE_STUBS is true.
#include <kelvane/process.h>
#include <kelvane/report.h>

namespace {

const char* shown(const char* text) { return text != nullptr ? text : "(null)"; }

}  // namespace

const KvStubCategory AdvSecurity = {"security"};
const KvStubCategory AdvServices = {"services"};
const KvStubCategory KvTrImageHdr = {"image help"};

int KvStub(int level, const KvStubCategory* category, const char* text) {
  if (KvEnvTrue("KVTRACE_STUBS") == 0) return 0;
  const char* area = category != nullptr ? category->name : nullptr;
  KvConsoleMessage("Not implemented (%s, level %d): %s\n", shown(area), level, shown(text));
  return 0;
}
