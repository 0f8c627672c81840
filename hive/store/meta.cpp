#include "hive/store/meta.h"

#include <sqlite3.h>

#include <algorithm>

#include "hive/store/statement.h"

namespace hive {
namespace {

Hive_Mark mark_of(Connection& connection, std::string_view identity_name, std::string_view number_name) {
  Hive_Mark mark;
  mark.number = static_cast<std::uint64_t>(meta_number(connection, number_name));
  Statement get(connection, Query::get_meta);
  if (get.bind(1, identity_name).row()) {
    std::string_view identity = get.data(0).substr(0, mark.identity.size());
    std::copy(identity.begin(), identity.end(), mark.identity.begin());
  }
  return mark;
}

}  // namespace

std::int64_t meta_number(Connection& connection, std::string_view name) {
  Statement get(connection, Query::get_meta);
  return get.bind(1, name).row() ? get.number(0) : 0;
}

std::string meta_text(Connection& connection, std::string_view name) {
  Statement get(connection, Query::get_meta);
  return get.bind(1, name).row() ? std::string(get.text(0)) : std::string();
}

Status set_meta(Connection& connection, std::string_view name, std::int64_t number) {
  connection.known = {};
  Statement set(connection, Query::set_meta);
  return set.bind(1, name).bind(2, number).run();
}

Status set_meta(Connection& connection, std::string_view name, std::string_view text) {
  Statement set(connection, Query::set_meta);
  return set.bind(1, name).bind(2, text).run();
}

Status set_meta_data(Connection& connection, std::string_view name, const void* data, std::size_t size) {
  Statement set(connection, Query::set_meta);
  return set.bind(1, name).bind_data(2, data, size).run();
}

Image_Head image_head(Connection& connection) {
  return {mark_of(connection, "identity", "number"), mark_of(connection, "base", "base_number")};
}

Status note_image(Connection& connection) { return set_meta(connection, "imaged", 1); }

Status count_change(Connection& connection) {
  if (connection.known.number_is_raised) return connection.status();
  connection.known.number_is_raised = true;
  Statement(connection, Query::end_imaged).run();
  if (sqlite3_changes(connection.handle()) == 0) return connection.status();
  return Statement(connection, Query::raise_number).run();
}

Status set_base(Connection& connection, const Hive_Mark& base) {
  set_meta_data(connection, "base", base.identity.data(), base.identity.size());
  return set_meta(connection, "base_number", static_cast<std::int64_t>(base.number));
}

Status note_import(Connection& connection, const Hive_Mark& base) {
  set_base(connection, base);
  Statement(connection, Query::raise_number).run();
  set_meta(connection, "import_number", meta_number(connection, "number"));
  return note_image(connection);
}

bool changed_since_import(Connection& connection) {
  return meta_number(connection, "number") != meta_number(connection, "import_number");
}

}  // namespace hive
