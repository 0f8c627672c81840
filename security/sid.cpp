// Security identifiers: bytes of the caller's, built, compared and measured by their count byte alone. Only
// IsValidSid looks at the revision. Those of AllocateAndInitializeSid come from the system's heap, since callers
// may release them with free.

#include "security/sid.h"

#include <winbase.h>

#include <cstdlib>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr unsigned given_sub_authorities = 8;

BYTE* bytes_of(PSID sid) { return static_cast<BYTE*>(sid); }

void write_header(BYTE* sid, const SID_IDENTIFIER_AUTHORITY* authority, BYTE count) {
  sid[0] = SID_REVISION;
  sid[1] = count;
  std::memcpy(sid + offsetof(SID, IdentifierAuthority), authority, sizeof *authority);
}

// Both have the same count byte; what stands behind a shorter one is never read.
bool have_equal_counts(PSID first, PSID second) { return sid_count(first) == sid_count(second); }

}  // namespace
}  // namespace kelvane

BOOL AllocateAndInitializeSid(PSID_IDENTIFIER_AUTHORITY authority, BYTE count, DWORD first, DWORD second, DWORD third,
                              DWORD fourth, DWORD fifth, DWORD sixth, DWORD seventh, DWORD eighth, PSID* out_sid) {
  const DWORD given[given_sub_authorities] = {first, second, third, fourth, fifth, sixth, seventh, eighth};
  // QUIRK sid-count-unchecked: any count is taken, and the memory is not checked for.
  auto* const sid = static_cast<BYTE*>(std::malloc(sid_size_of(count)));
  write_header(sid, authority, count);
  for (unsigned i = 0; i < count; ++i) {
    const DWORD value = i < given_sub_authorities ? given[i] : 0;
    std::memcpy(sid + sid_size_of(i), &value, sizeof value);
  }
  *out_sid = sid;
  return TRUE;
}

PVOID FreeSid(PSID sid) {
  std::free(sid);
  return nullptr;
}

BOOL InitializeSid(PSID sid, PSID_IDENTIFIER_AUTHORITY authority, BYTE count) {
  // QUIRK sid-first-sub-authority: it is cleared whatever the count, the later ones never.
  std::memset(sid, 0, sizeof(SID));
  write_header(bytes_of(sid), authority, count);
  return TRUE;
}

BOOL CopySid(DWORD destination_size, PSID destination, PSID source) {
  // QUIRK copy-null-sid: it copies nothing and succeeds.
  if (source == nullptr) return TRUE;
  if (sid_size(source) > destination_size) return FALSE;
  std::memmove(destination, source, sid_size(source));
  return TRUE;
}

BOOL EqualSid(PSID first, PSID second) {
  if (first == nullptr || second == nullptr || !have_equal_counts(first, second)) return FALSE;
  return std::memcmp(first, second, sid_size(first)) == 0;
}

BOOL EqualPrefixSid(PSID first, PSID second) {
  // QUIRK prefix-needs-equal-counts: the count byte is part of the prefix.
  if (first == nullptr || second == nullptr || !have_equal_counts(first, second)) return FALSE;
  return std::memcmp(first, second, sid_size(first) - sub_authority_size) == 0;
}

DWORD GetLengthSid(PSID sid) { return sid_size(sid); }

DWORD GetSidLengthRequired(UCHAR count) { return sid_size_of(count); }

PSID_IDENTIFIER_AUTHORITY GetSidIdentifierAuthority(PSID sid) {
  return reinterpret_cast<PSID_IDENTIFIER_AUTHORITY>(bytes_of(sid) + offsetof(SID, IdentifierAuthority));
}

PDWORD GetSidSubAuthority(PSID sid, DWORD index) {
  return reinterpret_cast<PDWORD>(bytes_of(sid) + sid_header_size + SIZE_T{sub_authority_size} * index);
}

PUCHAR GetSidSubAuthorityCount(PSID sid) { return bytes_of(sid) + offsetof(SID, SubAuthorityCount); }

BOOL IsValidSid(PSID sid) { return bytes_of(sid)[0] == SID_REVISION && sid_count(sid) <= SID_MAX_SUB_AUTHORITIES; }
