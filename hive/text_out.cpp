#include "hive/text_out.h"

#include <algorithm>

#include "hive/name.h"

namespace hive {

bool put_text(std::string_view stored, Text_Out& out) { return put_units(units_of(stored), out); }

bool put_units(std::u16string_view units, Text_Out& out) {
  out.length = units.size();
  if (out.text == nullptr) return true;
  if (units.size() >= out.room) return false;
  *std::copy(units.begin(), units.end(), out.text) = u'\0';
  return true;
}

}  // namespace hive
