// Keys saved, flushed and watched as a whole, and the operations on hive files that are not provided here.

#include <kelvane/advapi32.h>
#include <kelvane/report.h>
#include <kelvane/text.h>

#include "bootstrap/registry_table.h"
#include "registry/gate.h"
#include "registry/wide_buffers.h"
#include "registry/win_char.h"

LSTATUS RegSaveKeyA(HKEY key, LPCSTR file, LPSECURITY_ATTRIBUTES security) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(file);
    return static_cast<LSTATUS>(slot<Slot::KvIRegSaveKey>(key, name.data(), security, nullptr));
  });
}

LSTATUS RegSaveKeyW(HKEY key, LPCWSTR file, LPSECURITY_ATTRIBUTES security) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString name(file, -1);
    return static_cast<LSTATUS>(slot<Slot::KvIRegSaveKey>(key, name.data, security, nullptr));
  });
}

LSTATUS RegFlushKey(HKEY key) {
  return gated(key,
               [=]() KV_IN_FRONT -> LSTATUS { return static_cast<LSTATUS>(slot<Slot::KvIRegFlushKey>(key, nullptr)); });
}

LSTATUS RegNotifyChangeKeyValue(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    return static_cast<LSTATUS>(
        slot<Slot::KvIRegNotifyChangeKeyValue>(key, subtree, filter, event, asynchronous, nullptr));
  });
}

// No gate: answers also when the registry is closed.
LSTATUS RegLoadKeyA(HKEY key, LPCSTR, LPCSTR) {
  return traced(key, [=]() KV_IN_FRONT -> LSTATUS {
    KvNotYetImplemented("RegLoadKeyA");
    return ERROR_SUCCESS;
  });
}

// QUIRK load-key-ansi-name: the wide form goes through the ANSI form, whose name is reported.
LSTATUS RegLoadKeyW(HKEY key, LPCWSTR sub_key, LPCWSTR file) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    const KvAnsiString name(sub_key, -1);
    const KvAnsiString file_name(file, -1);
    return RegLoadKeyA(key, name, file_name);
  });
}

LSTATUS RegUnLoadKeyA(HKEY key, LPCSTR) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    KvNotYetImplemented("RegUnLoadKeyA");
    return ERROR_SUCCESS;
  });
}

LSTATUS RegUnLoadKeyW(HKEY key, LPCWSTR) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    KvNotYetImplemented("RegUnLoadKeyW");
    return ERROR_SUCCESS;
  });
}

// QUIRK restore-key-silent: the ANSI form reports nothing.
LSTATUS RegRestoreKeyA(HKEY key, LPCSTR, DWORD) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS { return ERROR_SUCCESS; });
}

LSTATUS RegRestoreKeyW(HKEY key, LPCWSTR, DWORD) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    KvNotYetImplemented("RegRestoreKeyW");
    return ERROR_SUCCESS;
  });
}

LSTATUS RegReplaceKeyA(HKEY key, LPCSTR, LPCSTR, LPCSTR) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    // QUIRK replace-key-wide-name: the ANSI form reports the wide form's name.
    KvNotYetImplemented("RegReplaceKeyW");
    return ERROR_SUCCESS;
  });
}

LSTATUS RegReplaceKeyW(HKEY key, LPCWSTR, LPCWSTR, LPCWSTR) {
  return gated(key, [=]() KV_IN_FRONT -> LSTATUS {
    KvNotYetImplemented("RegReplaceKeyW");
    return ERROR_SUCCESS;
  });
}
