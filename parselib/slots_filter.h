// Some of the slots of a set, written one a line.
#pragma once

#include <kelvane/association.h>

inline namespace kelvane {

// Decides about a slot by its key and its value.
class Slot_Test {
 public:
  virtual bool operator()(const clAtom* key, const Bone* value) const = 0;

 protected:
  ~Slot_Test() = default;
};

// Holds neither the set nor the test as its own.
class Slots_Filter final : public Bone {
 public:
  Slots_Filter(const Assoc& slots, const Slot_Test& test) : slots_(slots), test_(test) {}
  ~Slots_Filter() override;

  // A tab, the slot and a newline for each slot that the test accepts, in the order of the set.
  void write(kvostream& stream) const override;

 private:
  const Assoc& slots_;
  const Slot_Test& test_;
};

}  // namespace kelvane
