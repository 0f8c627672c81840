// The implementation table, unbound. Its rows and their order come from the list of slots.

#include "bootstrap/registry_table.h"

#define KV_SLOT(number, name, result, parameters, arguments) {#name, nullptr},
KvIRegFunction KvIRegFunctions[KV_SLOT_COUNT + 1] = {
#include <kelvane/registry_slots.def>
    {"LastFunc", nullptr},
};
#undef KV_SLOT

#define KV_SLOT(number, name, result, parameters, arguments) +1
static_assert(0
#include <kelvane/registry_slots.def>
                  == KV_SLOT_COUNT,
              "the list has a row for every slot");
#undef KV_SLOT
