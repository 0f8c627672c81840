// Every gated front as one row: a call whose arguments are good, and the same call with pointers that
// fault when they are followed.
#ifndef KELVANE_TESTS_REGISTRY_FRONT_CALLS_H
#define KELVANE_TESTS_REGISTRY_FRONT_CALLS_H

#include <ostream>
#include <string>

#include "tests/registry/fronts.h"

namespace kvtest {

struct Front_Call {
  const char* name;
  const char* entry;  // the first one that the good call reaches; null for a front that calls none
  LSTATUS (*good)();
  LSTATUS (*unreadable)();
};

inline void PrintTo(const Front_Call& front, std::ostream* out) { *out << front.name; }

inline std::string front_name(const testing::TestParamInfo<Front_Call>& info) { return info.param.name; }

// Variables that good calls point at.
struct Front_Outputs {
  HKEY key = nullptr;
  DWORD size = 16;
  DWORD second_size = 16;
  LONG long_size = 16;
  DWORD type = 0;
  char text[16] = "###############";
  char second_text[16] = "###############";
  char value_name[2] = "v";
  VALENTA entry = {value_name, 0, 0, 0};
  wchar_t wide_text[16] = L"###############";
  wchar_t second_wide_text[16] = L"###############";
  wchar_t wide_value_name[2] = L"v";
  VALENTW wide_entry = {wide_value_name, 0, 0, 0};
  BYTE* bytes() { return reinterpret_cast<BYTE*>(text); }
  BYTE* wide_bytes() { return reinterpret_cast<BYTE*>(wide_text); }
};

// A pointer to nothing readable that converts to any pointer type.
struct Bad {
  template <class T>
  operator T*() const {
    return kvtest::unreadable<T>(0x10);
  }
};

inline const Front_Call front_calls[] = {
    {"RegCreateKeyExA", "KvIRegCreateKeyEx",
     [] {
       Front_Outputs o;
       return RegCreateKeyExA(HKEY_USERS, "s", 0, o.text, 0, 0, nullptr, &o.key, &o.type);
     },
     [] { return RegCreateKeyExA(Bad(), Bad(), 0, Bad(), 0, 0, Bad(), Bad(), Bad()); }},
    {"RegCreateKeyA", "KvIRegCreateKeyEx",
     [] {
       Front_Outputs o;
       return RegCreateKeyA(HKEY_USERS, "s", &o.key);
     },
     [] { return RegCreateKeyA(Bad(), Bad(), Bad()); }},
    {"RegDeleteKeyA", "KvIRegDeleteKey", [] { return RegDeleteKeyA(HKEY_USERS, "s"); },
     [] { return RegDeleteKeyA(Bad(), Bad()); }},
    {"RegDeleteValueA", "KvIRegDeleteValue", [] { return RegDeleteValueA(HKEY_USERS, "v"); },
     [] { return RegDeleteValueA(Bad(), Bad()); }},
    {"RegOpenKeyExA", "KvIRegOpenKeyEx",
     [] {
       Front_Outputs o;
       return RegOpenKeyExA(HKEY_USERS, "s", 0, 0, &o.key);
     },
     [] { return RegOpenKeyExA(Bad(), Bad(), 0, 0, Bad()); }},
    {"RegOpenKeyA", "KvIRegOpenKeyEx",
     [] {
       Front_Outputs o;
       return RegOpenKeyA(HKEY_USERS, "s", &o.key);
     },
     [] { return RegOpenKeyA(Bad(), Bad(), Bad()); }},
    {"RegCloseKey", "KvIRegCloseKey", [] { return RegCloseKey(HKEY_USERS); }, [] { return RegCloseKey(Bad()); }},
    {"RegSetValueExA", "KvIRegSetValueEx",
     [] {
       Front_Outputs o;
       return RegSetValueExA(HKEY_USERS, "v", 0, REG_SZ, o.bytes(), 4);
     },
     [] { return RegSetValueExA(Bad(), Bad(), 0, REG_SZ, Bad(), 4); }},
    {"RegSetValueA", "KvIRegCreateKeyEx", [] { return RegSetValueA(HKEY_USERS, "s", REG_SZ, "text", 0); },
     [] { return RegSetValueA(Bad(), Bad(), REG_SZ, Bad(), 0); }},
    {"RegGetKeySecurity", nullptr,
     [] {
       Front_Outputs o;
       return RegGetKeySecurity(HKEY_USERS, 0, nullptr, &o.size);
     },
     [] { return RegGetKeySecurity(Bad(), 0, Bad(), Bad()); }},
    {"RegSaveKeyA", "KvIRegSaveKey", [] { return RegSaveKeyA(HKEY_USERS, "f", nullptr); },
     [] { return RegSaveKeyA(Bad(), Bad(), Bad()); }},
    {"RegNotifyChangeKeyValue", "KvIRegNotifyChangeKeyValue",
     [] { return RegNotifyChangeKeyValue(HKEY_USERS, 0, 1, nullptr, 0); },
     [] { return RegNotifyChangeKeyValue(Bad(), 0, 1, Bad(), 0); }},
    {"RegFlushKey", "KvIRegFlushKey", [] { return RegFlushKey(HKEY_USERS); }, [] { return RegFlushKey(Bad()); }},
    {"RegConnectRegistryA", "KvIRegConnectRegistry",
     [] {
       Front_Outputs o;
       return RegConnectRegistryA("m", HKEY_USERS, &o.key);
     },
     [] { return RegConnectRegistryA(Bad(), Bad(), Bad()); }},
    {"RegRestoreKeyA", nullptr, [] { return RegRestoreKeyA(HKEY_USERS, "f", 0); },
     [] { return RegRestoreKeyA(Bad(), Bad(), 0); }},
    {"RegReplaceKeyA", nullptr, [] { return RegReplaceKeyA(HKEY_USERS, "s", "n", "o"); },
     [] { return RegReplaceKeyA(Bad(), Bad(), Bad(), Bad()); }},
    {"RegUnLoadKeyA", nullptr, [] { return RegUnLoadKeyA(HKEY_USERS, "s"); },
     [] { return RegUnLoadKeyA(Bad(), Bad()); }},
    {"RegQueryValueExA", "KvIRegQueryValueEx",
     [] {
       Front_Outputs o;
       return RegQueryValueExA(HKEY_USERS, "v", nullptr, &o.type, o.bytes(), &o.size);
     },
     [] { return RegQueryValueExA(Bad(), Bad(), Bad(), Bad(), Bad(), Bad()); }},
    {"RegQueryMultipleValuesA", "KvIRegQueryValueEx",
     [] {
       Front_Outputs o;
       return RegQueryMultipleValuesA(HKEY_USERS, &o.entry, 1, o.text, &o.size);
     },
     [] { return RegQueryMultipleValuesA(Bad(), Bad(), 1, Bad(), Bad()); }},
    {"RegQueryValueA", "KvIRegOpenKeyEx",
     [] {
       Front_Outputs o;
       return RegQueryValueA(HKEY_USERS, "s", o.text, &o.long_size);
     },
     [] { return RegQueryValueA(Bad(), Bad(), Bad(), Bad()); }},
    {"RegQueryInfoKeyA", "KvIRegQueryInfoKey",
     [] {
       Front_Outputs o;
       return RegQueryInfoKeyA(HKEY_USERS, o.text, &o.size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr);
     },
     [] {
       return RegQueryInfoKeyA(Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad());
     }},
    {"RegEnumValueA", "KvIRegEnumValue",
     [] {
       Front_Outputs o;
       return RegEnumValueA(HKEY_USERS, 0, o.text, &o.size, nullptr, &o.type, reinterpret_cast<BYTE*>(o.second_text),
                            &o.second_size);
     },
     [] { return RegEnumValueA(Bad(), 0, Bad(), Bad(), Bad(), Bad(), Bad(), Bad()); }},
    {"RegEnumKeyExA", "KvIRegEnumKeyEx",
     [] {
       Front_Outputs o;
       return RegEnumKeyExA(HKEY_USERS, 0, o.text, &o.size, nullptr, o.second_text, &o.second_size, nullptr);
     },
     [] { return RegEnumKeyExA(Bad(), 0, Bad(), Bad(), Bad(), Bad(), Bad(), Bad()); }},
    {"RegEnumKeyA", "KvIRegEnumKeyEx",
     [] {
       Front_Outputs o;
       return RegEnumKeyA(HKEY_USERS, 0, o.text, 16);
     },
     [] { return RegEnumKeyA(Bad(), 0, Bad(), 16); }},
    {"RegCreateKeyExW", "KvIRegCreateKeyEx",
     [] {
       Front_Outputs o;
       return RegCreateKeyExW(HKEY_USERS, L"s", 0, o.wide_text, 0, 0, nullptr, &o.key, &o.type);
     },
     [] { return RegCreateKeyExW(Bad(), Bad(), 0, Bad(), 0, 0, Bad(), Bad(), Bad()); }},
    {"RegCreateKeyW", "KvIRegCreateKeyEx",
     [] {
       Front_Outputs o;
       return RegCreateKeyW(HKEY_USERS, L"s", &o.key);
     },
     [] { return RegCreateKeyW(Bad(), Bad(), Bad()); }},
    {"RegDeleteKeyW", "KvIRegDeleteKey", [] { return RegDeleteKeyW(HKEY_USERS, L"s"); },
     [] { return RegDeleteKeyW(Bad(), Bad()); }},
    {"RegDeleteValueW", "KvIRegDeleteValue", [] { return RegDeleteValueW(HKEY_USERS, L"v"); },
     [] { return RegDeleteValueW(Bad(), Bad()); }},
    {"RegOpenKeyExW", "KvIRegOpenKeyEx",
     [] {
       Front_Outputs o;
       return RegOpenKeyExW(HKEY_USERS, L"s", 0, 0, &o.key);
     },
     [] { return RegOpenKeyExW(Bad(), Bad(), 0, 0, Bad()); }},
    {"RegOpenKeyW", "KvIRegOpenKeyEx",
     [] {
       Front_Outputs o;
       return RegOpenKeyW(HKEY_USERS, L"s", &o.key);
     },
     [] { return RegOpenKeyW(Bad(), Bad(), Bad()); }},
    {"RegSetValueExW", "KvIRegSetValueEx",
     [] {
       Front_Outputs o;
       return RegSetValueExW(HKEY_USERS, L"v", 0, REG_SZ, o.wide_bytes(), 8);
     },
     [] { return RegSetValueExW(Bad(), Bad(), 0, REG_SZ, Bad(), 8); }},
    {"RegSetValueW", "KvIRegCreateKeyEx", [] { return RegSetValueW(HKEY_USERS, L"s", REG_SZ, L"text", 0); },
     [] { return RegSetValueW(Bad(), Bad(), REG_SZ, Bad(), 0); }},
    {"RegLoadKeyW", nullptr, [] { return RegLoadKeyW(HKEY_USERS, L"s", L"f"); },
     [] { return RegLoadKeyW(Bad(), Bad(), Bad()); }},
    {"RegSaveKeyW", "KvIRegSaveKey", [] { return RegSaveKeyW(HKEY_USERS, L"f", nullptr); },
     [] { return RegSaveKeyW(Bad(), Bad(), Bad()); }},
    {"RegConnectRegistryW", "KvIRegConnectRegistry",
     [] {
       Front_Outputs o;
       return RegConnectRegistryW(L"m", HKEY_USERS, &o.key);
     },
     [] { return RegConnectRegistryW(Bad(), Bad(), Bad()); }},
    {"RegRestoreKeyW", nullptr, [] { return RegRestoreKeyW(HKEY_USERS, L"f", 0); },
     [] { return RegRestoreKeyW(Bad(), Bad(), 0); }},
    {"RegReplaceKeyW", nullptr, [] { return RegReplaceKeyW(HKEY_USERS, L"s", L"n", L"o"); },
     [] { return RegReplaceKeyW(Bad(), Bad(), Bad(), Bad()); }},
    {"RegUnLoadKeyW", nullptr, [] { return RegUnLoadKeyW(HKEY_USERS, L"s"); },
     [] { return RegUnLoadKeyW(Bad(), Bad()); }},
    {"RegQueryValueExW", "KvIRegQueryValueEx",
     [] {
       Front_Outputs o;
       return RegQueryValueExW(HKEY_USERS, L"v", nullptr, &o.type, o.wide_bytes(), &o.size);
     },
     [] { return RegQueryValueExW(Bad(), Bad(), Bad(), Bad(), Bad(), Bad()); }},
    {"RegQueryMultipleValuesW", "KvIRegQueryValueEx",
     [] {
       Front_Outputs o;
       return RegQueryMultipleValuesW(HKEY_USERS, &o.wide_entry, 1, o.wide_text, &o.size);
     },
     [] { return RegQueryMultipleValuesW(Bad(), Bad(), 1, Bad(), Bad()); }},
    {"RegQueryValueW", "KvIRegOpenKeyEx",
     [] {
       Front_Outputs o;
       return RegQueryValueW(HKEY_USERS, L"s", o.wide_text, &o.long_size);
     },
     [] { return RegQueryValueW(Bad(), Bad(), Bad(), Bad()); }},
    {"RegQueryInfoKeyW", "KvIRegQueryInfoKey",
     [] {
       Front_Outputs o;
       return RegQueryInfoKeyW(HKEY_USERS, o.wide_text, &o.size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr);
     },
     [] {
       return RegQueryInfoKeyW(Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad(), Bad());
     }},
    {"RegEnumValueW", "KvIRegEnumValue",
     [] {
       Front_Outputs o;
       return RegEnumValueW(HKEY_USERS, 0, o.wide_text, &o.size, nullptr, &o.type,
                            reinterpret_cast<BYTE*>(o.second_wide_text), &o.second_size);
     },
     [] { return RegEnumValueW(Bad(), 0, Bad(), Bad(), Bad(), Bad(), Bad(), Bad()); }},
    {"RegEnumKeyExW", "KvIRegEnumKeyEx",
     [] {
       Front_Outputs o;
       return RegEnumKeyExW(HKEY_USERS, 0, o.wide_text, &o.size, nullptr, o.second_wide_text, &o.second_size, nullptr);
     },
     [] { return RegEnumKeyExW(Bad(), 0, Bad(), Bad(), Bad(), Bad(), Bad(), Bad()); }},
    {"RegEnumKeyW", "KvIRegEnumKeyEx",
     [] {
       Front_Outputs o;
       return RegEnumKeyW(HKEY_USERS, 0, o.wide_text, 16);
     },
     [] { return RegEnumKeyW(Bad(), 0, Bad(), 16); }},
};

// The rows whose good call reaches an entry.
inline std::vector<Front_Call> forwarding_calls() {
  std::vector<Front_Call> rows;
  for (const Front_Call& front : front_calls) {
    if (front.entry != nullptr) rows.push_back(front);
  }
  return rows;
}

}  // namespace kvtest

#endif
