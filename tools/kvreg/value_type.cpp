#include "tools/kvreg/value_type.h"

#include <winnt.h>

#include <cstdio>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/number.h"
#include "tools/kvreg/reg_text/reg_types.h"
#include "tools/kvreg/reg_text/units.h"

namespace kvreg {
namespace {

struct Named_Type {
  DWORD type;
  const char* name;
};

constexpr Named_Type named_types[] = {
#define KVREG_TYPE(type) {type, #type},
#include "tools/kvreg/value_types.def"
#undef KVREG_TYPE
};

std::string names_of_types() {
  std::string names;
  for (const Named_Type& each : named_types) names += std::string(each.name) + ", ";
  return names;
}

}  // namespace

std::string name_of_type(DWORD type) {
  for (const Named_Type& each : named_types)
    if (each.type == type) return each.name;
  char number[16];
  std::snprintf(number, sizeof number, "0x%x", type);
  return number;
}

std::optional<DWORD> type_of_name(std::string_view name) {
  const std::string wanted = lower_case(name);
  for (const Named_Type& each : named_types) {
    const std::string known = lower_case(each.name);
    if (wanted == known || "reg_" + wanted == known) return each.type;
  }
  if (wanted == "reg_dword_little_endian") return REG_DWORD;
  if (wanted == "reg_qword_little_endian") return REG_QWORD;
  const std::optional<std::uint64_t> number = parse_number(name);
  if (number && *number <= 0xFFFFFFFFu) return static_cast<DWORD>(*number);
  return std::nullopt;
}

DWORD parse_type(std::string_view name) {
  const std::optional<DWORD> type = type_of_name(name);
  if (!type)
    throw Bad_Arguments("\"" + std::string(name) + "\" is no type of values: " + names_of_types() + "or a number");
  return *type;
}

bool is_text(DWORD type) { return is_stored_as_units(type); }

}  // namespace kvreg
