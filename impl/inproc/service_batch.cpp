// The service's batches.
#include <winreg.h>

#include "impl/inproc/inproc_service.h"

namespace impl {

DWORD Inproc_Service::begin_batch() { return code_of(registry_.begin_batch()); }

DWORD Inproc_Service::commit_batch(std::vector<Batch_Hive>* out_hives) {
  std::vector<hive::Batch_Result> results;
  const DWORD code = code_of(registry_.commit_batch(&results));
  for (const hive::Batch_Result& result : results) {
    const bool is_user = result.root == hive::Root::current_user;
    out_hives->push_back({is_user ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE, result.file, code_of(result.status)});
  }
  return code;
}

DWORD Inproc_Service::abandon_batch() { return code_of(registry_.abandon_batch()); }

}  // namespace impl
