// Entries for batches: the changes of one thread as one transaction of each hive that they touch.
#include <vector>

#include "impl/entries/answer.h"
#include "impl/entries/optional_entries.h"
#include "impl/registry_service.h"

using impl::answer;
using impl::registry_service;

extern "C" {

DWORD KvIRegBeginBatch(void*) {
  return answer([] { return registry_service().begin_batch(); });
}

DWORD KvIRegCommitBatch(KvBatchHiveCallback callback, void* context, void*) {
  return answer([&] {
    std::vector<impl::Batch_Hive> hives;
    const DWORD code = registry_service().commit_batch(&hives);
    for (const impl::Batch_Hive& hive : hives) {
      const KvBatchHive told{hive.root, hive.file.c_str(), hive.code};
      if (callback != nullptr) callback(context, &told);
    }
    return code;
  });
}

DWORD KvIRegAbandonBatch(void*) {
  return answer([] { return registry_service().abandon_batch(); });
}

}  // extern "C"
