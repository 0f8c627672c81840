/*
 * The entries that every implementation library exports, declared from the list of slots. For the
 * implementation libraries themselves; libadvapi32 reaches them through KvIRegFunctions only.
 */
#ifndef KELVANE_REGISTRY_ENTRIES_H
#define KELVANE_REGISTRY_ENTRIES_H

#include "registry_table.h"

KV_BEGIN_C

#define KV_SLOT(number, name, result, parameters, arguments) KV_EXPORT result name parameters;
#include "registry_slots.def"
#undef KV_SLOT

KV_END_C

#endif
