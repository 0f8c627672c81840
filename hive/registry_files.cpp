// Keys and hives as files of their own: saving a key, backing up the hives.
#include <unistd.h>

#include "hive/backup.h"
#include "hive/check.h"
#include "hive/foreign_hive.h"
#include "hive/keys.h"
#include "hive/load.h"
#include "hive/name.h"
#include "hive/registry.h"
#include "hive/registry_parts.h"
#include "hive/save.h"

namespace hive {
namespace {

// Files are read with some hive's mutex held, which a fork waits for: here that of a hive which nobody else uses.
Hive& workshop() {
  static Hive& hive = *new Hive({}, {}, nullptr);
  return hive;
}

Status check_foreign(Foreign_Hive& file, std::vector<Found_Fault>* out, Hive_Counts* out_counts) {
  return workshop().use([&](Connection&) {
    std::string reason;
    Status status = file.read([&](Connection& connection) { return check_hive(connection, out, out_counts); }, &reason);
    if (status == Status::damaged && out->empty()) out->push_back({Fault::structure, 0, reason});
    return status;
  });
}

}  // namespace

Status Registry::save(const Key& key, const std::string& file) {
  if (key->place == Place::nothing) return Status::denied;
  New_Hive_File target(file);
  Status status = target.make();
  if (status != Status::ok) return status;
  status = parts_->read(
      key, [&](Connection& connection, std::int64_t number) { return target.write_tree(connection, number); });
  return status == Status::ok ? target.keep() : status;
}

// The file is looked through before the hive is locked for other writers.
Status Registry::load(const Key& at, std::u16string_view path, const std::string& file) {
  Parts::Start start;
  Status status = parts_->start_of(at, path, &start);
  if (status != Status::ok) return status;
  bool is_users = start.key->place == Place::users;
  std::u16string_view first = Path_Parts(start.path).next();
  if (start.key->place == Place::nothing || (is_users && first.empty())) return Status::denied;
  Foreign_Hive source;
  std::vector<Found_Fault> faults;
  status = source.find(file);
  if (status == Status::ok) status = check_foreign(source, &faults, nullptr);
  if (status == Status::ok && !faults.empty()) status = Status::damaged;
  if (status != Status::ok) return status;
  return parts_->write(start.key, [&](Connection& connection, std::int64_t key) {
    std::int64_t known = 0;
    if (is_users && find_key(connection, key, first, &known) == Status::not_found) return Status::denied;
    Savepoint savepoint(connection);
    const Status loaded = load_tree(connection, key, start.path, source);
    if (loaded == Status::ok) savepoint.keep();
    return loaded;
  });
}

Status Registry::unload(const Key& at, std::u16string_view path) {
  Parts::Start start;
  Status status = parts_->start_of(at, path, &start);
  if (status != Status::ok) return status;
  if (start.key->place == Place::nothing) return Status::not_found;
  return parts_->write(start.key, [&](Connection& connection, std::int64_t key) {
    std::int64_t number = 0;
    const Status found = find_key(connection, key, start.path, &number);
    return found == Status::ok ? unload_tree(connection, number) : found;
  });
}

Status Registry::check(const Key& key, std::vector<Found_Fault>* out, Hive_Counts* out_counts) {
  out->clear();
  if (out_counts != nullptr) *out_counts = {};
  if (key->place == Place::nothing) return Status::ok;
  return key->hive->read([&](Connection& connection) {
    out->clear();
    return check_hive(connection, out, out_counts);
  });
}

Status Registry::check_file(const std::string& file, std::vector<Found_Fault>* out, Hive_Counts* out_counts) {
  out->clear();
  if (out_counts != nullptr) *out_counts = {};
  Foreign_Hive source;
  Status status = source.find(file);
  return status == Status::ok ? check_foreign(source, out, out_counts) : status;
}

void Registry::note_orderly_end() {
  for (const std::shared_ptr<Hive>& hive :
       {parts_->hives.machine_if_used(), parts_->hives.user_if_used(), parts_->hives.users_if_used()}) {
    if (hive != nullptr) hive->note_orderly_end();
  }
}

Status Registry::backup(const std::string& path) {
  Status status = make_backup_folder(path);
  std::shared_ptr<Hive> machine = parts_->hives.machine();
  if (status == Status::ok && machine == nullptr) status = Status::io_failed;
  if (status == Status::ok) status = back_up(*machine, path, machine_backup_name);
  if (status == Status::ok && parts_->hives.users() != nullptr) {
    return back_up(*parts_->hives.users(), path, users_backup_name);
  }
  std::shared_ptr<Hive> user = parts_->hives.user();
  bool stands = user != nullptr && (user->is_private() || access(user->path().c_str(), F_OK) == 0);
  if (status == Status::ok && stands) status = back_up(*user, path, user_backup_name);
  return status;
}

}  // namespace hive
