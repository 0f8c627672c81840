// One principal into or out of a descriptor.

#include "security/com_principals.h"

#include <winerror.h>

#include <cstring>

#include "security/descriptor.h"
#include "security/sid.h"

inline namespace kelvane {
namespace {

// The sub-authorities of a SID that lies in a block of its own.
class Principal_List {
 public:
  explicit Principal_List(PSID sid)
      : count_(static_cast<BYTE*>(sid) + offsetof(SID, SubAuthorityCount)),
        entries_(reinterpret_cast<DWORD*>(static_cast<BYTE*>(sid) + sid_header_size)) {}

  bool is_just(DWORD id) const { return *count_ == 1 && entries_[0] == id; }

  void become(DWORD id) {
    *count_ = 1;
    entries_[0] = id;
  }

  LONG add(DWORD id, LONG code_when_present) {
    if (is_just(placeholder_id)) {
      become(id);
      return ERROR_SUCCESS;
    }
    if (*count_ == max_principals) return ERROR_OUT_OF_STRUCTURES;
    for (unsigned i = 0; i < *count_; ++i) {
      if (entries_[i] == id) return code_when_present;
    }
    entries_[(*count_)++] = id;
    return ERROR_SUCCESS;
  }

  LONG remove(DWORD id) {
    LONG result = ERROR_NOT_FOUND;
    for (unsigned i = 0; i < *count_;) {
      if (entries_[i] != id) {
        ++i;
        continue;
      }
      result = ERROR_SUCCESS;
      if (*count_ == 1) {
        become(placeholder_id);
        break;
      }
      // QUIRK principal-move: two entries more than needed move down, for which the block has room.
      std::memmove(entries_ + i, entries_ + i + 1, sizeof(DWORD) * (*count_ - i + 1));
      --*count_;
    }
    return result;
  }

 private:
  BYTE* count_;
  DWORD* entries_;
};

}  // namespace

LONG KvSDHandleSinglePrincipal(PSECURITY_DESCRIPTOR descriptor, DWORD id, bool is_user, bool add) {
  Principal_List users(fields_of(descriptor)->value.Owner);
  Principal_List groups(fields_of(descriptor)->value.Group);
  Principal_List& chosen = is_user ? users : groups;
  Principal_List& other = is_user ? groups : users;

  const bool is_everybody = users.is_just(everybody_id) && groups.is_just(everybody_id);
  if ((is_everybody || id == everybody_id) && !add) return E_INVALIDARG;
  if (is_everybody || id == everybody_id) {
    chosen.become(id);
    if (is_everybody) other.become(placeholder_id);
    return ERROR_SUCCESS;
  }
  if (!add) return chosen.remove(id);
  return chosen.add(id, is_user ? ERROR_USER_EXISTS : ERROR_GROUP_EXISTS);
}

}  // namespace kelvane
