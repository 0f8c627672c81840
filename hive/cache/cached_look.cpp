#include "hive/cache/cached_look.h"

#include "hive/cache/cached_path.h"

namespace hive {

bool Cached_Look::number(std::int64_t* out) const {
  *out = key_.number;
  if (view_ == nullptr) return false;
  return key_.place != Place::by_path || find_path(*this, key_.number, key_.path, out) == Status::ok;
}

}  // namespace hive
