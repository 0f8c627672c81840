#include "hive/load.h"

#include "hive/keys.h"
#include "hive/registry.h"
#include "hive/store/schema.h"
#include "hive/tree_copy.h"

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
  status = remove_content(connection, key);
  if (status != Status::ok) return status;
  Tree_Writer writer(connection, key, static_cast<std::size_t>(depth_of(connection, key)));
  std::string reason;
  status = source.read([&](Connection& from) { return walk_tree(from, root_key, writer); }, &reason);
  if (status != Status::ok || row.parent == 0) return status;
  return note_changed_class(connection, row.parent);
}

}  // namespace hive
