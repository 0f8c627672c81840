#include "hive/check.h"

#include "hive/check_names.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/rows.h"
#include "hive/store/schema.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

constexpr std::string_view nothing_found = "ok";

struct Rule {
  Fault fault;
  const char* text;
  const char* statement;
};

constexpr Rule rules[] = {
#define RULE(fault, text, statement) {Fault::fault, text, statement},
#include "hive/check_rules.def"
#undef RULE
};

bool has_room(const std::vector<Found_Fault>& found) { return found.size() < max_found_faults; }

void add(std::vector<Found_Fault>& found, Fault fault, std::int64_t key, std::string_view what) {
  if (!has_room(found)) return;
  std::string text = key == 0 ? std::string() : "key " + std::to_string(key) + ": ";
  found.push_back({fault, key, text.append(what)});
}

void check_structure(Connection& connection, std::vector<Found_Fault>& found) {
  Rows rows(connection, "PRAGMA integrity_check");
  while (rows.next()) {
    if (rows.text(0) != nothing_found) add(found, Fault::structure, 0, one_line(rows.text(0)));
  }
}

// A value's name stands behind the key, where the rule is about one value.
std::optional<std::u16string> value_in(Rows& rows, int column) {
  return rows.columns() > column ? std::optional(units_of(rows.text(column))) : std::nullopt;
}

void check_rule(Connection& connection, const Rule& rule, std::vector<Found_Fault>& found) {
  Rows rows(connection, rule.statement);
  while (has_room(found) && rows.next()) {
    add(found, rule.fault, rows.number(0), rule.text);
    found.back().value = value_in(rows, 1);
  }
}

void check_names(Connection& connection, std::vector<Found_Fault>& found) {
  Rows rows(connection, "SELECT kind, parent, name, folded, class, key FROM node");
  constexpr int kind = 0;
  constexpr int name = 2;
  constexpr int key = 5;
  constexpr std::int64_t kind_of_values = 1;
  while (has_room(found) && rows.next()) {
    const char* fault = fault_of_names(rows);
    if (fault == nullptr) continue;
    add(found, Fault::name, rows.number(key), fault);
    if (rows.number(kind) == kind_of_values) found.back().value = units_of(rows.text(name));
  }
}

// Where pages are damaged, tables say nothing that can be relied on.
void check_content(Connection& connection, std::vector<Found_Fault>& found) {
  for (const Rule& rule : rules) {
    if (connection.status() == Status::ok) check_rule(connection, rule, found);
  }
  if (connection.status() == Status::ok) check_names(connection, found);
}

// Nothing where no root leads to the key. A hive that is damaged may lead upwards for ever.
std::optional<std::u16string> path_of(Connection& connection, std::int64_t key) {
  std::u16string path;
  for (int depth = 0; depth <= max_key_depth; ++depth) {
    Statement ask(connection, Query::key_place);
    if (!ask.bind(1, key).row()) return std::nullopt;
    const bool is_root = ask.is_null(0);
    const std::u16string name = is_root && key == users_key ? u"HKEY_USERS" : units_of(ask.text(1));
    path.insert(0, path.empty() || name.empty() ? name : name + u'\\');
    if (is_root) return path;
    key = ask.number(0);
  }
  return std::nullopt;
}

void count_content(Connection& connection, Hive_Counts* out) {
  Rows counts(connection,
              "SELECT count(*) FILTER (WHERE kind = 0), count(*) FILTER (WHERE kind = 0 AND boot IS NOT NULL), "
              "count(*) FILTER (WHERE kind = 1), total(size) FILTER (WHERE kind = 1) FROM node");
  if (!counts.next()) return;
  const auto number = [&](int column) { return static_cast<std::uint64_t>(counts.number(column)); };
  *out = {number(0), number(1), number(2), number(3)};
}

}  // namespace

Status check_hive(Connection& connection, std::vector<Found_Fault>* out, Hive_Counts* out_counts) {
  check_structure(connection, *out);
  const bool is_readable = out->empty() && connection.status() == Status::ok;
  if (is_readable) check_content(connection, *out);
  if (is_readable && out_counts != nullptr) count_content(connection, out_counts);
  if (is_readable) {
    for (Found_Fault& fault : *out) fault.path = fault.key == 0 ? std::nullopt : path_of(connection, fault.key);
  }
  if (connection.status() != Status::ok && out->empty()) {
    add(*out, Fault::structure, 0, text_of(connection.failure()));
  }
  return connection.status();
}

}  // namespace hive
