// The entries beside those of the table, which libadvapi32 does not bind; who wants them looks them up by name. Their
// manual is kelvane/optional.h.
#pragma once

#include <kelvane/optional.h>

#define KV_OPTIONAL_ENTRY extern "C" KV_EXPORT DWORD

KV_OPTIONAL_ENTRY KvIRegBeginBatch(void* null);
KV_OPTIONAL_ENTRY KvIRegCommitBatch(KvBatchHiveCallback callback, void* context, void* null);
KV_OPTIONAL_ENTRY KvIRegAbandonBatch(void* null);
KV_OPTIONAL_ENTRY KvIRegUnLoadKey(HKEY key, const WinChar* sub_key, void* null);
KV_OPTIONAL_ENTRY KvIRegRenameKey(HKEY key, const WinChar* sub_key, const WinChar* new_name, void* null);
KV_OPTIONAL_ENTRY KvIRegCheck(HKEY key, KvHiveCounts* out_counts, KvHiveFaultCallback callback, void* context,
                              void* null);
KV_OPTIONAL_ENTRY KvIRegCheckFile(const char* file, KvHiveCounts* out_counts, KvHiveFaultCallback callback,
                                  void* context, void* null);
