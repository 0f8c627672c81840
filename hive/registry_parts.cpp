#include "hive/registry_parts.h"

#include <unistd.h>

#include "hive/cache/cached_path.h"
#include "hive/case_fold.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/schema.h"
#include "hive/user_name.h"

namespace hive {
namespace {

Status make_by_path(const Open_Key& key) {
  return key.hive->write([&](Connection& connection) {
    std::int64_t number = 0;
    bool created = false;
    return create_key(connection, key.number, key.path, Creation{}, &number, &created);
  });
}

// Whether a key was found in another hive than the one that stands at the path now.
bool is_of_another_hive(const Connection& connection, const Open_Key& key) {
  return key.identity != Hive_Identity{} && key.identity != connection.identity;
}

// A root that is a path may be missing: *out_missing, with not_found.
Status number_of(Connection& connection, const Open_Key& key, std::int64_t* out, bool* out_missing) {
  *out = key.number;
  if (key.is_lost() || is_of_another_hive(connection, key)) return Status::key_deleted;
  if (key.place != Place::by_path) return Status::ok;
  Status status = find_path(connection, key.number, key.path, out);
  *out_missing = status == Status::not_found;
  return status;
}

}  // namespace

Registry::Parts::Parts(std::unique_ptr<Locations> locations, Complain complain)
    : hives(std::move(locations), complain), user_name(name_of_user(geteuid())) {}

Status Registry::Parts::read(const Key& key, Work work) {
  bool missing = false;
  auto body = [&](Connection& connection) {
    std::int64_t number = 0;
    missing = false;
    Status status = number_of(connection, *key, &number, &missing);
    return status == Status::ok ? work(connection, number) : status;
  };
  Status status = key->hive->read(body);
  if (!missing) return status;
  // Who may not make it finds nothing there.
  status = make_by_path(*key);
  if (status == Status::denied) return Status::not_found;
  return status == Status::ok ? key->hive->read(body) : status;
}

Status Registry::Parts::write(const Key& key, Work work) {
  bool missing = false;
  auto body = [&](Connection& connection) {
    std::int64_t number = 0;
    missing = false;
    Status status = number_of(connection, *key, &number, &missing);
    return status == Status::ok ? work(connection, number) : status;
  };
  Status status = key->hive->write(body);
  if (!missing) return status;
  status = make_by_path(*key);
  return status == Status::ok ? key->hive->write(body) : status;
}

Status Registry::Parts::start_of(const Key& at, std::u16string_view path, Start* out) {
  *out = {at, path};
  Path_Parts parts(path);
  if (at->place != Place::users || !parts.more()) return Status::ok;
  if (hives.users() != nullptr) return start_of_users(out);
  if (fold_case(parts.next()) != fold_case(user_name)) return Status::ok;
  out->path = parts.rest();
  return user_root(&out->key);
}

bool Registry::Parts::is_users_own(const Start& start) {
  Path_Parts parts(start.path);
  if (parts.more()) parts.next();
  return start.key->place == Place::users && !parts.more();
}

Status Registry::Parts::user_root(Key* out) {
  if (hives.users() != nullptr) return user_key(geteuid(), getegid(), out);
  std::shared_ptr<Hive> user = hives.user();
  if (user == nullptr) return Status::io_failed;
  *out = std::make_shared<Open_Key>(std::move(user), root_key);
  return Status::ok;
}

}  // namespace hive
