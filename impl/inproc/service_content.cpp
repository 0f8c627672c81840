// The service's operations on what keys hold: listing, facts, values.
#include <winerror.h>
#include <winnt.h>

#include "impl/inproc/inproc_service.h"

namespace impl {
namespace {

hive::Text_Out text_out(const Text_Room* room) {
  return room == nullptr ? hive::Text_Out{} : hive::Text_Out{room->text, room->room, 0};
}

hive::Value_Out value_out(const Value_Room& room) { return {room.data, room.room, 0, 0}; }

}  // namespace

DWORD Inproc_Service::enumerate_key(HKEY key, DWORD index, Text_Room& name, Text_Room* class_name,
                                    std::uint64_t* out_last_write_time) {
  return read_key(key, KEY_ENUMERATE_SUB_KEYS, [&](const Reading& from) {
    hive::Text_Out name_out = text_out(&name);
    hive::Text_Out class_out = text_out(class_name);
    const hive::Status status = registry_.enumerate_key(
        from.key, index, name_out, class_name == nullptr ? nullptr : &class_out, out_last_write_time);
    name.length = name_out.length;
    if (class_name != nullptr) class_name->length = class_out.length;
    return status;
  });
}

DWORD Inproc_Service::query_info(HKEY key, Text_Room* class_name, Key_Facts* out_facts) {
  return read_key(key, KEY_QUERY_VALUE, [&](const Reading& from) {
    hive::Text_Out class_out = text_out(class_name);
    hive::Key_Counts counts{};
    const hive::Status status = registry_.info(from.key, class_name == nullptr ? nullptr : &class_out, &counts);
    if (class_name != nullptr) class_name->length = class_out.length;
    *out_facts = {counts.sub_keys,       counts.max_sub_key_units,    counts.max_class_units,
                  counts.values,         counts.max_value_name_units, counts.max_value_size,
                  counts.last_write_time};
    return status;
  });
}

DWORD Inproc_Service::enumerate_value(HKEY key, DWORD index, Text_Room* name, Value_Room& value) {
  return read_key(key, KEY_QUERY_VALUE, [&](const Reading& from) {
    hive::Text_Out name_out = text_out(name);
    hive::Value_Out out = value_out(value);
    const hive::Status status = registry_.enumerate_value(from.key, index, name == nullptr ? nullptr : &name_out, out);
    if (name != nullptr) name->length = name_out.length;
    value.size = out.size;
    value.type = out.type;
    return status;
  });
}

DWORD Inproc_Service::query_value(HKEY key, std::u16string_view name, Value_Room& value) {
  return read_key(key, KEY_QUERY_VALUE, [&](const Reading& from) {
    hive::Value_Out out = value_out(value);
    const auto known = hive::Registry::known_value(from.section, from.look, name, out);
    const hive::Status status = known ? *known : registry_.read_value(from.key, name, out);
    value.size = out.size;
    value.type = out.type;
    return status;
  });
}

DWORD Inproc_Service::set_value(HKEY key, std::u16string_view name, DWORD type, const BYTE* data, DWORD size) {
  return with_key(key, KEY_SET_VALUE,
                  [&](const hive::Key& at, DWORD) { return registry_.write_value(at, name, type, data, size); });
}

DWORD Inproc_Service::delete_value(HKEY key, std::u16string_view name) {
  return with_key(key, KEY_SET_VALUE, [&](const hive::Key& at, DWORD) { return registry_.remove_value(at, name); });
}

}  // namespace impl
