// The client's operations on what keys hold: listing, facts, values.
#include <winnt.h>

#include <algorithm>
#include <cstring>

#include "impl/client/client_service.h"
#include "impl/client/told_value.h"
#include "impl/wire/sealed_memory.h"

namespace impl::client {
namespace {

bool is_text(wire::Bytes bytes) { return bytes.size() % sizeof(char16_t) == 0; }

// False when there is no room.
bool put(wire::Bytes text, Text_Room& room) {
  room.length = text.size() / sizeof(char16_t);
  if (room.lacks_room()) return false;
  if (room.text != nullptr) std::copy_n(text.data(), text.size(), reinterpret_cast<unsigned char*>(room.text));
  return true;
}

}  // namespace

DWORD Client_Service::enumerate_key(HKEY key, DWORD index, Text_Room& name, Text_Room* class_name,
                                    std::uint64_t* out_last_write_time) {
  const wire::Enumerate_Keys::Question question{0, index, 1};
  return read<wire::Enumerate_Keys>(key, KEY_ENUMERATE_SUB_KEYS, question, [&](const auto& answer) -> DWORD {
    if (answer.code != ERROR_SUCCESS) return answer.code;
    if (answer.keys.empty()) return wrong_answer;
    const wire::Sub_Key& found = answer.keys.front();
    if (!is_text(found.name) || !is_text(found.class_name)) return wrong_answer;
    const bool name_fits = put(found.name, name);
    const bool class_fits = class_name == nullptr || put(found.class_name, *class_name);
    if (!name_fits || !class_fits) return ERROR_MORE_DATA;
    if (out_last_write_time != nullptr) *out_last_write_time = found.last_write_time;
    return ERROR_SUCCESS;
  });
}

DWORD Client_Service::query_info(HKEY key, Text_Room* class_name, Key_Facts* out_facts) {
  return read<wire::Query_Info>(key, KEY_QUERY_VALUE, {}, [&](const auto& answer) -> DWORD {
    if (answer.code != ERROR_SUCCESS) return answer.code;
    if (!is_text(answer.class_name)) return wrong_answer;
    *out_facts = {answer.sub_keys,       answer.max_sub_key_length,    answer.max_class_length,
                  answer.values,         answer.max_value_name_length, answer.max_value_size,
                  answer.last_write_time};
    return class_name == nullptr || put(answer.class_name, *class_name) ? ERROR_SUCCESS : ERROR_MORE_DATA;
  });
}

// Data that is too long for a listing is asked for by its name.
DWORD Client_Service::enumerate_value(HKEY key, DWORD index, Text_Room* name, Value_Room& value) {
  std::u16string long_value;
  bool is_apart = false;
  const wire::Enumerate_Values::Question question{0, index, 1, room_for(value)};
  const DWORD code = read<wire::Enumerate_Values>(key, KEY_QUERY_VALUE, question, [&](const auto& answer) -> DWORD {
    is_apart = false;
    if (answer.code != ERROR_SUCCESS) return answer.code;
    if (answer.values.empty()) return wrong_answer;
    const wire::Value& found = answer.values.front();
    if (!is_text(found.name)) return wrong_answer;
    const bool name_fits = name == nullptr || put(found.name, *name);
    value.type = found.type;
    value.size = found.size;
    if (value.data != nullptr && !takes(value, found.size)) return ERROR_MORE_DATA;
    is_apart = takes(value, found.size) && found.size > 0 && found.data.empty();
    if (is_apart) long_value = wire::text_of(found.name);
    const bool is_right = !takes(value, found.size) || is_apart || copy_data(found.data, {}, found.size, value.data);
    if (!is_right) return wrong_answer;
    return name_fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
  });
  if (!is_told(code) || !is_apart) return code;
  const DWORD data_code = query_value(key, long_value, value);
  return data_code == ERROR_SUCCESS ? code : data_code;
}

DWORD Client_Service::set_value(HKEY key, std::u16string_view name, DWORD type, const BYTE* data, DWORD size) {
  if (!fits_message(name)) return ERROR_INVALID_PARAMETER;
  wire::Set_Value::Question question{.name = wire::bytes_of(name), .type = type};
  wire::Unique_Fd sealed;
  if (size <= wire::max_inline_data) {
    question.data = {data, size};
  } else {
    if (size > hive::max_value_size) return ERROR_INVALID_PARAMETER;
    sealed = wire::seal({data, size});
    if (!sealed) return ERROR_NO_SYSTEM_RESOURCES;
    question.memory.fd = sealed.get();
  }
  return ask<wire::Set_Value>(key, KEY_SET_VALUE, question, [](const auto& answer) { return DWORD{answer.code}; });
}

DWORD Client_Service::delete_value(HKEY key, std::u16string_view name) {
  if (!fits_message(name)) return ERROR_FILE_NOT_FOUND;
  return remove<wire::Delete_Value>(key, KEY_SET_VALUE, {0, wire::bytes_of(name)}, Rights::of_handle);
}

}  // namespace impl::client
