#include "tools/kvreg/json_text.h"

#include <winnt.h>

#include <nlohmann/json.hpp>

#include "tools/kvreg/number.h"
#include "tools/kvreg/reg_text/data_form.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"

namespace kvreg {
namespace {

std::string without_lone_surrogates(std::u16string_view units) {
  std::u16string text(units);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_pair =
        i + 1 < text.size() && is_unicode(std::u16string_view(text).substr(i, 2)) && (text[i] & 0xFC00) == 0xD800;
    if (is_pair) {
      ++i;
    } else if ((text[i] & 0xF800) == 0xD800) {
      text[i] = u'\uFFFD';
    }
  }
  return utf8_of(text);
}

bool is_number(const Value& value) {
  if (value.type == REG_QWORD) return value.data.size() == sizeof(std::uint64_t);
  return (value.type == REG_DWORD || value.type == REG_DWORD_BIG_ENDIAN) && value.data.size() == sizeof(DWORD);
}

void put_texts(nlohmann::json& object, const Value& value) {
  nlohmann::json list = nlohmann::json::array();
  for (const std::u16string& text : texts_of(value.data)) list.push_back(without_lone_surrogates(text));
  object["data"] = list;
  const bool is_whole = stored_texts(texts_of(value.data)) == value.data && is_unicode(units_of_stored(value.data));
  if (!is_whole) object["stored"] = hex_of(value.data);
}

void put_text(nlohmann::json& object, const Value& value) {
  const std::u16string text = data_units(value);
  object["data"] = without_lone_surrogates(text);
  if (stored_text(text) != value.data || !is_unicode(text)) object["stored"] = hex_of(value.data);
}

}  // namespace

void put_units(nlohmann::json& object, const char* word, std::u16string_view units) {
  object[word] = without_lone_surrogates(units);
  if (is_unicode(units)) return;
  object[std::string(word) + "_units"] = std::vector<std::uint16_t>(units.begin(), units.end());
}

nlohmann::json json_of(const Value& value) {
  nlohmann::json object;
  put_units(object, "name", value.name);
  object["type"] = name_of_type(value.type);
  if (value.type == REG_MULTI_SZ) {
    put_texts(object, value);
  } else if (is_text(value.type)) {
    put_text(object, value);
  } else if (is_number(value)) {
    object["data"] = *parse_number(utf8_of(data_units(value)));
  } else {
    object["data"] = hex_of(value.data);
  }
  return object;
}

std::string written(const nlohmann::json& json) { return json.dump(); }

}  // namespace kvreg
