#include "hive/text_out.h"

#include <algorithm>

#include "hive/name.h"

namespace hive {

bool put_text(std::string_view stored, Text_Out& out) {
  std::u16string units = units_of(stored);
  out.length = units.size();
  if (out.text == nullptr) return true;
  if (units.size() >= out.room) return false;
  *std::copy(units.begin(), units.end(), out.text) = u'\0';
  return true;
}

}  // namespace hive
