// The kind of a set, chosen by a profile.
#pragma once

#include <kelvane/descriptor.h>

#include "parselib/profile.h"

inline namespace kelvane {

// Read from a list: "(name (Close-Hash 64))" or "(name Open-Hash 64)", a hash of 100 without the number; any
// other first element is an ordered list. A lone value is a list of one. Without the setting it is a copy of the
// fallback, or an ordered list when that is null.
class Use_Set_Prof final : public Set_Desc {
 public:
  Use_Set_Prof(Profiler& profile, const clAtom& name, const Set_Desc* fallback);
  ~Use_Set_Prof() override;
  Use_Set_Prof(const Use_Set_Prof&) = delete;
  Use_Set_Prof& operator=(const Use_Set_Prof&) = delete;

  Keyed_Set* operator()(const Elem_Methods& elements, const Key_Methods& keys) const override;

  // A copy of the chosen descriptor.
  Set_Desc* spawn() const override;

  const Set_Desc& chosen() const { return *chosen_; }

 private:
  Set_Desc* chosen_;
};

}  // namespace kelvane
