// Watching keys.
#include <atomic>

#include "hive/batch.h"
#include "hive/keys.h"
#include "hive/registry.h"
#include "hive/registry_parts.h"

namespace hive {
namespace {

// A target that two hives have.
class Told_Once : public Watch_Target {
 public:
  explicit Told_Once(std::shared_ptr<Watch_Target> target) : target_(std::move(target)) {}
  void signal() override {
    if (!is_told_.exchange(true)) target_->signal();
  }

 private:
  const std::shared_ptr<Watch_Target> target_;
  std::atomic<bool> is_told_{false};
};

}  // namespace

Status Registry::Parts::watch(const Key& at, Watch_Handle& handle, const Watch_Call& call) {
  std::int64_t number = 0;
  const Status status = read(at, [&](Connection& connection, std::int64_t key) {
    number = key;
    return check_key(connection, key);
  });
  return status == Status::ok ? at->hive->watch_post().watch(at->hive, handle, number, call) : status;
}

void Registry::end_watches(const Key& key) {
  if (key->place == Place::nothing) return;
  key->hive->watch_post().end(key->watching);
  if (key->place != Place::users) return;
  for (const std::shared_ptr<Hive>& second : {parts_->hives.users_if_used(), parts_->hives.user_if_used()}) {
    if (second != nullptr) return second->watch_post().end(key->watching_user);
  }
}

// The user's hive stands below HKEY_USERS, or the hive of all users does.
Status Registry::watch(const Key& key, bool subtree, Ways filter, std::shared_ptr<Watch_Target> target) {
  if (key->place == Place::nothing) return Status::unsupported;
  if (Batch::of_thread() != nullptr) return Status::in_batch;
  if (key->place != Place::users || !subtree) return parts_->watch(key, key->watching, {subtree, filter, target});
  const auto once = std::make_shared<Told_Once>(std::move(target));
  Key user;
  Status status = parts_->second_root(&user);
  if (status == Status::ok) status = parts_->watch(user, key->watching_user, {true, filter, once});
  if (status != Status::ok) return status;
  status = parts_->watch(key, key->watching, {true, filter, once});
  if (status != Status::ok) user->hive->watch_post().cancel(key->watching_user, once.get());
  return status;
}

}  // namespace hive
