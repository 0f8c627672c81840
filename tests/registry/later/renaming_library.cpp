// A part of an implementation library that can rename: it answers 1234 for "old" renamed to "new", 1235 for the key
// itself.
#include <kelvane/registry_table.h>

#include <cstdint>
#include <cstring>

extern "C" {

KV_EXPORT DWORD KvIRegOpenKeyEx() { return 0; }

KV_EXPORT DWORD KvIRegRenameKey(HKEY key, const WinChar* sub_key, const WinChar* new_name, void* null) {
  const bool is_asked = key == reinterpret_cast<HKEY>(std::uintptr_t{0x1122334455667788}) && null == nullptr &&
                        std::memcmp(new_name, "\0n\0e\0w\0\0", 8) == 0;
  if (!is_asked) return 1;
  if (sub_key == nullptr) return 1235;
  return std::memcmp(sub_key, "\0o\0l\0d\0\0", 8) == 0 ? 1234 : 2;
}
}
