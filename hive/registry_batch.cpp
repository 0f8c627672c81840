// Batches, as the registry's callers know them.
#include "hive/batch.h"
#include "hive/registry.h"
#include "hive/registry_parts.h"
#include "hive/store/back_off.h"

namespace hive {

Status Registry::begin_batch() { return Batch::begin(); }

Status Registry::commit_batch(std::vector<Batch_Result>* out) {
  std::vector<Batch::Ending> endings;
  const Status status = Batch::commit(&endings);
  const std::shared_ptr<Hive> user = parts_->hives.user_if_used();
  const std::shared_ptr<Hive> users = parts_->hives.users_if_used();
  out->clear();
  for (const Batch::Ending& ending : endings) {
    const Root root = ending.hive == user ? Root::current_user : ending.hive == users ? Root::users : Root::machine;
    out->push_back({root, ending.hive->path(), ending.status});
  }
  return status;
}

Status Registry::abandon_batch() { return Batch::abandon(); }

void Registry::set_patience(std::chrono::milliseconds patience) { patience_of_thread() = patience; }

}  // namespace hive
