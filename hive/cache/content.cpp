#include "hive/cache/content.h"

#include <algorithm>
#include <mutex>

#include "hive/cache/answers.h"
#include "hive/cache/cached_look.h"
#include "hive/cache/fill.h"
#include "hive/enumerate.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/statement.h"
#include "hive/text_out.h"
#include "hive/values.h"

namespace hive {
namespace {

constexpr std::uint32_t first_part_size = 8;
constexpr std::uint32_t last_part_size = 256;

Status show_info(const Node& node, Text_Out* class_name, Key_Info* out) {
  *out = {node.facts.counts, node.facts.rights};
  return class_name == nullptr || put_units(node.facts.class_name, *class_name) ? Status::ok : Status::more_data;
}

Status show_row(Connection& connection, const Key_Row& row, std::int64_t key, Key_Info* out) {
  out->counts = {row.children,       row.max_child_units, row.max_class_units, row.values, row.max_value_name_units,
                 row.max_value_size, row.written};
  out->rights = {row.mode, row.owner, row.group};
  if (connection.shows_volatile) return Status::ok;
  Statement count(connection, Query::lasting_child_counts);
  if (!count.bind(1, key).row()) return connection.status();
  out->counts.sub_keys = count.number32(0);
  out->counts.max_sub_key_units = count.number32(1);
  out->counts.max_class_units = count.number32(2);
  return Status::ok;
}

Status read_info(Connection& connection, std::int64_t key, Text_Out* class_name, Key_Info* out) {
  Key_Row row;
  const Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  show_row(connection, row, key, out);
  return class_name == nullptr || put_text(row.class_name, *class_name) ? Status::ok : Status::more_data;
}

// Who goes on through a list that is too long to be kept gets ever longer parts of it. Nothing for who does not.
std::optional<Status> answer_from_next_part(Connection& connection, std::int64_t key, const Node& node,
                                            std::uint32_t index, Position& position, Text_Out& name,
                                            Text_Out* class_name, std::int64_t* out_child) {
  const std::lock_guard lock(position.lock);
  const bool goes_on = position.is_set && index == position.index + 1;
  if (index != 0 && !goes_on) return std::nullopt;
  const std::string after = index == 0 ? std::string() : stored_form(position.folded);
  const std::uint32_t longer = std::clamp(position.part_size * 2, first_part_size, last_part_size);
  position.part_size = index == 0 ? first_part_size : longer;
  position.part = read_children(connection, key, after, position.part_size);
  if (connection.status() != Status::ok) return connection.status();
  if (position.part->size() == 0) return Status::no_more_items;
  const Cached_Child& child = (*position.part)[0];
  position.set(index, position.part->folded(child), node.facts.seq, 0);
  *out_child = child.number;
  return show_child(*position.part, child, name, class_name);
}

}  // namespace

std::optional<Status> Registry::known_value(const Read_Section& section, const Open_Key& key, std::u16string_view name,
                                            Value_Out& value) {
  const Cached_Look look(section, key);
  const Node* node = look.node();
  return node == nullptr ? std::nullopt : answer_value(*node, name, value);
}

std::uint64_t Registry::known_state(const Key& key) {
  const Read_Section section;
  const Coherence* coherence = key->hive == nullptr ? nullptr : key->hive->coherence();
  const View* view = coherence == nullptr ? nullptr : coherence->current();
  return view == nullptr ? 0 : view->generation;
}

Status find_value(Connection& connection, std::int64_t key, std::u16string_view name, Value_Out& value) {
  if (!connection.keeping.allowed) return read_value(connection, key, name, value);
  const Read_Section section;
  const Node* node = nullptr;
  const Status status = find_node(connection, key, Part::values, &node);
  if (status != Status::ok) return status;
  const std::optional<Status> known = answer_value(*node, name, value);
  return known ? *known : read_value(connection, key, name, value);
}

std::optional<Status> known_value_at(Open_Key& key, std::uint32_t index, Text_Out* name, Value_Out& value) {
  const Read_Section section;
  const Cached_Look look(section, key);
  const Node* node = look.node();
  return node == nullptr ? std::nullopt : answer_value_at(*node, index, key.values, name, value);
}

Status find_value_at(Connection& connection, std::int64_t key, std::uint32_t index, Position& position, Text_Out* name,
                     Value_Out& value) {
  if (!connection.keeping.allowed) return enumerate_value(connection, key, index, position, name, value);
  const Read_Section section;
  const Node* node = nullptr;
  const Status status = find_node(connection, key, index > 0 ? Part::all_values : Part::values, &node);
  if (status != Status::ok) return status;
  const std::optional<Status> known = answer_value_at(*node, index, position, name, value);
  return known ? *known : enumerate_value(connection, key, index, position, name, value);
}

std::optional<Status> known_child_at(Open_Key& key, std::uint32_t index, Text_Out& name, Text_Out* class_name,
                                     std::uint64_t* out_last_write_time) {
  const Read_Section section;
  const Cached_Look look(section, key);
  const Node* node = look.node();
  std::int64_t child = 0;
  if (node == nullptr) return std::nullopt;
  const std::optional<Status> known = answer_child_at(*node, index, key.keys, name, class_name, &child);
  if (!known || child == 0 || out_last_write_time == nullptr) return known;
  const Node* of_child = look.node(child);
  if (of_child == nullptr || !look.still_holds()) return std::nullopt;
  *out_last_write_time = of_child->facts.counts.last_write_time;
  return known;
}

Status find_child_at(Connection& connection, std::int64_t key, std::uint32_t index, Position& position, Text_Out& name,
                     Text_Out* class_name, std::uint64_t* out_last_write_time) {
  if (!connection.keeping.allowed) {
    return enumerate_key(connection, key, index, position, name, class_name, out_last_write_time);
  }
  const Read_Section section;
  const Node* node = nullptr;
  Status status = find_node(connection, key, index > 0 ? Part::all_children : Part::children, &node);
  if (status != Status::ok) return status;
  std::int64_t child = 0;
  std::optional<Status> known = answer_child_at(*node, index, position, name, class_name, &child);
  if (!known) known = answer_from_next_part(connection, key, *node, index, position, name, class_name, &child);
  if (!known) return enumerate_key(connection, key, index, position, name, class_name, out_last_write_time);
  if (child == 0 || out_last_write_time == nullptr) return *known;
  status = find_node(connection, child, Part::facts, &node);
  if (status != Status::ok) return connection.failed_or(Status::damaged);
  *out_last_write_time = node->facts.counts.last_write_time;
  return *known;
}

std::optional<Status> known_info(const Open_Key& key, Text_Out* class_name, Key_Info* out) {
  const Read_Section section;
  const Cached_Look look(section, key);
  const Node* node = look.node();
  return node == nullptr ? std::nullopt : std::optional(show_info(*node, class_name, out));
}

Status find_info(Connection& connection, std::int64_t key, Text_Out* class_name, Key_Info* out) {
  if (!connection.keeping.allowed) return read_info(connection, key, class_name, out);
  const Read_Section section;
  const Node* node = nullptr;
  const Status status = find_node(connection, key, Part::facts, &node);
  return status == Status::ok ? show_info(*node, class_name, out) : status;
}

}  // namespace hive
