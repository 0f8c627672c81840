// Any bytes as a stored COM permission: an edit refuses them or stores a permission that the next edit takes; when the
// second of two edits fails, the first value is back byte for byte.
#include <kelvane/security.h>

#include <cstring>
#include <vector>

#include "bootstrap/registry_table.h"
#include "fuzz/fuzz_input.h"

namespace {

// The one key of this registry, with a value for each permission.
struct Key_Double {
  std::string access, launch;
  bool launch_is_refused = false;

  std::string& value(const WinChar* name) {
    // "DefaultAccessPermission" or "DefaultLaunchPermission".
    return name[7].low == 'A' ? access : launch;
  }
} key_double;

DWORD open_key(HKEY, const WinChar*, DWORD, DWORD, HKEY* out_key, void*) {
  *out_key = reinterpret_cast<HKEY>(&key_double);
  return ERROR_SUCCESS;
}

DWORD close_key(HKEY, void*) { return ERROR_SUCCESS; }

DWORD query_value(HKEY, const WinChar* name, DWORD*, DWORD* out_type, BYTE* data, DWORD* data_size, void*) {
  const std::string& value = key_double.value(name);
  *out_type = REG_BINARY;
  const bool fits = value.size() <= *data_size;
  *data_size = static_cast<DWORD>(value.size());
  if (!fits) return ERROR_MORE_DATA;
  std::memcpy(data, value.data(), value.size());
  return ERROR_SUCCESS;
}

DWORD set_value(HKEY, const WinChar* name, DWORD, DWORD, const BYTE* data, DWORD data_size, void*) {
  std::string& value = key_double.value(name);
  if (&value == &key_double.launch && key_double.launch_is_refused) return ERROR_DISK_FULL;
  value.assign(reinterpret_cast<const char*>(data), data_size);
  return ERROR_SUCCESS;
}

template <Slot which>
void bind(typename Slot_Signature<which>::type entry) {
  KvIRegFunctions[static_cast<int>(which)].entry = reinterpret_cast<void*>(entry);
}

bool bind_all() {
  bind<Slot::KvIRegOpenKeyEx>(open_key);
  bind<Slot::KvIRegCloseKey>(close_key);
  bind<Slot::KvIRegQueryValueEx>(query_value);
  bind<Slot::KvIRegSetValueEx>(set_value);
  return true;
}

unsigned stored_offset(const std::string& value, std::size_t at) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(value.data() + at);
  return static_cast<unsigned>(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

bool is_refusal(DWORD code) { return code == 0x80070057 || code == 0x80040153 || code == ERROR_OUT_OF_STRUCTURES; }

using Edit = decltype(&KvSecDescAddPrincipal);

// What an edit has stored is taken and not changed by another that adds nobody; only a group SID that came without
// any group, and is the last part, is too short for one.
void check_stored() {
  const std::string stored = key_double.access;
  const bool is_whole = stored_offset(stored, 16) + 12 <= stored.size();
  check(KvSecDescAddPrincipal(nullptr, nullptr, 0, nullptr, 0, KV_COM_ACCESS, KV_COM_STORED) == (is_whole ? 1 : 0));
  check(key_double.access == stored);
}

void check_undone(const std::string& value, Edit edit, const DWORD* ids, unsigned users, unsigned groups) {
  key_double.access = value;
  key_double.launch = value;
  key_double.launch_is_refused = true;
  check(edit(nullptr, ids, users, ids + users, groups, KV_COM_ACCESS | KV_COM_LAUNCH, KV_COM_STORED) == FALSE);
  key_double.launch_is_refused = false;
  // SIDs inside the header are turned round with it, which does not come back.
  const bool is_plain = stored_offset(value, 8) >= 40 && stored_offset(value, 16) >= 40;
  check(!is_plain || key_double.access == value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool bound = bind_all();
  check(bound);
  Fuzz_Input input(data, size);
  const unsigned choice = input.byte(), users = input.byte() % 4, groups = input.byte() % 4;
  DWORD ids[6];
  for (DWORD& id : ids) id = input.dword();
  const std::string value = input.rest();
  const Edit edit = (choice & 1) != 0 ? KvSecDescAddPrincipal : KvSecDescRemovePrincipal;

  key_double.access = value;
  if (edit(nullptr, ids, users, ids + users, groups, KV_COM_ACCESS, KV_COM_STORED)) {
    check_stored();
    check_undone(value, edit, ids, users, groups);
  } else {
    check(is_refusal(GetLastError()) && key_double.access == value);
  }
  return 0;
}
