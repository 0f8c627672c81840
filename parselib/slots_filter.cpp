#include "parselib/slots_filter.h"

#include <kelvane/stream.h>

inline namespace kelvane {

Slots_Filter::~Slots_Filter() = default;

void Slots_Filter::write(kvostream& stream) const {
  Assoc_Iterator slots(slots_);
  while (const Association* slot = slots.next()) {
    if (test_(slot->key(), slot->value())) stream << '\t' << slot << '\n';
  }
}

}  // namespace kelvane
