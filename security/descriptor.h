// The fields and parts of a security descriptor at any address.
#pragma once

#include <winnt.h>

#include "security/unaligned.h"

inline namespace kelvane {

constexpr DWORD descriptor_header_size = sizeof(SECURITY_DESCRIPTOR);

// The fields where they lie; take no address of one.
inline Unaligned<SECURITY_DESCRIPTOR>* fields_of(PSECURITY_DESCRIPTOR descriptor) {
  return static_cast<Unaligned<SECURITY_DESCRIPTOR>*>(descriptor);
}

inline bool has_control(PSECURITY_DESCRIPTOR descriptor, unsigned bit) {
  return (fields_of(descriptor)->value.Control & bit) != 0;
}

inline void set_control(PSECURITY_DESCRIPTOR descriptor, unsigned bit, bool on) {
  const unsigned control = fields_of(descriptor)->value.Control;
  fields_of(descriptor)->value.Control = static_cast<WORD>(on ? control | bit : control & ~bit);
}

// The four parts of a descriptor, null for those that are absent.
struct Descriptor_Parts {
  PSID owner;
  PSID group;
  PACL sacl;
  PACL dacl;
};

// The parts of an absolute descriptor. Give it no self-relative one: it adds the descriptor's address to the eight
// bytes at each address that the fields hold.
Descriptor_Parts unpack_security_descriptor(PSECURITY_DESCRIPTOR descriptor);

}  // namespace kelvane
