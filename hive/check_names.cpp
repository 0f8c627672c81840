#include "hive/check_names.h"

#include "hive/keys.h"
#include "hive/name.h"
#include "hive/registry.h"

namespace hive {
namespace {

constexpr int kind = 0;
constexpr int parent = 1;
constexpr int name = 2;
constexpr int folded = 3;
constexpr int class_name = 4;
constexpr std::int64_t key_kind = 0;

// Whether a stored text is what its own units give.
bool is_stored_form(std::string_view stored, const std::u16string& units) { return stored_form(units) == stored; }

const char* fault_of_key(Rows& row, const std::u16string& units) {
  if (row.is_null(parent)) return units.empty() ? nullptr : "a root with a name";
  if (units.empty()) return "a key without a name";
  if (units.size() > max_key_name_units) return "a key's name that is too long";
  if (units.find(u'\\') != units.npos) return "a key's name with a backslash";
  return nullptr;
}

const char* fault_of_class(Rows& row) {
  std::string_view stored = row.text(class_name);
  std::u16string units = units_of(stored);
  if (units.size() > max_class_units) return "a class that is too long";
  return is_stored_form(stored, units) ? nullptr : "a class that is no text";
}

}  // namespace

const char* fault_of_names(Rows& row) {
  std::u16string units = units_of(row.text(name));
  if (!is_stored_form(row.text(name), units)) return "a name that is no text";
  if (folded_form(units) != row.text(folded)) return "a folded name that is not the name's";
  if (row.number(kind) != key_kind) {
    return units.size() > max_value_name_units ? "a value's name that is too long" : nullptr;
  }
  const char* fault = fault_of_key(row, units);
  return fault == nullptr ? fault_of_class(row) : fault;
}

}  // namespace hive
