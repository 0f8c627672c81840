// Between the absolute and the self-relative form. Lists are copied with their full size. Both conversions check
// all sizes first and write to the caller's buffers only when everything fits.

#include <winbase.h>

#include <cstring>

#include "security/acl.h"
#include "security/descriptor.h"
#include "security/sid.h"

inline namespace kelvane {
namespace {

struct Part {
  const void* at;
  DWORD size;
};

Part sid_part(PSID sid) { return {sid, sid_size(sid)}; }
Part acl_part(PACL acl) { return {acl, acl == nullptr ? 0 : acl_size(acl)}; }

BOOL tell_insufficient_buffer() {
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return FALSE;
}

// Revision, pad byte, control and the four fields; the four bytes between them are zero.
void copy_header(PSECURITY_DESCRIPTOR to, const SECURITY_DESCRIPTOR& from) {
  SECURITY_DESCRIPTOR header;
  std::memset(static_cast<void*>(&header), 0, sizeof header);
  header.Revision = from.Revision;
  header.Sbz1 = from.Sbz1;
  header.Control = from.Control;
  header.Owner = from.Owner;
  header.Group = from.Group;
  header.Sacl = from.Sacl;
  header.Dacl = from.Dacl;
  std::memcpy(to, &header, sizeof header);
}

// Writes parts one behind the other and tells where each begins.
class Packer {
 public:
  explicit Packer(PSECURITY_DESCRIPTOR descriptor) : start_(static_cast<BYTE*>(descriptor)) {}

  // The offset of the part as its field keeps it; 0 for an absent one.
  void* place(const Part& part) {
    if (part.at == nullptr) return nullptr;
    std::memcpy(start_ + offset_, part.at, part.size);
    offset_ += part.size;
    return reinterpret_cast<void*>(offset_ - part.size);
  }

 private:
  BYTE* start_;
  ULONG_PTR offset_ = descriptor_header_size;
};

// A part of an absolute descriptor that is to be made, and the caller's buffer for it.
struct Target {
  Part part;
  void* buffer;
  LPDWORD size;

  bool is_missing() const { return part.at != nullptr && buffer == nullptr; }
  // Tells the size when the buffer is too small.
  bool fits() const {
    if (part.at == nullptr || *size >= part.size) return true;
    *size = part.size;
    return false;
  }
  // What the field becomes.
  void* copied() const {
    if (part.at == nullptr) return nullptr;
    return std::memcpy(buffer, part.at, part.size);
  }
};

}  // namespace
}  // namespace kelvane

BOOL MakeSelfRelativeSD(PSECURITY_DESCRIPTOR absolute, PSECURITY_DESCRIPTOR self_relative, LPDWORD size) {
  if (absolute == nullptr || absolute == self_relative || has_control(absolute, SE_SELF_RELATIVE)) return FALSE;
  SECURITY_DESCRIPTOR header = fields_of(absolute)->value;
  const Part owner = sid_part(header.Owner), group = sid_part(header.Group);
  const Part sacl = acl_part(header.Sacl), dacl = acl_part(header.Dacl);
  const DWORD needed = descriptor_header_size + owner.size + group.size + sacl.size + dacl.size;
  if (*size < needed) {
    *size = needed;
    return tell_insufficient_buffer();
  }
  Packer packer(self_relative);
  header.Owner = packer.place(owner);
  header.Group = packer.place(group);
  header.Sacl = static_cast<PACL>(packer.place(sacl));
  header.Dacl = static_cast<PACL>(packer.place(dacl));
  header.Control |= SE_SELF_RELATIVE;
  copy_header(self_relative, header);
  return TRUE;
}

BOOL MakeAbsoluteSD(PSECURITY_DESCRIPTOR descriptor, PSECURITY_DESCRIPTOR absolute, LPDWORD absolute_size, PACL dacl,
                    LPDWORD dacl_size, PACL sacl, LPDWORD sacl_size, PSID owner, LPDWORD owner_size, PSID group,
                    LPDWORD group_size) {
  if (descriptor == nullptr) return FALSE;
  const Descriptor_Parts parts = unpack_security_descriptor(descriptor);
  const Target to_dacl = {acl_part(parts.dacl), dacl, dacl_size}, to_sacl = {acl_part(parts.sacl), sacl, sacl_size};
  const Target to_owner = {sid_part(parts.owner), owner, owner_size},
               to_group = {sid_part(parts.group), group, group_size};
  if (to_dacl.is_missing() || to_sacl.is_missing() || to_owner.is_missing() || to_group.is_missing()) return FALSE;
  // QUIRK absolute-size-silent: a header without room sets no last error, the parts without room do.
  if (absolute == nullptr || *absolute_size < descriptor_header_size) {
    *absolute_size = descriptor_header_size;
    return FALSE;
  }
  const bool owner_fits = to_owner.fits(), group_fits = to_group.fits(), sacl_fits = to_sacl.fits();
  if (!to_dacl.fits() || !owner_fits || !group_fits || !sacl_fits) return tell_insufficient_buffer();

  SECURITY_DESCRIPTOR header = fields_of(descriptor)->value;
  header.Control &= static_cast<WORD>(~SE_SELF_RELATIVE);
  header.Dacl = static_cast<PACL>(to_dacl.copied());
  header.Sacl = static_cast<PACL>(to_sacl.copied());
  header.Owner = to_owner.copied();
  header.Group = to_group.copied();
  copy_header(absolute, header);
  return TRUE;
}
