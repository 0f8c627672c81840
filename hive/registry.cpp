// The roots, and finding, making and removing keys below them.
#include "hive/registry.h"

#include <optional>

#include "hive/cache/cached_path.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/registry_parts.h"
#include "hive/store/flush.h"
#include "hive/store/schema.h"

namespace hive {
namespace {

constexpr std::u16string_view classes_path = u"Software\\Classes";
constexpr std::u16string_view current_config_path = u"System\\CurrentControlSet\\Hardware Profiles\\Current";

// A key as a transaction has found it.
struct Found {
  std::int64_t number = 0;
  Hive_Identity identity{};
  std::shared_ptr<const Batch_Part> made_in = nullptr;
};

Key open_key(const Key& at, const Found& found) {
  return std::make_shared<Open_Key>(at->hive, found.number, found.identity, found.made_in);
}

// As far as memory can tell.
std::optional<Status> known_key(const Open_Key& at, std::u16string_view path, Found* out) {
  const Read_Section section;
  const Cached_Look look(section, at);
  std::int64_t number = 0;
  if (!look.number(&number)) return std::nullopt;
  out->identity = look.identity();
  return find_path(look, number, path, &out->number);
}

// The path is the key itself again, as the root that it is.
bool is_same_root(const Key& at, std::u16string_view path) {
  return at->place != Place::key && !Path_Parts(path).more();
}

Key same_root(const Key& at) { return std::make_shared<Open_Key>(at->hive, at->number, at->place, at->path); }

}  // namespace

Registry::Registry(std::unique_ptr<Locations> locations, Complain complain)
    : parts_(std::make_unique<Parts>(std::move(locations), complain)) {}

Registry::~Registry() = default;

Status Registry::open_root(Root root, Key* out_key) {
  if (root == Root::current_user) return parts_->user_root(out_key);
  if (root == Root::performance) {
    *out_key = std::make_shared<Open_Key>(nullptr, 0, Place::nothing);
    return Status::ok;
  }
  std::shared_ptr<Hive> machine = parts_->hives.machine();
  if (machine == nullptr) return Status::io_failed;
  if (root == Root::users) {
    *out_key = std::make_shared<Open_Key>(std::move(machine), users_key, Place::users);
  } else if (root == Root::machine) {
    *out_key = std::make_shared<Open_Key>(std::move(machine), root_key);
  } else {
    std::u16string_view path = root == Root::classes ? classes_path : current_config_path;
    *out_key = std::make_shared<Open_Key>(std::move(machine), root_key, Place::by_path, path);
  }
  return Status::ok;
}

Status Registry::open(const Key& at, std::u16string_view path, Key* out_key) {
  Parts::Start start;
  Status status = parts_->start_of(at, path, &start);
  if (status != Status::ok) return status;
  if (start.key->place == Place::nothing && !is_same_root(start.key, start.path)) return Status::not_found;
  if (is_same_root(start.key, start.path)) {
    *out_key = same_root(start.key);
    return Status::ok;
  }
  Found found;
  if (const std::optional<Status> known = known_key(*start.key, start.path, &found)) {
    status = *known;
  } else {
    status = parts_->read(start.key, [&](Connection& connection, std::int64_t key) {
      found.identity = connection.identity;
      const Status status_of_path = find_path(connection, key, start.path, &found.number);
      if (connection.is_in_batch()) found.made_in = connection.part_of(found.number);
      return status_of_path;
    });
  }
  if (status == Status::ok) *out_key = open_key(start.key, found);
  return status;
}

// What stands is opened without writing, unless it is likely that nothing does.
Status Registry::create(const Key& at, std::u16string_view path, const Creation& creation, Key* out_key,
                        bool* out_created) {
  *out_created = false;
  const bool opens_first = !at->makes_keys.load(std::memory_order_relaxed);
  if (opens_first) {
    const Status opened = open(at, path, out_key);
    if (opened != Status::not_found) return opened;
  }
  const Status made = make(at, path, creation, out_key, out_created);
  const bool has_made = made == Status::ok && *out_created;
  if (has_made == opens_first) at->makes_keys.store(has_made, std::memory_order_relaxed);
  if (made == Status::ok || opens_first) return made;
  const Status opened = open(at, path, out_key);
  return opened == Status::not_found ? made : opened;
}

Status Registry::make(const Key& at, std::u16string_view path, const Creation& creation, Key* out_key,
                      bool* out_created) {
  Parts::Start start;
  Status status = parts_->start_of(at, path, &start);
  if (status != Status::ok) return status;
  if (start.key->place == Place::nothing || Parts::is_users_own(start)) return Status::denied;
  bool in_users = start.key->place == Place::users;
  Found found;
  status = parts_->write(start.key, [&](Connection& connection, std::int64_t key) {
    std::u16string_view first = Path_Parts(start.path).next();
    if (in_users && find_key(connection, key, first, &found.number) == Status::not_found) return Status::denied;
    found.identity = connection.identity;
    const Status status_of_key = create_key(connection, key, start.path, creation, &found.number, out_created);
    if (connection.is_in_batch()) found.made_in = connection.part_of(found.number);
    if (!*out_created) connection.note_no_key_changed();
    return status_of_key;
  });
  if (status == Status::ok) *out_key = open_key(start.key, found);
  return status;
}

Status Registry::remove(const Key& at, std::u16string_view path) {
  Parts::Start start;
  Status status = parts_->start_of(at, path, &start);
  if (status != Status::ok) return status;
  if (is_same_root(start.key, start.path)) return Status::denied;
  if (start.key->place == Place::nothing) return Status::not_found;
  bool is_protected = Parts::is_users_own(start);
  return parts_->write(start.key, [&](Connection& connection, std::int64_t key) {
    std::int64_t number = 0;
    Status found = find_key(connection, key, start.path, &number);
    if (found != Status::ok) return found;
    if (is_protected || parts_->is_user_key(start.key, connection, number)) return Status::denied;
    return remove_key(connection, number);
  });
}

Status Registry::rename(const Key& at, std::u16string_view path, std::u16string_view name) {
  Parts::Start start;
  Status status = parts_->start_of(at, path, &start);
  if (status != Status::ok) return status;
  if (is_same_root(start.key, start.path)) return Status::denied;
  if (start.key->place == Place::nothing) return Status::not_found;
  return parts_->write(start.key, [&](Connection& connection, std::int64_t key) {
    std::int64_t number = 0;
    const Status found = find_key(connection, key, start.path, &number);
    if (found == Status::ok && parts_->is_user_key(start.key, connection, number)) return Status::denied;
    return found == Status::ok ? rename_key(connection, number, name) : found;
  });
}

Status Registry::flush(const Key& key) {
  return key->place == Place::nothing ? Status::ok : key->hive->use(&flush_to_disk);
}

}  // namespace hive
