// Keys and hives as files of their own: saving a key, backing up the hives.
#include <unistd.h>

#include "hive/backup.h"
#include "hive/registry.h"
#include "hive/registry_parts.h"
#include "hive/save.h"

namespace hive {

Status Registry::save(const Key& key, const std::string& file) {
  if (key->place == Place::nothing) return Status::denied;
  New_Hive_File target(file);
  Status status = target.make();
  if (status != Status::ok) return status;
  status = parts_->read(
      key, [&](Connection& connection, std::int64_t number) { return target.write_tree(connection, number); });
  return status == Status::ok ? target.keep() : status;
}

Status Registry::backup(const std::string& path) {
  Status status = make_backup_folder(path);
  std::shared_ptr<Hive> machine = parts_->hives.machine();
  if (status == Status::ok && machine == nullptr) status = Status::io_failed;
  if (status == Status::ok) status = back_up(*machine, path, machine_backup_name);
  std::shared_ptr<Hive> user = parts_->hives.user();
  bool stands = user != nullptr && (user->is_private() || access(user->path().c_str(), F_OK) == 0);
  if (status == Status::ok && stands) status = back_up(*user, path, user_backup_name);
  return status;
}

}  // namespace hive
