// Entries that look hives through.
#include <string>
#include <string_view>

#include "impl/entries/answer.h"
#include "impl/entries/optional_entries.h"
#include "impl/registry_service.h"

namespace {

using impl::answer;
using impl::registry_service;

std::wstring wide(std::u16string_view units) { return {units.begin(), units.end()}; }

bool tell(const impl::Hive_Fault& fault, KvHiveFaultCallback callback, void* context) {
  const std::wstring key = wide(fault.key.value_or(std::u16string()));
  const std::wstring value = wide(fault.value.value_or(std::u16string()));
  const KvHiveFault told{static_cast<KvFaultKind>(fault.kind), fault.key ? key.c_str() : nullptr,
                         fault.value ? value.c_str() : nullptr, fault.text.c_str()};
  return callback(context, &told) != FALSE;
}

void report(const impl::Hive_Report& report, KvHiveCounts* out_counts, KvHiveFaultCallback callback, void* context) {
  if (out_counts != nullptr) {
    *out_counts = {report.keys, report.volatile_keys, report.values, report.data_size, report.faults.size()};
  }
  if (callback == nullptr) return;
  for (const impl::Hive_Fault& fault : report.faults) {
    if (!tell(fault, callback, context)) return;
  }
}

}  // namespace

extern "C" {

// Faults are told whatever the answer is: those of the structure come with ERROR_BADDB.
DWORD KvIRegCheck(HKEY key, KvHiveCounts* out_counts, KvHiveFaultCallback callback, void* context, void*) {
  return answer([&] {
    impl::Hive_Report found;
    const DWORD code = registry_service().check_key(key, &found);
    report(found, out_counts, callback, context);
    return code;
  });
}

DWORD KvIRegCheckFile(const char* file, KvHiveCounts* out_counts, KvHiveFaultCallback callback, void* context, void*) {
  if (file == nullptr || *file == '\0') return ERROR_INVALID_PARAMETER;
  return answer([&] {
    impl::Hive_Report found;
    const DWORD code = registry_service().check_file(file, &found);
    report(found, out_counts, callback, context);
    return code;
  });
}

}  // extern "C"
