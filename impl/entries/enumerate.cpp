// Entries that list the sub-keys and the values of a key.
//
// Whatever has no room, name counts and name buffers stay as they were: the caller asks again with the same
// count. A value is still delivered when only its name has no room.
#include <kelvane/registry_entries.h>

#include "impl/entries/answer.h"
#include "impl/entries/file_time.h"
#include "impl/entries/win_text.h"
#include "impl/registry_service.h"

namespace {

using impl::answer;
using impl::registry_service;
using impl::Win_Text_Room;

// The room told by a count, which is not read when there is no buffer.
DWORD room_of(const WinChar* buffer, const DWORD* count) { return buffer == nullptr ? 0 : *count; }

DWORD enumerate_key(HKEY key, DWORD index, WinChar* name, DWORD* name_count, WinChar* class_name, DWORD* class_count,
                    FILETIME* out_last_write_time) {
  if (class_count == nullptr) class_name = nullptr;
  Win_Text_Room name_room(name, room_of(name, name_count), impl::max_key_name_room);
  Win_Text_Room class_room(class_name, room_of(class_name, class_count), impl::max_class_room);
  std::uint64_t last_write_time = 0;
  const DWORD code = registry_service().enumerate_key(key, index, name_room.room(),
                                                      class_count == nullptr ? nullptr : &class_room.room(),
                                                      out_last_write_time == nullptr ? nullptr : &last_write_time);
  if (code != ERROR_SUCCESS) return code;
  name_room.deliver();
  class_room.deliver();
  if (name_count != nullptr) *name_count = name_room.length();
  if (class_count != nullptr) *class_count = class_room.length();
  if (out_last_write_time != nullptr) *out_last_write_time = impl::file_time(last_write_time);
  return code;
}

DWORD enumerate_value(HKEY key, DWORD index, WinChar* name, DWORD* name_count, DWORD* out_type, BYTE* data,
                      DWORD* data_size) {
  Win_Text_Room name_room(name, room_of(name, name_count), impl::max_value_name_room);
  impl::Value_Room value{data, data == nullptr ? 0 : *data_size};
  const DWORD code =
      registry_service().enumerate_value(key, index, name_count == nullptr ? nullptr : &name_room.room(), value);
  if (code != ERROR_SUCCESS && code != ERROR_MORE_DATA) return code;
  if (out_type != nullptr) *out_type = value.type;
  if (data_size != nullptr) *data_size = value.size;
  if (code == ERROR_SUCCESS && name_count != nullptr) {
    name_room.deliver();
    *name_count = name_room.length();
  }
  return code;
}

}  // namespace

extern "C" {

DWORD KvIRegEnumKeyEx(HKEY key, DWORD index, WinChar* name, DWORD* name_count, DWORD*, WinChar* class_name,
                      DWORD* class_count, FILETIME* out_last_write_time, void*) {
  if (name != nullptr && name_count == nullptr) return ERROR_INVALID_PARAMETER;
  return answer(
      [&] { return enumerate_key(key, index, name, name_count, class_name, class_count, out_last_write_time); });
}

DWORD KvIRegEnumValue(HKEY key, DWORD index, WinChar* name, DWORD* name_count, DWORD*, DWORD* out_type, BYTE* data,
                      DWORD* data_size, void*) {
  if (name != nullptr && name_count == nullptr) return ERROR_INVALID_PARAMETER;
  if (data != nullptr && data_size == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&] { return enumerate_value(key, index, name, name_count, out_type, data, data_size); });
}

}  // extern "C"
