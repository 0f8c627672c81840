// Which keys changed since a number.
#include <algorithm>
#include <optional>

#include "impl/server/core.h"
#include "impl/server/perform.h"

namespace impl::server {

// The number is of the hive of the first key that there is; a handle that the session does not have may have changed.
DWORD perform(Caller& caller, wire::Changed_Since::Question& question, wire::Changed_Since::Answer* out) {
  const wire::Numbers& asked = question.keys;
  unsigned char* const changed = caller.scratch.room(asked.size());
  std::fill_n(changed, asked.size(), static_cast<unsigned char>(1));
  out->changed = {changed, asked.size()};
  if (caller.is_in_batch()) return ERROR_SUCCESS;
  Changes::Since since;
  for (std::size_t i = 0; i < asked.size(); ++i) {
    const std::optional<Held_Key> held = caller.session->keys.find(asked[i]);
    if (!held) continue;
    if (since.number() == 0) since = caller.core.changes().since(held->key, question.change);
    if (since.number() == 0) return ERROR_SUCCESS;
    changed[i] = since.may_have_changed(held->key) ? 1 : 0;
  }
  out->change = since.number();
  return ERROR_SUCCESS;
}

}  // namespace impl::server
