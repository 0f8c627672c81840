// Absolute descriptors for tests: a header between unreadable pages whose parts lie in buffers of their own.
#ifndef KELVANE_TESTS_SECURITY_PARTS_H
#define KELVANE_TESTS_SECURITY_PARTS_H

#include <windows.h>

#include <memory>

#include "tests/security/guarded.h"

namespace kvtest {

// Parts are hexadecimal bytes; null for one that is absent.
struct Absolute {
  Absolute(const char* owner, const char* group, const char* sacl, const char* dacl, WORD control = 0,
           const char* header = "01 00 00 00 00*36")
      : descriptor(bytes(header)), owner(part(owner)), group(part(group)), sacl(part(sacl)), dacl(part(dacl)) {
    auto* const fields = descriptor.as<SECURITY_DESCRIPTOR>();
    fields->Control = control;
    fields->Owner = at(this->owner);
    fields->Group = at(this->group);
    fields->Sacl = static_cast<PACL>(at(this->sacl));
    fields->Dacl = static_cast<PACL>(at(this->dacl));
  }

  static std::unique_ptr<Guarded> part(const char* content) {
    return content == nullptr ? nullptr : std::make_unique<Guarded>(bytes(content));
  }
  static void* at(const std::unique_ptr<Guarded>& part) {
    return part == nullptr ? nullptr : static_cast<void*>(*part);
  }
  operator void*() { return descriptor; }

  Guarded descriptor;
  std::unique_ptr<Guarded> owner, group, sacl, dacl;
};

inline const char* const system_sid = "01 01 00 00 00 00 00 05 12 00 00 00";
inline const char* const admins_sid = "01 02 00 00 00 00 00 05 20 00 00 00 20 02 00 00";
// One entry of 20 bytes, and the rest of its size free.
inline const char* const list_of_64 =
    "02 00 40 00 01 00 00 00 00 00 14 00 19 00 02 00 01 01 00 00 00 00 00 05 12 00 00 00 aa*36";
inline const char* const list_of_32 =
    "02 00 20 00 01 00 00 00 02 c0 14 00 01 00 00 00 01 01 00 00 00 00 00 05 12 00 00 00 bb*4";

}  // namespace kvtest

#endif
