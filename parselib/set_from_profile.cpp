#include "parselib/set_from_profile.h"

#include "parselib/values.h"

inline namespace kelvane {
namespace {

constexpr int usual_size = 100;

// Both go with the process.
const Integer& one() {
  static const Integer number(1);
  return number;
}

const Set_Desc& ordered_list() {
  static const Use_Ord_List descriptor;
  return descriptor;
}

struct Choice {
  const Bone* kind;
  const Bone* size;
};

// Without the setting there is a size and no kind.
Choice choice_of(const Bone* setting) {
  if (setting == nullptr) return {nullptr, &one()};
  const auto* list = dynamic_cast<const Sequence*>(setting);
  if (list == nullptr) return {setting, nullptr};
  return {list->at(0), list->at(1)};
}

Set_Desc* descriptor_of(const Choice& choice, const Set_Desc& fallback) {
  const int size = int_of(choice.size, usual_size);
  if (choice.kind == nullptr) return fallback.spawn();
  if (has_text(choice.kind, "Close-Hash")) return new Use_Close_Hash(size);
  if (has_text(choice.kind, "Open-Hash")) return new Use_Open_Hash(size);
  return new Use_Ord_List;
}

}  // namespace

Use_Set_Prof::Use_Set_Prof(Profiler& profile, const clAtom& name, const Set_Desc* fallback)
    : chosen_(descriptor_of(choice_of(profile.read_list(name, nullptr)),
                            fallback != nullptr ? *fallback : ordered_list())) {}

Use_Set_Prof::~Use_Set_Prof() { delete chosen_; }

Keyed_Set* Use_Set_Prof::operator()(const Elem_Methods& elements, const Key_Methods& keys) const {
  return (*chosen_)(elements, keys);
}

Set_Desc* Use_Set_Prof::spawn() const { return chosen_->spawn(); }

}  // namespace kelvane
