#include "tools/kvreg/form.h"

#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"

namespace kvreg {

void Form::declare(Options& options) {
  options.flag("", "json", json, "Prints JSON");
  options.flag("0", "null", zero, "Prints fields as they are, each with a NUL behind it");
}

Json_List::Json_List() { kvreg::put("["); }

void Json_List::put(std::string_view member) {
  kvreg::put(is_empty_ ? "\n" : ",\n");
  kvreg::put(member);
  is_empty_ = false;
}

void Json_List::end() { kvreg::put(is_empty_ ? "]\n" : "\n]\n"); }

void put_fields(const std::vector<std::u16string>& fields) {
  for (const std::u16string& each : fields) {
    put(text_of(each));
    put(std::string_view("\0", 1));
  }
}

}  // namespace kvreg
