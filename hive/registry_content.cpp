// What a key shows and holds: its sub-keys and values by index, counts, values by name, rights.
#include <algorithm>
#include <cstring>

#include "hive/cache/content.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/registry.h"
#include "hive/registry_parts.h"
#include "hive/store/schema.h"
#include "hive/store/statement.h"
#include "hive/text_out.h"
#include "hive/values.h"
#include "hive/watch/change_log.h"

namespace hive {
namespace {

constexpr std::uint32_t readable_by_all = 0444;

bool is_nothing(const Key& key) { return key->place == Place::nothing; }

Status put_unit_text(std::u16string_view text, Text_Out& out) {
  return put_text(stored_form(text), out) ? Status::ok : Status::more_data;
}

void put_identity(const Hive_Identity& hive, std::int64_t number, Key_Identity* out) {
  static_assert(sizeof *out == sizeof hive + sizeof number);
  std::memcpy(out->data(), hive.data(), hive.size());
  std::memcpy(out->data() + hive.size(), &number, sizeof number);
}

// The user's own hive stands behind the keys of the machine hive.
Status enumerate_user(Connection& connection, std::int64_t users, std::uint32_t index, std::u16string_view user_name,
                      Text_Out& name, Text_Out* class_name, std::uint64_t* out_last_write_time) {
  Key_Row row;
  Status status = read_key(connection, users, &row);
  if (status != Status::ok) return status;
  if (index != row.children) return Status::no_more_items;
  if (class_name != nullptr) put_text({}, *class_name);
  if (out_last_write_time != nullptr) *out_last_write_time = row.written;
  return put_unit_text(user_name, name);
}

// How many keys HKEY_USERS has of the machine hive.
Status count_machine_users(Connection& connection, std::int64_t users, std::uint32_t* out) {
  Key_Row row;
  const Status status = read_key(connection, users, &row);
  *out = row.children;
  return status;
}

}  // namespace

Status Registry::enumerate_key(const Key& key, std::uint32_t index, Text_Out& name, Text_Out* class_name,
                               std::uint64_t* out_last_write_time) {
  if (is_nothing(key)) return Status::no_more_items;
  if (key->place != Place::users) {
    if (const auto known = known_child_at(*key, index, name, class_name, out_last_write_time)) return *known;
  }
  const bool serves_all = key->place == Place::users && parts_->hives.users() != nullptr;
  std::uint32_t of_machine = 0;
  const Status status = parts_->read(key, [&](Connection& connection, std::int64_t number) {
    Status status = find_child_at(connection, number, index, key->keys, name, class_name, out_last_write_time);
    if (status != Status::no_more_items || key->place != Place::users) return status;
    if (serves_all) {
      const Status counted = count_machine_users(connection, number, &of_machine);
      return counted == Status::ok ? Status::no_more_items : counted;
    }
    return enumerate_user(connection, number, index, parts_->user_name, name, class_name, out_last_write_time);
  });
  if (status != Status::no_more_items || !serves_all) return status;
  return parts_->hives.users()->read([&](Connection& connection) {
    return find_child_at(connection, root_key, index - of_machine, key->users, name, class_name, out_last_write_time);
  });
}

Status Registry::enumerate_value(const Key& key, std::uint32_t index, Text_Out* name, Value_Out& value) {
  if (is_nothing(key)) return Status::no_more_items;
  if (const auto known = known_value_at(*key, index, name, value)) return *known;
  return parts_->read(key, [&](Connection& connection, std::int64_t number) {
    return find_value_at(connection, number, index, key->values, name, value);
  });
}

Status Registry::info(const Key& key, Text_Out* class_name, Key_Counts* out_counts) {
  *out_counts = {};
  if (is_nothing(key)) {
    if (class_name != nullptr) put_text({}, *class_name);
    return Status::ok;
  }
  Key_Info info;
  std::optional<Status> status = known_info(*key, class_name, &info);
  if (!status) {
    status = parts_->read(key, [&](Connection& connection, std::int64_t number) {
      return find_info(connection, number, class_name, &info);
    });
  }
  *out_counts = info.counts;
  if (key->place == Place::users && parts_->hives.users() != nullptr) {
    if (*status == Status::ok || *status == Status::more_data) return parts_->add_users(out_counts, *status);
  } else if (key->place == Place::users) {
    ++out_counts->sub_keys;
    out_counts->max_sub_key_units =
        std::max(out_counts->max_sub_key_units, static_cast<std::uint32_t>(parts_->user_name.size()));
  }
  return *status;
}

// Adds the keys of the users' hive to what HKEY_USERS has of the machine hive.
Status Registry::Parts::add_users(Key_Counts* counts, Status status) {
  Key_Info users;
  const Status added =
      hives.users()->read([&](Connection& connection) { return find_info(connection, root_key, nullptr, &users); });
  counts->sub_keys += users.counts.sub_keys;
  counts->max_sub_key_units = std::max(counts->max_sub_key_units, users.counts.max_sub_key_units);
  counts->max_class_units = std::max(counts->max_class_units, users.counts.max_class_units);
  return added == Status::ok ? status : added;
}

Status Registry::read_value(const Key& key, std::u16string_view name, Value_Out& value) {
  if (is_nothing(key)) return Status::not_found;
  if (const auto known = known_value(Read_Section(), *key, name, value)) return *known;
  return parts_->read(
      key, [&](Connection& connection, std::int64_t number) { return find_value(connection, number, name, value); });
}

Status Registry::write_value(const Key& key, std::u16string_view name, std::uint32_t type, const unsigned char* data,
                             std::uint32_t size) {
  if (is_nothing(key)) return Status::denied;
  if (name.size() > max_value_name_units) return Status::invalid;
  if (size > max_value_size) return Status::too_large;
  return parts_->write(key, [&](Connection& connection, std::int64_t number) {
    return hive::write_value(connection, number, name, type, data, size);
  });
}

Status Registry::remove_value(const Key& key, std::u16string_view name) {
  if (is_nothing(key)) return Status::not_found;
  return parts_->write(
      key, [&](Connection& connection, std::int64_t number) { return hive::remove_value(connection, number, name); });
}

Status Registry::identity(const Key& key, Key_Identity* out) {
  out->fill(0);
  if (is_nothing(key)) return Status::ok;
  if (key->place == Place::key && key->identity != Hive_Identity{}) {
    put_identity(key->identity, key->number, out);
    return Status::ok;
  }
  return parts_->read(key, [&](Connection& connection, std::int64_t number) {
    put_identity(connection.identity, number, out);
    return Status::ok;
  });
}

Status Registry::rights(const Key& key, Key_Rights* out_rights) {
  *out_rights = {readable_by_all, 0, 0};
  if (is_nothing(key)) return Status::ok;
  Key_Info info;
  std::optional<Status> status = known_info(*key, nullptr, &info);
  if (!status) {
    status = parts_->read(key, [&](Connection& connection, std::int64_t number) {
      return find_info(connection, number, nullptr, &info);
    });
  }
  if (*status == Status::ok) *out_rights = info.rights;
  return *status;
}

Status Registry::set_rights(const Key& key, const std::uint32_t* mode, const std::uint32_t* owner,
                            const std::uint32_t* group) {
  if (is_nothing(key)) return Status::denied;
  return parts_->write(key, [&](Connection& connection, std::int64_t number) {
    Status status = check_key(connection, number);
    if (status != Status::ok) return status;
    Statement set(connection, Query::set_rights);
    set.bind(1, number).bind(2, connection.take_id());
    mode != nullptr ? set.bind(3, *mode) : set.bind_null(3);
    owner != nullptr ? set.bind(4, *owner) : set.bind_null(4);
    group != nullptr ? set.bind(5, *group) : set.bind_null(5);
    log_change(connection, number, way_attributes | way_security);
    return set.run();
  });
}

}  // namespace hive
