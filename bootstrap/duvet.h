// An owner of one object that is no bone, so that a heap of bones can hold it.
#pragma once

#include <kelvane/bone.h>

inline namespace kelvane {

template <class T>
class duvet final : public Bone {
 public:
  // Takes the object over; null is allowed.
  explicit duvet(T* held) : held_(held) {}
  ~duvet() override { delete held_; }
  duvet(const duvet&) = delete;
  duvet& operator=(const duvet&) = delete;

 private:
  T* held_;
};

}  // namespace kelvane
