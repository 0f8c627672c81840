#include "parselib/values.h"

#include <algorithm>
#include <cmath>
#include <limits>

inline namespace kelvane {

const char* text_of(const Bone* value) {
  const auto* text = dynamic_cast<const Text_Bone*>(value);
  return text != nullptr ? text->text() : nullptr;
}

bool has_text(const Bone* value, const char* text) {
  const char* const own = text_of(value);
  return own != nullptr && atom_cmp(own, text) == 0;
}

int int_of(const Bone* value, int fallback) {
  using Limits = std::numeric_limits<int>;
  const auto* number = dynamic_cast<const Number*>(value);
  if (number == nullptr || std::isnan(number->value())) return fallback;
  return static_cast<int>(std::clamp<double>(number->value(), Limits::min(), Limits::max()));
}

}  // namespace kelvane
