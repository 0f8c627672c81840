#include "hive/hives.h"

#include <unistd.h>

#include <condition_variable>

#include "hive/hive_content.h"
#include "hive/store/fork.h"
#include "hive/user_content.h"

namespace hive {
namespace {

constexpr mode_t everybody_reads_and_writes = 0666;
constexpr mode_t everybody_may_all = 0777;
constexpr mode_t owner_reads_and_writes = 0600;
constexpr mode_t owner_may_all = 0700;
constexpr mode_t owner_changes_others_read = 0755;

std::condition_variable_any& answered() {
  static std::condition_variable_any& condition = *new std::condition_variable_any;
  return condition;
}

}  // namespace

Hives::Hives(std::unique_ptr<Locations> locations, Complain complain)
    : locations_(std::move(locations)), complain_(complain) {}

std::shared_ptr<Hive> Hives::machine() { return use(machine_, &Hives::make_machine); }

std::shared_ptr<Hive> Hives::user() { return use(user_, &Hives::make_user); }

std::shared_ptr<Hive> Hives::users() {
  if (!locations_->serves_all_users()) return nullptr;
  return use(users_, &Hives::make_users);
}

std::shared_ptr<Hive> Hives::machine_if_used() const {
  std::lock_guard lock(opening_mutex());
  return machine_.hive;
}

std::shared_ptr<Hive> Hives::user_if_used() const {
  std::lock_guard lock(opening_mutex());
  return user_.hive;
}

std::shared_ptr<Hive> Hives::users_if_used() const {
  std::lock_guard lock(opening_mutex());
  return users_.hive;
}

bool Hives::begin_asking(Slot& slot) {
  std::unique_lock lock(opening_mutex());
  // A thread that was asking when the process forked is not in the child.
  while (slot.state == State::asking && slot.asking_process == getpid()) {
    if (slot.asker == std::this_thread::get_id()) return false;
    answered().wait(lock);
  }
  if (slot.state == State::known) return false;
  slot = {State::asking, std::this_thread::get_id(), getpid(), nullptr};
  return true;
}

std::shared_ptr<Hive> Hives::use(Slot& slot, std::shared_ptr<Hive> (Hives::*make)()) {
  if (begin_asking(slot)) {
    std::shared_ptr<Hive> hive = (this->*make)();
    std::lock_guard lock(opening_mutex());
    slot.hive = std::move(hive);
    slot.state = State::known;
    answered().notify_all();
  }
  std::lock_guard lock(opening_mutex());
  return slot.hive;
}

std::shared_ptr<Hive> Hives::make_machine() {
  std::string file = locations_->machine_hive();
  mode_t mask = locations_->machine_mask();
  // Where a server enforces the rights of keys, nobody passes it by way of the file.
  mode_t file_mode = locations_->serves_all_users() ? owner_reads_and_writes : everybody_reads_and_writes & ~mask;
  Hive_Traits traits{file_mode, everybody_may_all & ~mask, false, &machine_is_incomplete, &fill_machine};
  return std::make_shared<Hive>(std::move(file), std::move(traits), complain_);
}

std::shared_ptr<Hive> Hives::make_user() {
  std::string file = locations_->user_hive();
  user_image_file_ = locations_->user_image();
  Hive_Traits traits{owner_reads_and_writes, owner_may_all, true, nullptr, nullptr};
  if (!file.empty()) traits.presence = std::make_shared<Presence>();
  traits.incomplete = [this, presence = traits.presence](Connection& connection) {
    if (user_is_incomplete(connection)) return true;
    return presence != nullptr && presence->alone() && import_is_due(connection, user_image_file_);
  };
  traits.fill = [this](Connection& connection, Findings& findings) {
    if (user_is_incomplete(connection)) return fill_user(connection, user_image_file_, findings);
    return import_user(connection, user_image_file_, findings);
  };
  return std::make_shared<Hive>(std::move(file), std::move(traits), complain_);
}

std::shared_ptr<Hive> Hives::make_users() {
  Hive_Traits traits{owner_reads_and_writes, owner_changes_others_read, false, &users_are_incomplete, &fill_users};
  return std::make_shared<Hive>(locations_->users_hive(), std::move(traits), complain_);
}

}  // namespace hive
