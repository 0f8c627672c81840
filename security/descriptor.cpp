// Making, reading and editing security descriptors. The getters hand out what the fields hold, offsets too, and
// look at nothing else; the setters refuse a self-relative descriptor, whose parts they could not place.

#include "security/descriptor.h"

#include <winbase.h>

#include <cstring>

inline namespace kelvane {
namespace {

bool is_editable(PSECURITY_DESCRIPTOR descriptor) {
  return descriptor != nullptr && !has_control(descriptor, SE_SELF_RELATIVE);
}

// QUIRK descriptor-bit-values: what is told is the bit's own value, not 1.
BOOL told_bit(PSECURITY_DESCRIPTOR descriptor, unsigned bit) {
  return static_cast<BOOL>(fields_of(descriptor)->value.Control & bit);
}

}  // namespace
}  // namespace kelvane

BOOL InitializeSecurityDescriptor(PSECURITY_DESCRIPTOR descriptor, DWORD revision) {
  // QUIRK descriptor-cleared-first: also when the revision is refused.
  std::memset(descriptor, 0, descriptor_header_size);
  if (revision != SECURITY_DESCRIPTOR_REVISION) return FALSE;
  fields_of(descriptor)->value.Revision = SECURITY_DESCRIPTOR_REVISION;
  return TRUE;
}

BOOL GetSecurityDescriptorControl(PSECURITY_DESCRIPTOR descriptor, PSECURITY_DESCRIPTOR_CONTROL out_control,
                                  LPDWORD out_revision) {
  *out_control = fields_of(descriptor)->value.Control;
  *out_revision = fields_of(descriptor)->value.Revision;
  return TRUE;
}

BOOL GetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR descriptor, PSID* out_owner, LPBOOL out_defaulted) {
  *out_owner = fields_of(descriptor)->value.Owner;
  *out_defaulted = told_bit(descriptor, SE_OWNER_DEFAULTED);
  return TRUE;
}

BOOL GetSecurityDescriptorGroup(PSECURITY_DESCRIPTOR descriptor, PSID* out_group, LPBOOL out_defaulted) {
  *out_group = fields_of(descriptor)->value.Group;
  *out_defaulted = told_bit(descriptor, SE_GROUP_DEFAULTED);
  return TRUE;
}

BOOL GetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL out_present, PACL* out_dacl,
                               LPBOOL out_defaulted) {
  *out_present = told_bit(descriptor, SE_DACL_PRESENT);
  *out_dacl = fields_of(descriptor)->value.Dacl;
  *out_defaulted = told_bit(descriptor, SE_DACL_DEFAULTED);
  return TRUE;
}

BOOL GetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, LPBOOL out_present, PACL* out_sacl,
                               LPBOOL out_defaulted) {
  *out_present = told_bit(descriptor, SE_SACL_PRESENT);
  *out_sacl = fields_of(descriptor)->value.Sacl;
  *out_defaulted = told_bit(descriptor, SE_SACL_DEFAULTED);
  return TRUE;
}

BOOL SetSecurityDescriptorOwner(PSECURITY_DESCRIPTOR descriptor, PSID owner, BOOL defaulted) {
  if (!is_editable(descriptor)) return FALSE;
  fields_of(descriptor)->value.Owner = owner;
  set_control(descriptor, SE_OWNER_DEFAULTED, defaulted != 0);
  return TRUE;
}

BOOL SetSecurityDescriptorGroup(PSECURITY_DESCRIPTOR descriptor, PSID group, BOOL defaulted) {
  if (!is_editable(descriptor)) return FALSE;
  fields_of(descriptor)->value.Group = group;
  set_control(descriptor, SE_GROUP_DEFAULTED, defaulted != 0);
  return TRUE;
}

BOOL SetSecurityDescriptorDacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL dacl, BOOL defaulted) {
  if (!is_editable(descriptor)) return FALSE;
  set_control(descriptor, SE_DACL_PRESENT, present != 0);
  // QUIRK absent-acl-stays: the field and the defaulted bit keep what they were.
  if (!present) return TRUE;
  fields_of(descriptor)->value.Dacl = dacl;
  set_control(descriptor, SE_DACL_DEFAULTED, defaulted != 0);
  return TRUE;
}

BOOL SetSecurityDescriptorSacl(PSECURITY_DESCRIPTOR descriptor, BOOL present, PACL sacl, BOOL defaulted) {
  if (!is_editable(descriptor)) return FALSE;
  set_control(descriptor, SE_SACL_PRESENT, present != 0);
  if (!present) return TRUE;
  fields_of(descriptor)->value.Sacl = sacl;
  set_control(descriptor, SE_SACL_DEFAULTED, defaulted != 0);
  return TRUE;
}
