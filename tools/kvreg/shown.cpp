#include "tools/kvreg/shown.h"

#include <cstdio>

#include "tools/kvreg/reg_text/units.h"

namespace kvreg {
namespace {

bool is_surrogate(char16_t unit) { return (unit & 0xF800) == 0xD800; }

bool is_pair(std::u16string_view units, std::size_t at) {
  return (units[at] & 0xFC00) == 0xD800 && at + 1 < units.size() && (units[at + 1] & 0xFC00) == 0xDC00;
}

bool disturbs(char16_t unit) {
  const bool is_control = unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
  const bool turns_writing = (unit >= 0x200B && unit <= 0x200F) || (unit >= 0x2028 && unit <= 0x202E) ||
                             (unit >= 0x2060 && unit <= 0x206F) || unit == 0xFEFF;
  return is_control || turns_writing || is_surrogate(unit);
}

void append_escape(std::u16string& out, char16_t unit) {
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(unit));
  for (const char* at = escape; *at != '\0'; ++at) out.push_back(static_cast<char16_t>(*at));
}

}  // namespace

std::string shown(std::u16string_view units) {
  std::u16string visible;
  visible.reserve(units.size());
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (is_pair(units, i)) {
      visible += units.substr(i++, 2);
    } else if (disturbs(units[i])) {
      append_escape(visible, units[i]);
    } else {
      visible.push_back(units[i]);
    }
  }
  return text_of(visible);
}

}  // namespace kvreg
