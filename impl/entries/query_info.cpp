// The entry that tells counts and longest lengths of a key.
#include <kelvane/registry_entries.h>

#include "impl/entries/answer.h"
#include "impl/entries/file_time.h"
#include "impl/entries/win_text.h"
#include "impl/registry_service.h"

namespace {

using impl::Key_Facts;

template <class Field>
void give(Field* out, Field fact) {
  if (out != nullptr) *out = fact;
}

}  // namespace

extern "C" {

// The eight outputs are delivered also when the class has no room; its count is then the length needed,
// without terminator.
DWORD KvIRegQueryInfoKey(HKEY key, WinChar* class_name, DWORD* class_count, DWORD*, DWORD* out_sub_keys,
                         DWORD* out_max_sub_key_count, DWORD* out_max_class_count, DWORD* out_values,
                         DWORD* out_max_value_name_count, DWORD* out_max_value_size,
                         DWORD* out_security_descriptor_size, FILETIME* out_last_write_time, void*) {
  if (class_name != nullptr && class_count == nullptr) return ERROR_INVALID_PARAMETER;
  return impl::answer([&] {
    impl::Win_Text_Room class_room(class_name, class_name == nullptr ? 0 : *class_count, impl::max_class_room);
    Key_Facts facts;
    const DWORD code =
        impl::registry_service().query_info(key, class_count == nullptr ? nullptr : &class_room.room(), &facts);
    if (code != ERROR_SUCCESS && code != ERROR_MORE_DATA) return code;
    if (code == ERROR_SUCCESS) class_room.deliver();
    give(class_count, class_room.length());
    give(out_sub_keys, facts.sub_keys);
    give(out_max_sub_key_count, facts.max_sub_key_length);
    give(out_max_class_count, facts.max_class_length);
    give(out_values, facts.values);
    give(out_max_value_name_count, facts.max_value_name_length);
    give(out_max_value_size, facts.max_value_size);
    give(out_security_descriptor_size, DWORD{0});  // keys carry no published descriptor
    give(out_last_write_time, impl::file_time(facts.last_write_time));
    return code;
  });
}

}  // extern "C"
