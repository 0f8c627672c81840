// The users of the machine in one hive: each has a key below its root, named by his SID.
#include <unistd.h>

#include "hive/keys.h"
#include "hive/name.h"
#include "hive/registry.h"
#include "hive/registry_parts.h"
#include "hive/store/schema.h"
#include "hive/store/statement.h"
#include "hive/user_name.h"

namespace hive {
namespace {

constexpr std::uint32_t owner_may_all = 0700;

std::int64_t parent_of(Connection& connection, std::int64_t key) {
  Statement up(connection, Query::parent_of);
  return up.bind(1, key).row() ? up.number(0) : 0;
}

}  // namespace

std::u16string name_of_user(uid_t user) { return units_of("S-1-5-21-0-0-0-" + std::to_string(user)); }

Status Registry::Parts::user_key(uid_t user, gid_t group, Key* out) {
  const std::shared_ptr<Hive> users = hives.users();
  const std::u16string name = name_of_user(user);
  const Creation creation{.class_name = {}, .owner = user, .group = group, .mode = owner_may_all};
  std::int64_t number = 0;
  Hive_Identity identity{};
  std::shared_ptr<const Batch_Part> made_in;
  const auto note = [&](Connection& connection) {
    identity = connection.identity;
    if (connection.is_in_batch()) made_in = connection.part_of(number);
  };
  Status status = users->read([&](Connection& connection) {
    const Status found = find_key(connection, root_key, name, &number);
    note(connection);
    return found;
  });
  if (status == Status::not_found) {
    status = users->write([&](Connection& connection) {
      bool created = false;
      const Status made = create_key(connection, root_key, name, creation, &number, &created);
      note(connection);
      return made;
    });
  }
  if (status == Status::ok) *out = std::make_shared<Open_Key>(users, number, identity, made_in);
  return status;
}

Status Registry::Parts::second_root(Key* out) {
  std::shared_ptr<Hive> users = hives.users();
  if (users == nullptr) return user_root(out);
  *out = std::make_shared<Open_Key>(std::move(users), root_key);
  return Status::ok;
}

// The keys of the machine hive come first.
Status Registry::Parts::start_of_users(Start* start) {
  std::int64_t number = 0;
  const std::u16string_view first = Path_Parts(start->path).next();
  const Status status =
      hives.users()->read([&](Connection& connection) { return find_key(connection, root_key, first, &number); });
  if (status == Status::not_found || status == Status::invalid) return Status::ok;
  return status == Status::ok ? second_root(&start->key) : status;
}

bool Registry::Parts::is_user_key(const Key& at, Connection& connection, std::int64_t number) {
  return hives.users_if_used() == at->hive && parent_of(connection, number) == root_key;
}

Status Registry::open_user(uid_t user, gid_t group, Key* out_key) {
  if (parts_->hives.users() != nullptr) return parts_->user_key(user, group, out_key);
  return user == geteuid() ? parts_->user_root(out_key) : Status::denied;
}

}  // namespace hive
