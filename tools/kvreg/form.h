// The three forms in which verbs tell what they found: lines for people, JSON, and fields that end with NUL.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/kvreg/options.h"

namespace kvreg {

struct Form {
  bool json = false;
  bool zero = false;

  void declare(Options& options);
  bool is_plain() const { return !json && !zero; }
};

// The members of a JSON array as they come: each put is one member.
class Json_List {
 public:
  Json_List();
  void put(std::string_view member);
  // Ends the array.
  void end();

 private:
  bool is_empty_ = true;
};

// Fields in the code page as they are, each with a NUL behind it.
void put_fields(const std::vector<std::u16string>& fields);

}  // namespace kvreg
