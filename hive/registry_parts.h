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

  // Where a path from a key leads first: below HKEY_USERS the user's own name leads into the user's hive.
  struct Start {
    Key key;
    std::u16string_view path;
  };
  Status start_of(const Key& at, std::u16string_view path, Start* out);
  // Whether a path names HKEY_USERS itself or a key directly below it.
  static bool is_users_own(const Start& start);

  Status user_root(Key* out);

  // One call for a key, kept in this handle of it.
  Status watch(const Key& at, Watch_Handle& handle, const Watch_Call& call);

  Hives hives;
  const std::u16string user_name;  // the name of the user's hive below HKEY_USERS
};

}  // namespace hive
