// What users are called in the registry.
#pragma once

#include <sys/types.h>

#include <string>

namespace hive {

// The SID of a user of this machine, by his number.
std::u16string name_of_user(uid_t user);

}  // namespace hive
