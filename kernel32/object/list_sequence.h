// The sequence behind every list descriptor.
#ifndef KELVANE_KERNEL32_OBJECT_LIST_SEQUENCE_H
#define KELVANE_KERNEL32_OBJECT_LIST_SEQUENCE_H

#include <kelvane/container.h>

inline namespace kelvane {

// An array that is filled at its end and emptied from its begin. An empty list has none: trees of many small
// lists stay small.
class List_Sequence final : public Sequence {
 public:
  List_Sequence() = default;
  ~List_Sequence() override;
  List_Sequence(const List_Sequence&) = delete;
  List_Sequence& operator=(const List_Sequence&) = delete;

  bool is_empty() const override { return first_ == end_; }
  size_t count() const override { return end_ - first_; }
  void apply(const Proc_Context& procedure) const override;
  void delete_tree() override;
  void insert(Bone* element) override;
  bool remove_first(Bone*& out_element) override;
  bool remove(const Bone* element) override;
  Bone* at(size_t position) const override;

 private:
  void make_room();

  Bone** elements_ = nullptr;  // those from first_ to end_ are in the list
  size_t first_ = 0;
  size_t end_ = 0;
  size_t room_ = 0;
};

}  // namespace kelvane

#endif
