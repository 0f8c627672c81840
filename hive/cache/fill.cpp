#include "hive/cache/fill.h"

#include <sqlite3.h>

#include "hive/cache/node_cache.h"
#include "hive/name.h"
#include "hive/store/statement.h"

namespace hive {
namespace {

Status read_facts(Connection& connection, std::int64_t key, Key_Facts* out) {
  Statement get(connection, Query::key_facts);
  if (!get.bind(1, key).row()) return connection.failed_or(Status::key_deleted);
  out->seq = get.number(0);
  out->counts = {get.number32(1),
                 get.number32(2),
                 get.number32(3),
                 get.number32(4),
                 get.number32(5),
                 get.number32(6),
                 static_cast<std::uint64_t>(get.number(7))};
  out->rights = {get.number32(8), get.number32(9), get.number32(10)};
  out->class_name = units_of(get.text(11));
  return Status::ok;
}

// Null when they are too much to be kept.
std::shared_ptr<const Value_Names> read_values(Connection& connection, std::int64_t key) {
  auto values = std::make_shared<Value_Names>();
  Statement get(connection, Query::kept_values);
  get.bind(1, key).bind(2, max_kept_value_size);
  while (get.row()) {
    Cached_Value& value = values->add(units_of(get.text(0)));
    value.type = get.number32(1);
    value.size = get.number32(2);
    const std::string_view data = get.data(3);
    if (value.size <= max_kept_value_size && data.size() == value.size) values->keep_data(value, data);
    if (values->memory() > max_kept_memory) return nullptr;
  }
  values->finish();
  return values;
}

bool has_same_seq(Connection& connection, std::int64_t key, const Node& node) {
  Statement ask(connection, Query::key_seq);
  return ask.bind(1, key).row() && ask.number(0) == node.facts.seq;
}

bool is_current(Connection& connection, std::int64_t key, const Node& node) {
  if (node.is_of(connection.keeping.generation)) return true;
  if (!has_same_seq(connection, key, node)) return false;
  node.found_true_in(connection.keeping.generation);
  return true;
}

// The node that is held, unless it is not true any more.
const Node* find_current(Connection& connection, std::int64_t key) {
  Node_Cache& cache = Node_Cache::of_process();
  const Node* node = cache.find(connection.keeping.hive, key);
  if (node == nullptr || is_current(connection, key, *node)) return node;
  cache.drop(connection.keeping.hive, key);
  return nullptr;
}

bool is_worth_reading(Connection& connection, std::int64_t key, bool all, std::uint32_t rows, std::uint32_t most) {
  if (rows > most) return false;
  return all || Node_Cache::of_process().worth_reading(connection.keeping.hive, key, rows);
}

bool reads_values(Connection& connection, std::int64_t key, Part wanted, const Node& node) {
  if (node.values() != nullptr || node.values_are_too_much || !(wanted == Part::values || wanted == Part::all_values))
    return false;
  return is_worth_reading(connection, key, wanted == Part::all_values, node.facts.counts.values, max_kept_values);
}

bool reads_children(Connection& connection, std::int64_t key, Part wanted, const Node& node) {
  if (node.children != nullptr || !(wanted == Part::children || wanted == Part::all_children)) return false;
  return is_worth_reading(connection, key, wanted == Part::all_children, node.facts.counts.sub_keys, max_kept_children);
}

// A list that is not as long as the key's row says is not whole, and must not be kept.
void check_length(Connection& connection, std::size_t found, std::uint32_t expected) {
  if (found != expected) connection.note(SQLITE_CORRUPT);
}

bool reads_more(Connection& connection, std::int64_t key, Part wanted, const Node& node) {
  return reads_values(connection, key, wanted, node) || reads_children(connection, key, wanted, node);
}

void read_part(Connection& connection, std::int64_t key, Part wanted, Node& node) {
  if (reads_values(connection, key, wanted, node)) {
    node.set_values(read_values(connection, key));
    node.values_are_too_much = node.values() == nullptr;
    if (!node.values_are_too_much) check_length(connection, node.values()->size(), node.facts.counts.values);
  } else if (reads_children(connection, key, wanted, node)) {
    node.children = read_children(connection, key, {}, max_kept_children + 1);
    check_length(connection, node.children->size(), node.facts.counts.sub_keys);
  }
}

}  // namespace

Status find_node(Connection& connection, std::int64_t key, Part wanted, const Node** out) {
  const Node* node = find_current(connection, key);
  std::unique_ptr<Node> fresh;
  if (node != nullptr && reads_more(connection, key, wanted, *node)) {
    // What was true under the head may be older than this transaction: parts of one node are of one moment.
    if (has_same_seq(connection, key, *node)) fresh = node->copy();
    node = nullptr;
  }
  if (node == nullptr) {
    if (fresh == nullptr) {
      fresh = std::make_unique<Node>();
      const Status status = read_facts(connection, key, &fresh->facts);
      if (status != Status::ok) return status;
    }
    read_part(connection, key, wanted, *fresh);
    if (connection.status() != Status::ok) return connection.status();
    fresh->found_true_in(connection.keeping.generation);
    node = Node_Cache::of_process().put(connection.keeping.hive, key, std::move(fresh));
  }
  *out = node;
  return Status::ok;
}

std::shared_ptr<const Child_Names> read_children(Connection& connection, std::int64_t key, std::string_view after,
                                                 std::uint32_t most) {
  auto children = std::make_shared<Child_Names>();
  Statement get(connection, Query::children_after);
  get.bind(1, key).bind(2, after).bind(3, most);
  while (get.row()) {
    const std::u16string class_name = units_of(get.text(2));
    Cached_Child& child = children->add(units_of(get.text(0)));
    child.number = get.number(1);
    child.class_units = static_cast<std::uint32_t>(class_name.size());
    child.class_at = children->add_text(class_name);
  }
  children->finish();
  return children;
}

}  // namespace hive
