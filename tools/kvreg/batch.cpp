#include "tools/kvreg/batch.h"

#include <kelvane/optional.h>
#include <winerror.h>

#include "tools/kvreg/failure.h"

namespace kvreg {
namespace {

void note_outcome(void* context, const KvBatchHive* hive) {
  const std::string root = hive->root == HKEY_CURRENT_USER ? "HKCU" : "HKLM";
  const std::string file = *hive->file != '\0' ? " (" + std::string(hive->file) + ")" : "";
  static_cast<std::vector<Hive_Outcome>*>(context)->push_back({root + file, hive->code});
}

[[noreturn]] void tell(const std::vector<Hive_Outcome>& outcomes, DWORD code) {
  std::string text = "the changes were not kept: " + describe_code(code);
  for (const Hive_Outcome& each : outcomes) {
    const bool is_in = each.code == ERROR_SUCCESS;
    text += "\n  " + each.hive + ": " + (is_in ? "all changes are in it" : "unchanged: " + describe_code(each.code));
  }
  throw Complaint(text);
}

}  // namespace

Batch::Batch() {
  const auto code = static_cast<DWORD>(KvBeginBatch());
  if (code == ERROR_CALL_NOT_IMPLEMENTED) {
    throw Complaint(
        "there are no batches in this registry mode, and nothing was changed; --no-batch writes line by line");
  }
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
