#include "tools/kvreg/match.h"

#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"

namespace kvreg {

void Match::declare(Options& options) {
  options.flag("k", "keys", keys_only_, "Looks at names of keys only");
  options.flag("d", "data", data_only_, "Looks at data only");
  options.flag("c", "case", minds_case_, "Tells upper and lower case apart");
  options.flag("e", "exact", is_exact_, "The whole name or data must be the text");
  options.text("t", "type", type_, "Values of this type only, such as REG_SZ");
}

void Match::look_for(std::u16string_view text) {
  wanted_ = minds_case_ ? std::u16string(text) : lower_case(text);
  if (type_) parse_type(*type_);
}

bool Match::has_key(std::u16string_view name) const { return !data_only_ && !type_ && is_in(name); }

bool Match::has_value(const Value& value) const {
  if (keys_only_ || (type_ && value.type != parse_type(*type_))) return false;
  return (!data_only_ && is_in(value.name)) || is_in(data_units(value));
}

bool Match::is_in(std::u16string_view text) const {
  if (wanted_ == u"*") return true;
  const std::u16string looked_at = minds_case_ ? std::u16string(text) : lower_case(text);
  return is_exact_ ? looked_at == wanted_ : looked_at.find(wanted_) != looked_at.npos;
}

bool same_name(std::u16string_view one, std::u16string_view other) { return lower_case(one) == lower_case(other); }

}  // namespace kvreg
