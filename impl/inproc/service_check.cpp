// The service's looks through hives.
#include <kelvane/optional.h>

#include <utility>

#include "impl/inproc/inproc_service.h"

namespace impl {
namespace {

using hive::Fault;

// The kinds of faults are published by their numbers.
static_assert(int(Fault::structure) == KV_FAULT_STRUCTURE && int(Fault::meta) == KV_FAULT_META &&
              int(Fault::number) == KV_FAULT_NUMBER && int(Fault::root) == KV_FAULT_ROOT &&
              int(Fault::parent) == KV_FAULT_PARENT && int(Fault::cycle) == KV_FAULT_CYCLE &&
              int(Fault::depth) == KV_FAULT_DEPTH && int(Fault::volatility) == KV_FAULT_VOLATILITY &&
              int(Fault::counts) == KV_FAULT_COUNTS && int(Fault::maxima) == KV_FAULT_MAXIMA &&
              int(Fault::name) == KV_FAULT_NAME && int(Fault::lost_value) == KV_FAULT_LOST_VALUE &&
              int(Fault::data) == KV_FAULT_DATA && int(Fault::unused_large) == KV_FAULT_UNUSED_DATA);

void report(std::vector<hive::Found_Fault>& faults, const hive::Hive_Counts& counts, Hive_Report* out) {
  *out = {counts.keys, counts.volatile_keys, counts.values, counts.data_size, {}};
  for (hive::Found_Fault& fault : faults) {
    out->faults.push_back(
        {static_cast<int>(fault.fault), std::move(fault.path), std::move(fault.value), std::move(fault.text)});
  }
}

}  // namespace

DWORD Inproc_Service::check_key(HKEY key, Hive_Report* out_report) {
  return with_key(key, KEY_QUERY_VALUE, [&](const hive::Key& at, DWORD) {
    std::vector<hive::Found_Fault> faults;
    hive::Hive_Counts counts;
    const hive::Status status = registry_.check(at, &faults, &counts);
    report(faults, counts, out_report);
    return status;
  });
}

DWORD Inproc_Service::check_file(const char* file, Hive_Report* out_report) {
  std::vector<hive::Found_Fault> faults;
  hive::Hive_Counts counts;
  const hive::Status status = registry_.check_file(file, &faults, &counts);
  report(faults, counts, out_report);
  return code_of(status);
}

}  // namespace impl
