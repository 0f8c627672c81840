#include "hive/hive_content.h"

#include "hive/clock.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/meta.h"
#include "hive/store/schema.h"

namespace hive {
namespace {

constexpr std::string_view default_user_name = ".DEFAULT";

}  // namespace

bool machine_is_incomplete(Connection& connection) { return check_key(connection, users_key) == Status::key_deleted; }

Status fill_machine(Connection& connection, Findings&) {
  Key_Row root;
  Status status = read_key(connection, root_key, &root);
  if (status != Status::ok) return connection.failed_or(Status::damaged);
  std::uint64_t now = file_time_now();
  std::string folded = folded_form(units_of(default_user_name));
  insert_key_as(connection, users_key, {0, "", "", "", now, root.mode, root.owner, root.group, 0, false});
  insert_key_as(connection, default_user_key,
                {users_key, default_user_name, folded, "", now, root.mode, root.owner, root.group, 0, false});
  count_children_anew(connection, users_key);
  return set_meta(connection, "fresh", 0);
}

bool users_are_incomplete(Connection& connection) { return meta_number(connection, "fresh") != 0; }

Status fill_users(Connection& connection, Findings&) { return set_meta(connection, "fresh", 0); }

}  // namespace hive
