#include "tools/kvreg/batch.h"

#include <kelvane/optional.h>
#include <winerror.h>

#include "tools/kvreg/failure.h"

namespace kvreg {
namespace {

void note_outcome(void* context, const KvBatchHive* hive) {
  const std::string root = hive->root == HKEY_CURRENT_USER ? "HKCU" : hive->root == HKEY_USERS ? "HKU" : "HKLM";
  const std::string file = *hive->file != '\0' ? " (" + std::string(hive->file) + ")" : "";
  static_cast<std::vector<Hive_Outcome>*>(context)->push_back({root + file, hive->code});
}

[[noreturn]] void tell(const std::vector<Hive_Outcome>& outcomes, DWORD code) {
  const bool is_known = code != RPC_S_SERVER_UNAVAILABLE;
  std::string text = is_known ? "the changes were not kept: " + describe_code(code)
                              : "the server went away before it told whether the changes were kept";
  for (const Hive_Outcome& each : outcomes) {
    const bool is_in = each.code == ERROR_SUCCESS;
    text += "\n  " + each.hive + ": " + (is_in ? "all changes are in it" : "unchanged: " + describe_code(each.code));
  }
  throw Complaint(text);
}

}  // namespace

Batch::Batch() {
  const auto code = static_cast<DWORD>(KvBeginBatch());
  if (code != ERROR_SUCCESS) throw Failure{"a batch of changes", "", code};
}

Batch::~Batch() {
  if (is_open_) KvAbandonBatch();
}

std::vector<Hive_Outcome> Batch::commit() {
  std::vector<Hive_Outcome> outcomes;
  const auto code = static_cast<DWORD>(KvCommitBatch(note_outcome, &outcomes));
  is_open_ = false;
  if (code != ERROR_SUCCESS) tell(outcomes, code);
  return outcomes;
}

}  // namespace kvreg
