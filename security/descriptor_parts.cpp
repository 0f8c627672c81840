// The parts of an absolute descriptor, and what is told about them as a whole: length and validity.

#include <winbase.h>

#include "security/acl.h"
#include "security/descriptor.h"
#include "security/sid.h"

inline namespace kelvane {
namespace {

// Writes wherever the field leads, on purpose.
__attribute__((no_sanitize("address"))) void add_address(ULONG_PTR field, ULONG_PTR address) {
  reinterpret_cast<Unaligned<ULONG_PTR>*>(field)->value += address;
}

bool has_revision(const void* part, unsigned revision) {
  return part == nullptr || *static_cast<const BYTE*>(part) == revision;
}

DWORD bytes_in_use(const ACL* acl) { return acl == nullptr ? 0 : acl_bytes_in_use(acl); }

}  // namespace

Descriptor_Parts unpack_security_descriptor(PSECURITY_DESCRIPTOR descriptor) {
  const SECURITY_DESCRIPTOR fields = fields_of(descriptor)->value;
  const Descriptor_Parts parts = {fields.Owner, fields.Group, fields.Sacl, fields.Dacl};
  // QUIRK unpack-writes: of a self-relative descriptor the words at the stored values grow, not the values.
  if (has_control(descriptor, SE_SELF_RELATIVE)) {
    const auto address = reinterpret_cast<ULONG_PTR>(descriptor);
    add_address(reinterpret_cast<ULONG_PTR>(parts.owner), address);
    add_address(reinterpret_cast<ULONG_PTR>(parts.group), address);
    add_address(reinterpret_cast<ULONG_PTR>(parts.sacl), address);
    add_address(reinterpret_cast<ULONG_PTR>(parts.dacl), address);
  }
  return parts;
}

}  // namespace kelvane

DWORD GetSecurityDescriptorLength(PSECURITY_DESCRIPTOR descriptor) {
  const Descriptor_Parts parts = unpack_security_descriptor(descriptor);
  // QUIRK descriptor-length-in-use: lists count with their bytes in use, although conversions copy them whole.
  return descriptor_header_size + sid_size(parts.owner) + sid_size(parts.group) + bytes_in_use(parts.sacl) +
         bytes_in_use(parts.dacl);
}

BOOL IsValidSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor) {
  const Descriptor_Parts parts = unpack_security_descriptor(descriptor);
  return has_revision(descriptor, SECURITY_DESCRIPTOR_REVISION) && has_revision(parts.owner, SID_REVISION) &&
         has_revision(parts.group, SID_REVISION) && has_revision(parts.sacl, ACL_REVISION) &&
         has_revision(parts.dacl, ACL_REVISION);
}
