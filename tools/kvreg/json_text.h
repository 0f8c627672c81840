// What the registry holds as JSON: UTF-8, one object or array a line.
//
// A name or text with a lone surrogate, which JSON cannot carry, has U+FFFD in its place and stands beside that whole,
// as the list of its 16-bit units, under the same word with "_units" behind it.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "tools/kvreg/key.h"

namespace kvreg {

// Sets object[word].
void put_units(nlohmann::json& object, const char* word, std::u16string_view units);

// {"name":"Path","type":"REG_SZ","data":"/usr"}: texts as strings, lists as arrays, whole numbers as numbers,
// everything else as hexadecimal digits. "stored" is there, the stored bytes as digits, when the data does not tell
// them all.
nlohmann::json json_of(const Value& value);

std::string written(const nlohmann::json& json);

}  // namespace kvreg
