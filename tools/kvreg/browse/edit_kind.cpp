#include "tools/kvreg/browse/edit_kind.h"

#include <winnt.h>

#include <algorithm>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/number.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"

namespace kvreg {
namespace {

bool is_number(const Value& value) {
  if (value.type == REG_QWORD) return value.data.size() == sizeof(std::uint64_t);
  return (value.type == REG_DWORD || value.type == REG_DWORD_BIG_ENDIAN) && value.data.size() == sizeof(DWORD);
}

bool has_empty(const std::vector<std::u16string>& texts) {
  return std::any_of(texts.begin(), texts.end(), [](const std::u16string& each) { return each.empty(); });
}

}  // namespace

Edit_Kind edit_kind(const Value& value) {
  if (is_number(value)) return Edit_Kind::number;
  if (!is_text(value.type) || value.data.size() % sizeof(char16_t) != 0) return Edit_Kind::bytes;
  if (value.type != REG_MULTI_SZ) return Edit_Kind::text;
  return has_empty(texts_of(value.data)) ? Edit_Kind::bytes : Edit_Kind::texts;
}

std::u16string text_to_edit(const Value& value) { return data_units(value); }

std::string data_of_texts(const std::vector<std::u16string>& texts) {
  if (has_empty(texts)) throw Bad_Arguments("a list of texts cannot have an empty one in the middle");
  return stored_texts(texts);
}

std::u16string data_for_row(const Value& value) {
  std::u16string text = data_units(value, u" | ");
  if (!is_number(value)) return text;
  const std::optional<std::uint64_t> number = parse_number(utf8_of(text));
  return number ? text + units_of_utf8(" (" + std::to_string(*number) + ")") : text;
}

}  // namespace kvreg
