// What a Key stands for: a key of a hive by its number, or a root that is more than that.
#pragma once

#include <atomic>
#include <memory>
#include <string_view>

#include "hive/enumerate.h"
#include "hive/hive.h"
#include "hive/identity.h"

namespace hive {

enum class Place {
  key,      // one key of one hive
  by_path,  // a root that is a path of the machine hive, looked up at each use and made when missing
  users,    // HKEY_USERS: keys of the machine hive and the user's own hive among them
  nothing,  // a root that never has anything
};

class alignas(64) Open_Key {
 public:
  // A key found in a hive; its number means nothing in another hive that comes to stand at the same path.
  // made_in: the part of a batch in which the key was made, if it was.
  Open_Key(std::shared_ptr<Hive> its_hive, std::int64_t its_number, const Hive_Identity& found_in,
           std::shared_ptr<const Batch_Part> its_batch)
      : hive(std::move(its_hive)),
        number(its_number),
        place(Place::key),
        is_of_batch(its_batch != nullptr),
        identity(found_in),
        made_in(std::move(its_batch)) {}
  // A root, which every hive at its path has.
  Open_Key(std::shared_ptr<Hive> its_hive, std::int64_t its_number, Place its_place = Place::key,
           std::u16string_view its_path = {})
      : hive(std::move(its_hive)), number(its_number), place(its_place), path(its_path) {}

  const std::shared_ptr<Hive> hive;  // null where there is nothing
  const std::int64_t number;
  const Place place;
  const bool is_of_batch = false;
  const std::u16string_view path;  // by_path: below the hive's root; a constant

  const Hive_Identity identity{};  // zeros: of any hive

  const std::shared_ptr<const Batch_Part> made_in;
  // The batch that made it was abandoned: its number is another key's now, or none's.
  bool is_lost() const { return is_of_batch && made_in->is_lost(); }

  // The last key that was asked for below it was made: the next one is likely to be missing too.
  std::atomic<bool> makes_keys{false};

  // Of the enumerations through this handle; each with a lock of its own.
  Position keys;
  Position values;
  Position users;  // HKEY_USERS: in the hive of all users

  Watch_Handle watching;
  Watch_Handle watching_user;  // the user's hive, for the keys below HKEY_USERS
};

}  // namespace hive
