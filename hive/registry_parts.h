// What the Registry's functions share: the hives, and how an operation on a Key finds its place.
#pragma once

#include "hive/hives.h"
#include "hive/open_key.h"
#include "hive/registry.h"
#include "hive/store/function_ref.h"

namespace hive {

struct Registry::Parts {
  Parts(std::unique_ptr<Locations> locations, Complain complain);

  // What is done with a key, by its number, in a transaction of its hive.
  using Work = Function_Ref<Status(Connection&, std::int64_t)>;
  Status read(const Key& key, Work work);
  Status write(const Key& key, Work work);

  // Where a path from a key leads first: below HKEY_USERS the names of users lead into their hive.
  struct Start {
    Key key;
    std::u16string_view path;
  };
  Status start_of(const Key& at, std::u16string_view path, Start* out);
  Status start_of_users(Start* start);
  // Whether a path names HKEY_USERS itself or a key directly below it.
  static bool is_users_own(const Start& start);

  // HKEY_CURRENT_USER: the user's own hive, or the user's key in that of all users.
  Status user_root(Key* out);
  // The key of a user in the hive of all users, which there must be; of this group when it is made.
  Status user_key(uid_t user, gid_t group, Key* out);
  // The root of the hive whose keys stand below HKEY_USERS beside those of the machine hive: the users', or the user's
  // own, which is itself such a key.
  Status second_root(Key* out);
  // A key of a user itself stays as long as the hive of all users.
  bool is_user_key(const Key& at, Connection& connection, std::int64_t number);

  Status add_users(Key_Counts* counts, Status status);

  // One call for a key, kept in this handle of it.
  Status watch(const Key& at, Watch_Handle& handle, const Watch_Call& call);

  Hives hives;
  const std::u16string user_name;  // the name of the user's hive below HKEY_USERS
};

}  // namespace hive
