// What a search looks for.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tools/kvreg/key.h"
#include "tools/kvreg/options.h"

namespace kvreg {

// Case is that of ASCII letters.
class Match {
 public:
  // The switches that narrow a search: /k /d /c /e /t.
  void declare(Options& options);
  // The text looked for; "*" is found everywhere.
  void look_for(std::u16string_view text);

  bool has_key(std::u16string_view name) const;
  bool has_value(const Value& value) const;

 private:
  bool is_in(std::u16string_view text) const;

  std::u16string wanted_;
  bool keys_only_ = false;
  bool data_only_ = false;
  bool minds_case_ = false;
  bool is_exact_ = false;
  std::optional<std::string> type_;
};

// Equal without regard to the case of ASCII letters.
bool same_name(std::u16string_view one, std::u16string_view other);

}  // namespace kvreg
