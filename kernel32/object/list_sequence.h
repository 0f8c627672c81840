// The sequence behind every list descriptor.
#ifndef KELVANE_KERNEL32_OBJECT_LIST_SEQUENCE_H
#define KELVANE_KERNEL32_OBJECT_LIST_SEQUENCE_H

#include <kelvane/container.h>

#include <deque>

inline namespace kelvane {

class List_Sequence final : public Sequence {
 public:
  ~List_Sequence() override;

  bool is_empty() const override { return elements_.empty(); }
  size_t count() const override { return elements_.size(); }
  void apply(const Proc_Context& procedure) const override;
  void insert(Bone* element) override { elements_.push_back(element); }
  bool remove_first(Bone*& out_element) override;
  bool remove(const Bone* element) override;
  Bone* at(size_t position) const override;

 private:
  std::deque<Bone*> elements_;
};

}  // namespace kelvane

#endif
