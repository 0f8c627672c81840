// The ends of a batch, on its thread; without one, on the server's.
#include <winreg.h>

#include <vector>

#include "impl/inproc/status_code.h"
#include "impl/server/core.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

wire::Number handle_of(hive::Root root) {
  const HKEY handle = root == hive::Root::current_user ? HKEY_CURRENT_USER
                      : root == hive::Root::users      ? HKEY_USERS
                                                       : HKEY_LOCAL_MACHINE;
  return static_cast<wire::Number>(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace

DWORD perform(Caller& caller, wire::Begin_Batch::Question&, wire::Begin_Batch::Answer*) {
  return code_of(caller.core.registry().begin_batch());
}

DWORD perform(Caller& caller, wire::Commit_Batch::Question&, wire::Commit_Batch::Answer* out) {
  std::vector<hive::Batch_Result> results;
  const Changes::All all(caller.core.changes());
  const DWORD code = code_of(caller.core.registry().commit_batch(&results));
  for (const hive::Batch_Result& result : results) {
    const auto* const file = reinterpret_cast<const unsigned char*>(result.file.data());
    out->hives.push_back(
        {handle_of(result.root), caller.scratch.copy({file, result.file.size()}), code_of(result.status)});
  }
  return code;
}

DWORD perform(Caller& caller, wire::Abandon_Batch::Question&, wire::Abandon_Batch::Answer*) {
  return code_of(caller.core.registry().abandon_batch());
}

}  // namespace impl::server
