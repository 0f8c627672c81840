// How a value is edited: by what its type says, when its data is of that form, else as bytes.
#pragma once

#include "tools/kvreg/key.h"

namespace kvreg {

enum class Edit_Kind { text, number, texts, bytes };

Edit_Kind edit_kind(const Value& value);
// What stands in the editor of a text or number: numbers as 0x1f.
std::u16string text_to_edit(const Value& value);
// The data of the texts of a REG_MULTI_SZ. Throws Bad_Arguments for an empty one before others.
std::string data_of_texts(const std::vector<std::u16string>& texts);
// "0x1f (31)" for a number, else as the other verbs show it, without what would not be seen anyway.
std::u16string data_for_row(const Value& value);

}  // namespace kvreg
