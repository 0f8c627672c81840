#include "tools/kvreg/snapshot.h"

#include <locale.h>
#include <wctype.h>

#include "tools/kvreg/import_visitors.h"
#include "tools/kvreg/progress.h"
#include "tools/kvreg/reg_file.h"
#include "tools/kvreg/walk.h"

namespace kvreg {
namespace {

char16_t upper(char16_t unit) {
  static const locale_t everywhere = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (unit < 0x80) return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
  const wint_t raised = everywhere != nullptr ? towupper_l(unit, everywhere) : unit;
  return raised >= 0x80 && raised <= 0xFFFF ? static_cast<char16_t>(raised) : unit;
}

// The first name of a path, taken off its front.
std::u16string_view take_name(std::u16string_view& path) {
  const std::u16string_view name = path.substr(0, path.find(u'\\'));
  path.remove_prefix(std::min(name.size() + 1, path.size()));
  return name;
}

// Does what a file says in a snapshot.
class Snapshot_Writer : public Reg_Visitor {
 public:
  explicit Snapshot_Writer(Snapshot& top) : top_(top) {}

  std::string open_key(std::u16string_view path) override {
    const std::string refusal = checker_.open_key(path);
    if (refusal.empty()) key_ = &top_.make(parse_key_path(path).units());
    return refusal;
  }
  std::string delete_key(std::u16string_view path) override {
    const std::string refusal = checker_.delete_key(path);
    if (refusal.empty()) top_.remove(parse_key_path(path).units());
    return refusal;
  }
  std::string set_value(std::u16string_view name, std::uint32_t type, std::string_view data) override {
    key_->values[folded(name)] = {std::u16string(name), type, std::string(data)};
    return checker_.set_value(name, type, data);
  }
  std::string delete_value(std::u16string_view name) override {
    key_->values.erase(folded(name));
    return {};
  }

 private:
  Snapshot& top_;
  Snapshot* key_ = nullptr;
  Import_Checker checker_;
};

bool same_data(const Value& one, const Value& other) { return one.type == other.type && one.data == other.data; }

std::u16string below(const std::u16string& path, const std::u16string& name) {
  return path.empty() ? name : path + u'\\' + name;
}

// Calls on_one or on_both for the members of two ordered maps, in order.
template <class Map, class On_One, class On_Both>
void merge(const Map& left, const Map& right, On_One on_one, On_Both on_both) {
  auto l = left.begin();
  auto r = right.begin();
  while (l != left.end() || r != right.end()) {
    if (r == right.end() || (l != left.end() && l->first < r->first)) {
      on_one(Side::left, (l++)->second);
    } else if (l == left.end() || r->first < l->first) {
      on_one(Side::right, (r++)->second);
    } else {
      on_both((l++)->second, (r++)->second);
    }
  }
}

void tell_all(Side side, const Snapshot& key, const std::u16string& path, const Visit_Difference& visit) {
  visit(side, path, nullptr);
  for (const auto& [name, value] : key.values) visit(side, path, &value);
  for (const auto& [name, sub_key] : key.sub_keys) tell_all(side, sub_key, below(path, sub_key.name), visit);
}

void compare_at(const Snapshot& left, const Snapshot& right, const std::u16string& path,
                const Visit_Difference& visit) {
  visit(Side::both, path, nullptr);
  merge(
      left.values, right.values, [&](Side side, const Value& value) { visit(side, path, &value); },
      [&](const Value& one, const Value& other) {
        if (same_data(one, other)) return visit(Side::both, path, &one);
        visit(Side::left, path, &one);
        visit(Side::right, path, &other);
      });
  merge(
      left.sub_keys, right.sub_keys,
      [&](Side side, const Snapshot& key) { tell_all(side, key, below(path, key.name), visit); },
      [&](const Snapshot& one, const Snapshot& other) { compare_at(one, other, below(path, one.name), visit); });
}

}  // namespace

std::u16string folded(std::u16string_view name) {
  std::u16string raised(name);
  for (char16_t& unit : raised) unit = upper(unit);
  return raised;
}

Snapshot& Snapshot::make(std::u16string_view path) {
  Snapshot* at = this;
  while (!path.empty()) {
    const std::u16string_view part = take_name(path);
    at = &at->sub_keys[folded(part)];
    if (at->name.empty()) at->name = part;
  }
  return *at;
}

void Snapshot::remove(std::u16string_view path) {
  const std::u16string_view part = take_name(path);
  const auto found = sub_keys.find(folded(part));
  if (found == sub_keys.end()) return;
  if (path.empty()) {
    sub_keys.erase(found);
  } else {
    found->second.remove(path);
  }
}

Snapshot snapshot_of(const Key_Path& path, bool is_deep) {
  Snapshot top;
  if (!Key::find(path)) return top;
  Progress progress("reading", "keys");
  const std::size_t prefix = path.sub_path.empty() ? 0 : path.sub_path.size() + 1;
  walk(path, is_deep, [&](const Key& key) {
    const std::u16string& at = key.path().sub_path;
    Snapshot& copy = top.make(at.size() < prefix ? std::u16string() : at.substr(prefix));
    key.for_each_value([&](const Value& value) { copy.values[folded(value.name)] = value; });
    progress.step();
  });
  return top;
}

Snapshot snapshot_of_reg_file(const std::string& file) {
  Snapshot top;
  Snapshot_Writer writer(top);
  read_reg_file(file, text_of_reg_file(file), writer);
  return top;
}

void compare(const Snapshot& left, const Snapshot& right, const Visit_Difference& visit) {
  compare_at(left, right, {}, visit);
}

}  // namespace kvreg
