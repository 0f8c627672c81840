#include "hive/cache/node.h"

namespace hive {

void Node::set_values(std::shared_ptr<const Value_Names> names) {
  values_ = std::move(names);
  value_finder_ = values_ == nullptr ? Value_Names::Finder() : values_->finder();
}

std::unique_ptr<Node> Node::copy() const {
  auto node = std::make_unique<Node>();
  node->facts = facts;
  node->set_values(values_);
  node->values_are_too_much = values_are_too_much;
  node->children = children;
  return node;
}

std::size_t Node::memory() const {
  std::size_t size = sizeof(Node) + facts.class_name.capacity() * sizeof(char16_t);
  if (values_ != nullptr) size += sizeof(Value_Names) + values_->memory();
  if (children != nullptr) size += sizeof(Child_Names) + children->memory();
  return size;
}

}  // namespace hive
