// Listing sub-keys and values: as many as one message carries well, at least one.
#include <winnt.h>

#include <algorithm>

#include "impl/inproc/status_code.h"
#include "impl/registry_service.h"
#include "impl/server/counted.h"
#include "impl/server/held.h"
#include "impl/server/perform.h"

namespace impl::server {
namespace {

constexpr std::size_t likely_size = 4096;  // bytes of a value

// Lists from an index on: read(index, size) adds one and counts its bytes. What became another list meanwhile, or ended
// because one could not be read, is not to be kept.
template <class Read>
DWORD list(Caller& caller, const hive::Key& key, wire::Number index, wire::Number most, std::uint64_t* out_change,
           Read read) {
  std::size_t size = 0;
  const wire::Number first = index;
  const std::uint64_t change = number_for(caller, key);
  hive::Status status = hive::Status::ok;
  do {
    status = read(index, &size);
  } while (status == hive::Status::ok && ++index - first < most && size < wire::max_listing && index != 0);
  const bool is_whole = status == hive::Status::ok || status == hive::Status::no_more_items;
  if (is_whole && number_for(caller, key) == change) *out_change = change;
  return index == first ? code_of(status) : ERROR_SUCCESS;
}

// Who lists several at once through a handle leaves its place alone, where one after the other is listed.
hive::Status key_to_list(Caller& caller, wire::Number most, hive::Key* key) {
  const hive::Key held = *key;
  return most > 1 ? caller.core.registry().open(held, {}, key) : hive::Status::ok;
}

char16_t* text_room(Caller& caller, std::size_t units) {
  return reinterpret_cast<char16_t*>(caller.scratch.room(units * sizeof(char16_t)));
}

wire::Bytes kept(Caller& caller, const hive::Text_Out& text) {
  return caller.scratch.copy(wire::bytes_of({text.text, text.length}));
}

// The data of a value comes with it when the asker has room for it and a message does.
hive::Status read_value(Caller& caller, const hive::Key& key, wire::Number index, std::size_t room,
                        hive::Text_Out& name, hive::Value_Out* out) {
  hive::Status status = hive::Status::more_data;
  std::size_t size = std::min(room, likely_size);
  for (int attempt = 0; attempt < 2 && status == hive::Status::more_data; ++attempt) {
    *out = {caller.scratch.room(size), static_cast<std::uint32_t>(size), 0, 0};
    status = caller.core.registry().enumerate_value(key, index, &name, *out);
    size = out->size;
    if (size > room) break;
  }
  return status;
}

}  // namespace

DWORD perform(Caller& caller, wire::Enumerate_Keys::Question& question, wire::Enumerate_Keys::Answer* out) {
  hive::Key key;
  DWORD code = held_key(caller, question.key, KEY_ENUMERATE_SUB_KEYS, &key);
  if (code == ERROR_SUCCESS) code = code_of(key_to_list(caller, question.most, &key));
  if (code != ERROR_SUCCESS) return code;
  hive::Text_Out name{text_room(caller, max_key_name_room), max_key_name_room, 0};
  hive::Text_Out class_name{text_room(caller, max_class_room), max_class_room, 0};
  return list(caller, key, question.index, question.most, &out->change, [&](wire::Number index, std::size_t* size) {
    wire::Sub_Key found;
    const hive::Status status =
        caller.core.registry().enumerate_key(key, index, name, &class_name, &found.last_write_time);
    if (status != hive::Status::ok) return status;
    found.name = kept(caller, name);
    found.class_name = kept(caller, class_name);
    *size += wire::size_of_fields(found);
    out->keys.push_back(found);
    return status;
  });
}

DWORD perform(Caller& caller, wire::Enumerate_Values::Question& question, wire::Enumerate_Values::Answer* out) {
  hive::Key key;
  DWORD code = held_key(caller, question.key, KEY_QUERY_VALUE, &key);
  if (code == ERROR_SUCCESS) code = code_of(key_to_list(caller, question.most, &key));
  if (code != ERROR_SUCCESS) return code;
  const std::size_t room = std::min<std::size_t>(question.room, wire::max_inline_data);
  hive::Text_Out name{text_room(caller, max_value_name_room), max_value_name_room, 0};
  return list(caller, key, question.index, question.most, &out->change, [&](wire::Number index, std::size_t* size) {
    hive::Value_Out value{};
    const hive::Status status = read_value(caller, key, index, room, name, &value);
    if (status != hive::Status::ok && status != hive::Status::more_data) return status;
    wire::Value found{kept(caller, name), value.type, value.size, {}};
    if (status == hive::Status::ok) found.data = {value.data, value.size};
    *size += wire::size_of_fields(found);
    out->values.push_back(found);
    return hive::Status::ok;
  });
}

}  // namespace impl::server
