// Administration of one key and of the registry as a whole: each a call of its slot.

#include <kelvane/advapi32.h>
#include <kelvane/registry_admin.h>

#include "bootstrap/registry_table.h"
#include "registry/gate.h"
#include "registry/win_char.h"

LSTATUS RegUxChmod(HKEY key, const char* sub_key, unsigned mode) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return static_cast<LSTATUS>(slot<Slot::KvIRegUxChmod>(key, name.data(), mode, nullptr));
  });
}

LSTATUS RegUxChown(HKEY key, const char* sub_key, unsigned owner) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return static_cast<LSTATUS>(slot<Slot::KvIRegUxChown>(key, name.data(), owner, nullptr));
  });
}

LSTATUS RegUxChgrp(HKEY key, const char* sub_key, unsigned group) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return static_cast<LSTATUS>(slot<Slot::KvIRegUxChgrp>(key, name.data(), group, nullptr));
  });
}

LSTATUS RegShutDown(void) {
  return gated(nullptr, [=]() KV_IN_FRONT -> LSTATUS { return static_cast<LSTATUS>(slot<Slot::KvIRegShutDown>()); });
}

LSTATUS RegGetHKCU(unsigned char* buffer, unsigned* size) {
  return gated(nullptr, [=]() KV_IN_FRONT -> LSTATUS {
    return static_cast<LSTATUS>(slot<Slot::KvIRegGetHKCU>(buffer, size, nullptr));
  });
}

// No gate from here on: these answer also when the registry is closed.

LSTATUS RegUxDescribeKey(HKEY key, const char* sub_key, void* a, void* b, void* c) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return static_cast<LSTATUS>(slot<Slot::KvIRegUxDescribeKey>(key, name.data(), a, b, c, nullptr));
  });
}

LSTATUS RegListConnected(RegistryConnection* list, unsigned* count) {
  return traced(nullptr, [=]() KV_IN_FRONT -> LSTATUS {
    return static_cast<LSTATUS>(slot<Slot::KvIRegListConnected>(list, count, nullptr));
  });
}

INT_PTR RegBackup(const char* path, void* second) {
  return traced(nullptr, [=]() KV_IN_FRONT -> INT_PTR { return slot<Slot::KvIRegBackup>(path, second); });
}

INT_PTR RegUxGetLogSettings(void* a, void* b, void* c, void* d, void* e, void* f) {
  return traced(nullptr, [=]() KV_IN_FRONT -> INT_PTR { return slot<Slot::KvIRegUxGetLogSettings>(a, b, c, d, e, f); });
}

INT_PTR KvSetServiceData(void* a, void* b, void* c, void* d, void* e, void* f) {
  return traced(nullptr, [=]() KV_IN_FRONT -> INT_PTR { return slot<Slot::KvISetServiceData>(a, b, c, d, e, f); });
}

INT_PTR KvGetServiceData(void* a, void* b, void* c, void* d, void* e, void* f) {
  return traced(nullptr, [=]() KV_IN_FRONT -> INT_PTR { return slot<Slot::KvIGetServiceData>(a, b, c, d, e, f); });
}
