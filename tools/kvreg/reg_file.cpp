#include "tools/kvreg/reg_file.h"

#include "tools/kvreg/failure.h"
#include "tools/kvreg/new_file.h"

namespace kvreg {

Decoded_Text text_of_reg_file(const std::string& file) {
  constexpr std::string_view begin_of_hives("SQLite format 3", 16);
  const std::string content = read_whole_file(file);
  if (content.starts_with(begin_of_hives))
    throw Complaint(file + " is a hive, no .reg file; kvreg load makes it a key");
  return decode_reg_file(content);
}

void read_reg_file(const std::string& file, const Decoded_Text& text, Reg_Visitor& visitor) {
  if (const std::optional<Wrong_Line> wrong = read_reg_text(text, visitor))
    throw Complaint(file + ":" + std::to_string(wrong->line) + ": " + wrong->what);
}

}  // namespace kvreg
