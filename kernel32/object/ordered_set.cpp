#include "kernel32/object/ordered_set.h"

#include <algorithm>

Ordered_Set::~Ordered_Set() = default;

size_t Ordered_Set::lower_bound(const void* key) const {
  auto is_below = [this](const void* element, const void* wanted) {
    return key_methods_.compare(element_methods_.key(element), wanted) < 0;
  };
  return static_cast<size_t>(std::lower_bound(elements_.begin(), elements_.end(), key, is_below) - elements_.begin());
}

bool Ordered_Set::has_key(size_t position, const void* key) const {
  return position < elements_.size() && key_methods_.compare(element_methods_.key(elements_[position]), key) == 0;
}

void* Ordered_Set::insert(void* element, bool replace) {
  const void* key = element_methods_.key(element);
  size_t position = lower_bound(key);
  if (!has_key(position, key)) {
    elements_.insert(elements_.begin() + static_cast<std::ptrdiff_t>(position), element);
    return element;
  }
  void* old = elements_[position];
  if (replace) elements_[position] = element;
  return old;
}

void* Ordered_Set::lookup(const void* key) const {
  size_t position = lower_bound(key);
  return has_key(position, key) ? elements_[position] : nullptr;
}

void* Ordered_Set::remove(const void* key) {
  size_t position = lower_bound(key);
  if (!has_key(position, key)) return nullptr;
  void* element = elements_[position];
  elements_.erase(elements_.begin() + static_cast<std::ptrdiff_t>(position));
  return element;
}
