// The sub-authorities of a SID as a list of Unix ids.
#pragma once

#include "security/sid.h"
#include "security/unaligned.h"

inline namespace kelvane {

// A null SID is a missing list, which has no ids.
class Id_List {
 public:
  explicit Id_List(const void* sid) : sid_(static_cast<const BYTE*>(sid)) {}

  bool is_missing() const { return sid_ == nullptr; }
  unsigned count() const { return is_missing() ? 0 : sid_count(sid_); }
  DWORD operator[](unsigned index) const { return load<DWORD>(sid_ + sid_size_of(index)); }

 private:
  const BYTE* sid_;
};

}  // namespace kelvane
