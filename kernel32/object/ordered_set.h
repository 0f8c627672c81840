// The set behind the ordered list descriptor: an array in the order of the keys.
#ifndef KELVANE_KERNEL32_OBJECT_ORDERED_SET_H
#define KELVANE_KERNEL32_OBJECT_ORDERED_SET_H

#include <kelvane/descriptor.h>

#include <vector>

inline namespace kelvane {

class Ordered_Set final : public Keyed_Set {
 public:
  Ordered_Set(const Elem_Methods& elements, const Key_Methods& keys) : element_methods_(elements), key_methods_(keys) {}
  ~Ordered_Set() override;

  void* insert(void* element, bool replace) override;
  void* lookup(const void* key) const override;
  void* remove(const void* key) override;
  size_t count() const override { return elements_.size(); }
  size_t positions() const override { return elements_.size(); }
  void* at(size_t position) const override { return elements_[position]; }

 private:
  // The first position whose key is not below the given one.
  size_t lower_bound(const void* key) const;
  bool has_key(size_t position, const void* key) const;

  const Elem_Methods& element_methods_;
  const Key_Methods& key_methods_;
  std::vector<void*> elements_;
};

}  // namespace kelvane

#endif
