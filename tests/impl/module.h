// The implementation library as libadvapi32 loads it, over hives of this test program alone, and short forms
// of its entries for tests.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kelvane/registry_entries.h>
#include <stdlib.h>
#include <winerror.h>
#include <winreg.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kvtest {

// The entries, bound by name.
struct Entries {
#define KV_SLOT(number, name, result, parameters, arguments) decltype(&::name) name;
#include <kelvane/registry_slots.def>
#undef KV_SLOT
};

// Tells the library where its hives lie: in the folder. Works until the first use of a hive in the process.
inline void put_hives_into(const std::string& folder) {
  setenv("KVREGISTRY", (folder + "/hklm.hive:" + folder + "/hkcu.bin").c_str(), 1);
  setenv("KVCORE_PRIVATE_DATA", (folder + "/core").c_str(), 1);
}

inline void* load_module() {
  void* module = dlopen(KV_IMPL_FILE, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) {
    fprintf(stderr, "%s\n", dlerror());
    abort();
  }
  return module;
}

inline Entries bind_entries(void* module) {
  Entries bound{};
#define KV_SLOT(number, name, result, parameters, arguments) \
  bound.name = reinterpret_cast<decltype(&::name)>(dlsym(module, #name));
#include <kelvane/registry_slots.def>
#undef KV_SLOT
  return bound;
}

// The library of this process, loaded at the first call with its hives in the temporary directory.
inline const Entries& entries() {
  static const Entries bound = [] {
    if (getenv("KVREGISTRY") == nullptr) put_hives_into(std::filesystem::temp_directory_path());
    const Entries fresh = bind_entries(load_module());
    fresh.KvIOnLoadDll();
    return fresh;
  }();
  return bound;
}

inline std::vector<WinChar> win(std::u16string_view text) {
  std::vector<WinChar> result;
  for (char16_t unit : text) result.push_back({static_cast<BYTE>(unit >> 8), static_cast<BYTE>(unit)});
  result.push_back({0, 0});
  return result;
}

inline std::u16string units(const WinChar* text, DWORD count) {
  std::u16string result;
  for (DWORD i = 0; i < count; ++i) result.push_back(static_cast<char16_t>(text[i].high << 8 | text[i].low));
  return result;
}

// The stored form of a text with its terminator.
inline std::string stored(std::u16string_view text) {
  const std::vector<WinChar> characters = win(text);
  return {reinterpret_cast<const char*>(characters.data()), 2 * characters.size()};
}

inline DWORD open_key(HKEY at, std::u16string_view path, HKEY* out_key, DWORD access = KEY_ALL_ACCESS) {
  return entries().KvIRegOpenKeyEx(at, win(path).data(), 0, access, out_key, nullptr);
}

inline DWORD create_key(HKEY at, std::u16string_view path, HKEY* out_key, DWORD access = KEY_ALL_ACCESS,
                        DWORD options = 0, DWORD* out_disposition = nullptr) {
  return entries().KvIRegCreateKeyEx(at, win(path).data(), 0, nullptr, options, access, nullptr, out_key,
                                     out_disposition, 0, nullptr);
}

inline DWORD close_key(HKEY key) { return entries().KvIRegCloseKey(key, nullptr); }

inline DWORD delete_key(HKEY at, std::u16string_view path) {
  return entries().KvIRegDeleteKey(at, win(path).data(), nullptr);
}

inline DWORD set_value(HKEY key, std::u16string_view name, DWORD type, std::string_view data) {
  return entries().KvIRegSetValueEx(key, win(name).data(), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                                    static_cast<DWORD>(data.size()), nullptr);
}

inline DWORD delete_value(HKEY key, std::u16string_view name) {
  return entries().KvIRegDeleteValue(key, win(name).data(), nullptr);
}

struct Value {
  DWORD code = 0;
  DWORD type = 0;
  std::string data;

  bool operator==(const Value&) const = default;
};

inline void PrintTo(const Value& value, std::ostream* stream) {
  *stream << "code " << value.code << " type " << value.type << " data " << testing::PrintToString(value.data);
}

// Asks for the size, then for that many bytes.
inline Value value_of(HKEY key, std::u16string_view name) {
  Value value;
  DWORD size = 0;
  value.code = entries().KvIRegQueryValueEx(key, win(name).data(), nullptr, &value.type, nullptr, &size, nullptr);
  if (value.code != ERROR_SUCCESS) return value;
  value.data.resize(size);
  value.code = entries().KvIRegQueryValueEx(key, win(name).data(), nullptr, &value.type,
                                            reinterpret_cast<BYTE*>(value.data.data()), &size, nullptr);
  return value;
}

struct Listed {
  DWORD code = 0;
  std::u16string name;
  DWORD count = 0;
};

inline Listed sub_key(HKEY key, DWORD index, DWORD room = 257) {
  std::vector<WinChar> name(room + 1);
  Listed listed;
  listed.count = room;
  listed.code =
      entries().KvIRegEnumKeyEx(key, index, name.data(), &listed.count, nullptr, nullptr, nullptr, nullptr, nullptr);
  if (listed.code == ERROR_SUCCESS) listed.name = units(name.data(), listed.count);
  return listed;
}

inline Listed value_name(HKEY key, DWORD index, DWORD room = 16384) {
  std::vector<WinChar> name(room + 1);
  Listed listed;
  listed.count = room;
  listed.code =
      entries().KvIRegEnumValue(key, index, name.data(), &listed.count, nullptr, nullptr, nullptr, nullptr, nullptr);
  if (listed.code == ERROR_SUCCESS) listed.name = units(name.data(), listed.count);
  return listed;
}

using Names = std::vector<std::u16string>;

inline Names all_names(HKEY key, Listed (*list)(HKEY, DWORD, DWORD), DWORD room) {
  Names names;
  for (DWORD index = 0;; ++index) {
    const Listed listed = list(key, index, room);
    if (listed.code != ERROR_SUCCESS) return names;
    names.push_back(listed.name);
  }
}

inline Names sub_keys(HKEY key) { return all_names(key, sub_key, 257); }
inline Names value_names(HKEY key) { return all_names(key, value_name, 16384); }

// Each test has a key of its own, with all rights.
class Store_Test : public testing::Test {
 protected:
  void SetUp() override {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string("Tests\\") + test->test_suite_name() + "." + test->name();
    ASSERT_EQ(create_key(HKEY_LOCAL_MACHINE, std::u16string(name.begin(), name.end()), &base), 0u);
  }
  void TearDown() override { close_key(base); }

  // A key below the test's own.
  HKEY made(std::u16string_view path, DWORD access = KEY_ALL_ACCESS, DWORD options = 0) {
    HKEY key = nullptr;
    EXPECT_EQ(create_key(base, path, &key, access, options), 0u);
    return key;
  }

  HKEY base = nullptr;
};

}  // namespace kvtest
