// RegCopyTree: values and keys below a key, as they are stored, with the classes of the keys.
//
// The source is listed whole before anything is made, so that a tree can be copied to a place below itself. For the
// same reason the values are copied deepest key first.

#include <kelvane/registry_table.h>
#include <winerror.h>

#include "bootstrap/registry_table.h"
#include "registry/array.h"
#include "registry/gate.h"
#include "registry/later/opened_key.h"
#include "registry/later/path_list.h"
#include "registry/later/stored_names.h"
#include "registry/wide_buffers.h"
#include "registry/win_char.h"

inline namespace kelvane {
namespace {

LSTATUS code(DWORD result) { return static_cast<LSTATUS>(result); }

LSTATUS open(HKEY key, const WinChar* path, DWORD access, Opened_Key& out) {
  return code(slot<Slot::KvIRegOpenKeyEx>(key, path, DWORD{0}, access, out.out(), nullptr));
}

LSTATUS query_class(HKEY key, WinChar* text, DWORD* count) {
  return code(slot<Slot::KvIRegQueryInfoKey>(key, text, count, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr));
}

LSTATUS create(HKEY key, const WinChar* path, const WinChar* class_name) {
  Opened_Key created;
  return code(slot<Slot::KvIRegCreateKeyEx>(key, path, DWORD{0}, class_name, DWORD{REG_OPTION_NON_VOLATILE},
                                            DWORD{KEY_SET_VALUE}, nullptr, created.out(), nullptr, DWORD{0}, nullptr));
}

// The key at the path with the class that its source has.
LSTATUS create_like(HKEY source, HKEY destination, const WinChar* path) {
  Opened_Key model;
  LSTATUS result = open(source, path, KEY_QUERY_VALUE, model);
  if (result != ERROR_SUCCESS) return result;
  DWORD count = 0;
  result = query_class(model.get(), nullptr, &count);
  if (result != ERROR_SUCCESS) return result;
  if (count == 0) return create(destination, path, nullptr);
  Array<WinChar> class_name(count + std::size_t{1});
  ++count;
  result = query_class(model.get(), class_name.data(), &count);
  return result != ERROR_SUCCESS ? result : create(destination, path, class_name.data());
}

// The values of one key after the other; the rooms are used again.
class Value_Copier {
 public:
  LSTATUS copy_all(HKEY source, HKEY destination) {
    for (DWORD index = 0;; ++index) {
      const LSTATUS result = read(source, index);
      if (result == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
      if (result != ERROR_SUCCESS) return result;
      const LSTATUS stored =
          code(slot<Slot::KvIRegSetValueEx>(destination, name_.data(), DWORD{0}, type_, data_.data(), size_, nullptr));
      if (stored != ERROR_SUCCESS) return stored;
    }
  }

 private:
  LSTATUS read(HKEY key, DWORD index) {
    for (;;) {
      DWORD count = value_name_room;
      size_ = static_cast<DWORD>(data_.room());
      const LSTATUS result = code(slot<Slot::KvIRegEnumValue>(key, index, name_.data(), &count, nullptr, &type_,
                                                              data_.data(), &size_, nullptr));
      if (result != ERROR_MORE_DATA || size_ <= data_.room()) return result;
      data_.grow(size_, 0);
    }
  }

  Array<WinChar> name_{value_name_room};
  Value_Block data_{4096};
  DWORD type_ = REG_NONE;
  DWORD size_ = 0;
};

LSTATUS copy_values_at(HKEY source, HKEY destination, const WinChar* path, Value_Copier& copier) {
  Opened_Key from;
  LSTATUS result = open(source, path, KEY_QUERY_VALUE, from);
  if (result != ERROR_SUCCESS) return result;
  Opened_Key to;
  result = open(destination, path, KEY_SET_VALUE, to);
  return result != ERROR_SUCCESS ? result : copier.copy_all(from.get(), to.get());
}

LSTATUS copy_below(HKEY source, HKEY destination) {
  Path_List paths;
  LSTATUS result = paths.collect(source);
  for (std::size_t at = 0; at < paths.count() && result == ERROR_SUCCESS; ++at)
    result = create_like(source, destination, paths[at]);
  Value_Copier copier;
  for (std::size_t at = paths.count(); at > 0 && result == ERROR_SUCCESS; --at)
    result = copy_values_at(source, destination, paths[at - 1], copier);
  return result != ERROR_SUCCESS ? result : copier.copy_all(source, destination);
}

LSTATUS copy_tree(HKEY key, const WinChar* name, HKEY destination) {
  if (!names_stored_key(name)) return copy_below(key, destination);
  Opened_Key source;
  const LSTATUS result = open(key, name, KEY_READ, source);
  return result != ERROR_SUCCESS ? result : copy_below(source.get(), destination);
}

}  // namespace
}  // namespace kelvane

LSTATUS RegCopyTreeA(HKEY source, LPCSTR sub_key, HKEY destination) {
  return gated(source, [=]() KV_IN_FRONT -> LSTATUS {
    const Saveable_Name name(sub_key);
    return copy_tree(source, name.data(), destination);
  });
}

LSTATUS RegCopyTreeW(HKEY source, LPCWSTR sub_key, HKEY destination) {
  return gated(source, [=]() KV_IN_FRONT -> LSTATUS {
    const WinCharString name(sub_key, -1);
    return copy_tree(source, name.data, destination);
  });
}
