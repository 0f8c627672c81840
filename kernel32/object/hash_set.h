// The set behind both hash descriptors.
#ifndef KELVANE_KERNEL32_OBJECT_HASH_SET_H
#define KELVANE_KERNEL32_OBJECT_HASH_SET_H

#include <kelvane/descriptor.h>

#include <unordered_map>
#include <vector>

inline namespace kelvane {

// Elements lie in the order of insertion; a removed one leaves an empty position until enough have gathered.
// Hashes are kept, so that going through the set never looks into a key.
class Hash_Set final : public Keyed_Set {
 public:
  Hash_Set(const Elem_Methods& elements, const Key_Methods& keys, int expected_count);
  ~Hash_Set() override;

  void* insert(void* element, bool replace) override;
  void* lookup(const void* key) const override;
  void* remove(const void* key) override;
  size_t count() const override { return index_.size(); }
  size_t positions() const override { return elements_.size(); }
  void* at(size_t position) const override { return elements_[position]; }

 private:
  // The positions of the elements with a hash.
  using Index = std::unordered_multimap<unsigned, size_t>;

  Index::const_iterator find(const void* key, unsigned hash) const;
  void close_gaps();

  const Elem_Methods& element_methods_;
  const Key_Methods& key_methods_;
  std::vector<void*> elements_;
  Index index_;
};

}  // namespace kelvane

#endif
