#include "hive/cache/cached_path.h"

#include "hive/cache/fill.h"
#include "hive/cache/found_children.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

// A sub-key as far as memory knows it: its number, 0 for none; nothing when it cannot tell.
std::optional<std::int64_t> child_in(const Node& parent, std::uint64_t hive, const Folded_Name& name) {
  if (parent.children != nullptr) {
    const Cached_Child* child = parent.children->find(name);
    return child == nullptr ? 0 : child->number;
  }
  if (parent.facts.counts.sub_keys == 0) return 0;
  const std::int64_t number = Found_Children::of_process().find({hive, parent.facts.seq}, name);
  return number == 0 ? std::nullopt : std::optional(number);
}

std::int64_t read_child(Connection& connection, std::int64_t parent, const Node& node, const Folded_Name& name) {
  std::int64_t number = 0;
  {
    const std::string folded = stored_form(name.units());
    Statement find(connection, Query::find_child);
    if (find.bind(1, parent).bind(2, folded).row()) number = find.number(0);
  }
  if (number != 0) Found_Children::of_process().put({connection.keeping.hive, node.facts.seq}, name, number);
  return number;
}

Status find_child(Connection& connection, std::int64_t parent, std::u16string_view part, std::int64_t* out) {
  if (part.size() > max_key_name_units) return Status::invalid;
  const Node* node = nullptr;
  const Status status = find_node(connection, parent, Part::children, &node);
  if (status != Status::ok) return status;
  const Folded_Name name(part);
  const std::optional<std::int64_t> known = child_in(*node, connection.keeping.hive, name);
  *out = known ? *known : read_child(connection, parent, *node, name);
  return *out != 0 ? connection.status() : connection.failed_or(Status::not_found);
}

}  // namespace

static_assert(max_key_name_units <= Folded_Name::max_units);

std::optional<Status> find_path(const Cached_Look& look, std::int64_t at, std::u16string_view path, std::int64_t* out) {
  Path_Parts parts(path);
  const Node* node = look.node(at);
  for (;;) {
    if (node == nullptr) return std::nullopt;
    if (!parts.more()) break;
    const std::u16string_view part = parts.next();
    if (part.size() > max_key_name_units) return Status::invalid;
    const std::optional<std::int64_t> child = child_in(*node, look.hive(), Folded_Name(part));
    if (!child) return std::nullopt;
    if (*child == 0) return look.still_holds() ? std::optional(Status::not_found) : std::nullopt;
    at = *child;
    if (!parts.more()) break;
    node = look.node(at);
  }
  *out = at;
  return look.still_holds() ? std::optional(Status::ok) : std::nullopt;
}

Status find_path(Connection& connection, std::int64_t at, std::u16string_view path, std::int64_t* out) {
  if (!connection.keeping.allowed) return find_key(connection, at, path, out);
  Read_Section section;
  Path_Parts parts(path);
  if (!parts.more()) {
    const Node* node = nullptr;
    *out = at;
    return find_node(connection, at, Part::facts, &node);
  }
  Status status = Status::ok;
  while (status == Status::ok && parts.more()) status = find_child(connection, at, parts.next(), &at);
  *out = at;
  return status;
}

}  // namespace hive
