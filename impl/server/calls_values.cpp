// Values by name, and what a key tells of itself.
#include <winnt.h>

#include <algorithm>

#include "impl/inproc/status_code.h"
#include "impl/registry_service.h"
#include "impl/server/counted.h"
#include "impl/server/held.h"
#include "impl/server/perform.h"
#include "impl/wire/sealed_memory.h"

namespace impl::server {
namespace {

constexpr std::size_t likely_size = 4096;  // bytes of a value

// Reads the value into scratch memory, the whole of it or with more_data none.
hive::Status read(Caller& caller, const hive::Key& key, std::u16string_view name, std::size_t room,
                  hive::Value_Out* out) {
  hive::Status status = hive::Status::more_data;
  std::size_t size = std::min(room, likely_size);
  for (int attempt = 0; attempt < 2 && status == hive::Status::more_data; ++attempt) {
    *out = {caller.scratch.room(size), static_cast<std::uint32_t>(size), 0, 0};
    status = caller.core.registry().read_value(key, name, *out);
    size = out->size;
    if (size > room) break;
  }
  return status;
}

DWORD put_data(Caller& caller, wire::Bytes data, wire::Query_Value::Answer* out) {
  if (data.size() <= wire::max_inline_data) {
    out->data = data;
    return ERROR_SUCCESS;
  }
  wire::Unique_Fd file = wire::seal(data);
  if (!file) return ERROR_NOT_ENOUGH_MEMORY;
  out->memory.fd = caller.scratch.keep(std::move(file));
  return ERROR_SUCCESS;
}

DWORD write(Caller& caller, wire::Set_Value::Question& question, wire::Bytes data) {
  hive::Key key;
  const DWORD code = held_key(caller, question.key, KEY_SET_VALUE, &key);
  if (code != ERROR_SUCCESS) return code;
  announce_change(caller, key);
  return code_of(caller.core.registry().write_value(key, wire::text_of(question.name), question.type, data.data(),
                                                    static_cast<std::uint32_t>(data.size())));
}

}  // namespace

DWORD perform(Caller& caller, wire::Query_Value::Question& question, wire::Query_Value::Answer* out) {
  hive::Key key;
  DWORD code = held_key(caller, question.key, KEY_QUERY_VALUE, &key);
  if (code != ERROR_SUCCESS) return code;
  hive::Value_Out value{};
  out->change = number_for(caller, key);
  const hive::Status status = read(caller, key, wire::text_of(question.name), question.room, &value);
  if (status != hive::Status::ok && status != hive::Status::more_data) return code_of(status);
  if (status == hive::Status::ok) code = put_data(caller, {value.data, value.size}, out);
  if (code != ERROR_SUCCESS) return code;
  out->type = value.type;
  out->size = value.size;
  return code_of(status);
}

DWORD perform(Caller& caller, wire::Set_Value::Question& question, wire::Set_Value::Answer*) {
  if (question.memory.fd < 0) return write(caller, question, question.data);
  const wire::Sealed_Bytes memory(question.memory.fd, hive::max_value_size);
  if (memory.error() != 0) return memory.error() == ENOMEM ? ERROR_NOT_ENOUGH_MEMORY : ERROR_INVALID_PARAMETER;
  return write(caller, question, memory.bytes());
}

DWORD perform(Caller& caller, wire::Delete_Value::Question& question, wire::Delete_Value::Answer*) {
  hive::Key key;
  const DWORD code = held_key(caller, question.key, KEY_SET_VALUE, &key);
  if (code != ERROR_SUCCESS) return code;
  announce_change(caller, key);
  return code_of(caller.core.registry().remove_value(key, wire::text_of(question.name)));
}

DWORD perform(Caller& caller, wire::Query_Info::Question& question, wire::Query_Info::Answer* out) {
  hive::Key key;
  const DWORD code = held_key(caller, question.key, KEY_QUERY_VALUE, &key);
  if (code != ERROR_SUCCESS) return code;
  auto* const text = reinterpret_cast<char16_t*>(caller.scratch.room(max_class_room * sizeof(char16_t)));
  hive::Text_Out class_name{text, max_class_room, 0};
  hive::Key_Counts counts{};
  const std::uint64_t change = number_for(caller, key);
  const hive::Status status = caller.core.registry().info(key, &class_name, &counts);
  if (status != hive::Status::ok) return code_of(status);
  out->class_name = wire::bytes_of({text, class_name.length});
  out->sub_keys = counts.sub_keys;
  out->max_sub_key_length = counts.max_sub_key_units;
  out->max_class_length = counts.max_class_units;
  out->values = counts.values;
  out->max_value_name_length = counts.max_value_name_units;
  out->max_value_size = counts.max_value_size;
  out->last_write_time = counts.last_write_time;
  out->change = change;
  return ERROR_SUCCESS;
}

}  // namespace impl::server
