#include "hive/check.h"

#include "hive/check_names.h"
#include "hive/store/rows.h"

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

void check_rule(Connection& connection, const Rule& rule, std::vector<Found_Fault>& found) {
  Rows rows(connection, rule.statement);
  while (has_room(found) && rows.next()) add(found, rule.fault, rows.number(0), rule.text);
}

void check_names(Connection& connection, std::vector<Found_Fault>& found) {
  Rows rows(connection, "SELECT kind, parent, name, folded, class, key FROM node");
  constexpr int key = 5;
  while (has_room(found) && rows.next()) {
    const char* fault = fault_of_names(rows);
    if (fault != nullptr) add(found, Fault::name, rows.number(key), fault);
  }
}

// Where pages are damaged, tables say nothing that can be relied on.
void check_content(Connection& connection, std::vector<Found_Fault>& found) {
  for (const Rule& rule : rules) {
    if (connection.status() == Status::ok) check_rule(connection, rule, found);
  }
  if (connection.status() == Status::ok) check_names(connection, found);
}

}  // namespace

Status check_hive(Connection& connection, std::vector<Found_Fault>* out) {
  check_structure(connection, *out);
  if (out->empty() && connection.status() == Status::ok) check_content(connection, *out);
  if (connection.status() != Status::ok && out->empty()) {
    add(*out, Fault::structure, 0, text_of(connection.failure()));
  }
  return connection.status();
}

}  // namespace hive
