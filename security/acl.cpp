// Access-control lists as a whole: making, checking and measuring them.

#include "security/acl.h"

#include <winbase.h>

#include <cstring>

#include "security/unaligned.h"

inline namespace kelvane {
namespace {

bool tell_revision(const void* acl, void* buffer, DWORD size) {
  if (size < sizeof(ACL_REVISION_INFORMATION)) return false;
  store<DWORD>(buffer, *static_cast<const BYTE*>(acl));
  return true;
}

bool tell_sizes(const void* acl, void* buffer, DWORD size) {
  if (size < sizeof(ACL_SIZE_INFORMATION)) return false;
  const DWORD in_use = acl_bytes_in_use(acl);
  const ACL_SIZE_INFORMATION told = {ace_count(acl), in_use, acl_size(acl) - in_use};
  std::memcpy(buffer, &told, sizeof told);
  return true;
}

}  // namespace
}  // namespace kelvane

BOOL InitializeAcl(PACL acl, DWORD size, DWORD revision) {
  if (acl == nullptr || size < acl_header_size || revision != ACL_REVISION) return FALSE;
  // QUIRK acl-size-truncated: of a size above 65,535 the low 16 bits are kept.
  const ACL empty = {ACL_REVISION, 0, static_cast<WORD>(size), 0, 0};
  std::memcpy(static_cast<void*>(acl), &empty, sizeof empty);
  return TRUE;
}

BOOL IsValidAcl(PACL acl) { return *reinterpret_cast<const BYTE*>(acl) == ACL_REVISION && acl_bytes_free(acl) >= 0; }

// A class that the enumeration does not name is data of the caller's like any other.
__attribute__((no_sanitize("enum"))) BOOL GetAclInformation(PACL acl, LPVOID buffer, DWORD size,
                                                            ACL_INFORMATION_CLASS information) {
  if (buffer == nullptr) return FALSE;
  switch (static_cast<int>(information)) {
    case AclRevisionInformation:
      return tell_revision(acl, buffer, size);
    case AclSizeInformation:
      return tell_sizes(acl, buffer, size);
    default:
      return FALSE;
  }
}

BOOL SetAclInformation(PACL acl, LPVOID buffer, DWORD size, ACL_INFORMATION_CLASS) {
  if (acl == nullptr || buffer == nullptr || size != sizeof(ACL_REVISION_INFORMATION)) return FALSE;
  // QUIRK acl-any-revision: whatever the class says, the revision is set, also to one that nothing else accepts.
  *reinterpret_cast<BYTE*>(acl) = static_cast<BYTE>(load<DWORD>(buffer));
  return TRUE;
}
