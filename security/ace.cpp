// The entries of an access-control list: adding, finding and removing them in place. Entries are appended in the
// order in which they come; nothing sorts them.

#include <winbase.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "security/acl.h"
#include "security/free_block.h"
#include "security/sid.h"
#include "security/unaligned.h"

inline namespace kelvane {
namespace {

constexpr DWORD ace_sid_offset = offsetof(ACCESS_ALLOWED_ACE, SidStart);

struct New_Ace {
  BYTE type;
  BYTE flags;
  DWORD mask;
  PSID sid;
};

BYTE* bytes_of(PACL acl) { return reinterpret_cast<BYTE*>(acl); }

void set_ace_count(PACL acl, unsigned count) {
  store(bytes_of(acl) + offsetof(ACL, AceCount), static_cast<WORD>(count));
}

// Writes up to 8 bytes behind the list, on purpose. A SID is a whole number of words.
__attribute__((no_sanitize("address"))) void write_ace(BYTE* at, const New_Ace& ace, DWORD size) {
  const DWORD header = ace.type | static_cast<DWORD>(ace.flags) << 8 | size << 16;
  auto* const words = reinterpret_cast<Unaligned<DWORD>*>(at);
  const auto* const sid = static_cast<const Unaligned<DWORD>*>(ace.sid);
  words[0].value = header;
  words[1].value = ace.mask;
  for (DWORD i = 0; i < size / sizeof(DWORD) - 2; ++i) words[2 + i].value = sid[i].value;
}

BOOL append(PACL acl, DWORD revision, const New_Ace& ace) {
  if (acl == nullptr || ace.sid == nullptr || revision != ACL_REVISION) return FALSE;
  const DWORD needed = sid_size(ace.sid);
  const LONG free = acl_bytes_free(acl);
  // QUIRK acl-add-free-check: header and mask are not counted, so an entry may overrun the list by 8 bytes.
  if (free < static_cast<LONG>(needed)) return FALSE;
  write_ace(bytes_of(acl) + acl_size(acl) - free, ace, needed + ace_sid_offset);
  set_ace_count(acl, ace_count(acl) + 1);
  return TRUE;
}

// As byte by byte from the low end, whatever overlaps: eight at a time are the same unless the destination begins
// inside them.
void copy_upwards(BYTE* to, const BYTE* from, SIZE_T size) {
  SIZE_T i = 0;
  if (reinterpret_cast<ULONG_PTR>(to) - reinterpret_cast<ULONG_PTR>(from) >= sizeof(ULONGLONG)) {
    for (; i + sizeof(ULONGLONG) <= size; i += sizeof(ULONGLONG)) store(to + i, load<ULONGLONG>(from + i));
  }
  for (; i < size; ++i) to[i] = from[i];
}

// Copies the entries but the one at a position to the front of the block behind its header, as many of their bytes
// as it has room for. Reads outside the caller's memory when the list's numbers say so, on purpose.
__attribute__((no_sanitize("address"))) void copy_entries_but(const BYTE* list, LONG removed, BYTE* block, DWORD room) {
  DWORD from = acl_header_size, to = acl_header_size;
  const LONG count = static_cast<LONG>(ace_count(list));
  for (LONG i = 0; i < count && to < room; ++i) {
    const DWORD size = list[from + 2] | static_cast<DWORD>(list[from + 3]) << 8;
    if (i != removed) {
      const DWORD copied = std::min(size, room - to);
      for (DWORD k = 0; k < copied; ++k) block[to + k] = list[from + k];
      to += copied;
    }
    from += size;
  }
}

}  // namespace
}  // namespace kelvane

BOOL AddAccessAllowedAce(PACL acl, DWORD revision, DWORD mask, PSID sid) {
  return append(acl, revision, {ACCESS_ALLOWED_ACE_TYPE, 0, mask, sid});
}

BOOL AddAccessDeniedAce(PACL acl, DWORD revision, DWORD mask, PSID sid) {
  return append(acl, revision, {ACCESS_DENIED_ACE_TYPE, 0, mask, sid});
}

BOOL AddAuditAccessAce(PACL acl, DWORD revision, DWORD mask, PSID sid, BOOL audit_success, BOOL audit_failure) {
  const unsigned flags =
      (audit_success ? SUCCESSFUL_ACCESS_ACE_FLAG : 0) | (audit_failure ? FAILED_ACCESS_ACE_FLAG : 0);
  return append(acl, revision, {SYSTEM_AUDIT_ACE_TYPE, static_cast<BYTE>(flags), mask, sid});
}

BOOL AddAce(PACL acl, DWORD, DWORD index, LPVOID list, DWORD list_size) {
  if (acl == nullptr || list == nullptr || list_size < sizeof(ACE_HEADER)) return FALSE;
  BYTE* const start = bytes_of(acl);
  const LONG free = acl_bytes_free(acl);
  if (LONGLONG{free} < LONGLONG{list_size}) return FALSE;

  const DWORD end = acl_size(acl) - static_cast<DWORD>(free);
  copy_upwards(start + end, static_cast<const BYTE*>(list), list_size);
  if (index < ace_count(acl)) {
    // QUIRK add-ace-two-step: the entry at the index stays, and what follows it moves behind its beginning.
    const DWORD entry = end_of_entries(acl, index);
    const DWORD behind = end_of_entries(acl, index + 1);
    copy_upwards(start + entry + list_size, start + behind, end - behind);
  }
  // QUIRK add-ace-counts-one: whatever number of entries the list holds.
  set_ace_count(acl, ace_count(acl) + 1);
  return TRUE;
}

BOOL GetAce(PACL acl, DWORD number, LPVOID* out_ace) {
  if (acl == nullptr || ace_count(acl) < number) return FALSE;
  // QUIRK get-ace-one-based: 1 is the first entry, and so is 0.
  *out_ace = bytes_of(acl) + end_of_entries(acl, number == 0 ? 0 : number - 1);
  return TRUE;
}

BOOL DeleteAce(PACL acl, DWORD number) {
  if (acl == nullptr || static_cast<LONG>(number) < 0 || ace_count(acl) < number) return FALSE;
  const DWORD size = acl_size(acl);
  const Block kept(static_cast<BYTE*>(std::calloc(1, std::max(size, acl_header_size))));
  if (kept == nullptr) return FALSE;
  std::memcpy(kept.get(), bytes_of(acl), acl_header_size);
  // QUIRK delete-ace-zero: number 0 removes no entry and still lowers the count, below 0 to 65535.
  copy_entries_but(bytes_of(acl), static_cast<LONG>(number) - 1, kept.get(), size);
  set_ace_count(reinterpret_cast<PACL>(kept.get()), ace_count(acl) - 1);
  std::memcpy(bytes_of(acl), kept.get(), size);
  return TRUE;
}

BOOL FindFirstFreeAce(PACL acl, LPVOID* out_ace) {
  *out_ace = acl == nullptr ? nullptr : bytes_of(acl) + acl_bytes_in_use(acl);
  // QUIRK first-free-ace-false: also when the address was found.
  return FALSE;
}
