#include "hive/load.h"

#include "hive/keys.h"
#include "hive/registry.h"
#include "hive/store/schema.h"
#include "hive/store/statement.h"
#include "hive/tree_copy.h"
#include "hive/watch/change_log.h"

namespace hive {

Status load_tree(Connection& connection, std::int64_t at, std::u16string_view path, Foreign_Hive& source) {
  std::int64_t key = 0;
  bool created = false;
  Status status = create_key(connection, at, path, Creation{}, &key, &created);
  if (status != Status::ok) return status;
  Key_Row row;
  status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  if (row.is_volatile) return Status::must_be_volatile;
  log_replacement(connection, key);
  status = remove_content(connection, key);
  if (status != Status::ok) return status;
  Tree_Writer writer(connection, key, static_cast<std::size_t>(depth_of(connection, key)));
  std::string reason;
  status = source.read([&](Connection& from) { return walk_tree(from, root_key, writer); }, &reason);
  if (status == Status::ok && (created || (row.flags & key_flag_loaded) != 0)) {
    status = Statement(connection, Query::mark_loaded).bind(1, key).bind(2, key_flag_loaded).run();
  }
  if (status != Status::ok || row.parent == 0) return status;
  return note_changed_class(connection, row.parent);
}

Status unload_tree(Connection& connection, std::int64_t key) {
  Key_Row row;
  const Status status = read_key(connection, key, &row);
  if (status != Status::ok) return status;
  if (row.parent == 0) return Status::denied;
  return (row.flags & key_flag_loaded) == 0 ? Status::invalid : remove_tree(connection, key);
}

}  // namespace hive
