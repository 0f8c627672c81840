// The readers know no plus sign and take digits without a point before an exponent for a name.
#include "kernel32/stream/decimal.h"

#include <algorithm>
#include <charconv>
#include <cmath>

std::string kelvane::decimal_text(double number) {
  if (std::isnan(number)) return "nan";
  if (std::isinf(number)) return number < 0 ? "-1.0e999" : "1.0e999";
  char digits[32];
  char* end = std::to_chars(digits, digits + sizeof digits, number).ptr;
  std::string text(digits, end);
  size_t exponent = std::min(text.find('e'), text.size());
  if (text.find('.') == text.npos) text.insert(exponent, ".0");
  size_t plus = text.find('+');
  if (plus != text.npos) text.erase(plus, 1);
  return text;
}
