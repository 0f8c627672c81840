#include "tools/kvreg/key_path.h"

#include <winreg.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"

namespace kvreg {
namespace {

constexpr char16_t separator = u'\\';

// Takes the next name off the front, with the separators before it.
std::u16string_view take_name(std::u16string_view& rest) {
  const std::size_t start = rest.find_first_not_of(separator);
  rest.remove_prefix(start == rest.npos ? rest.size() : start);
  const std::u16string_view name = rest.substr(0, rest.find(separator));
  rest.remove_prefix(name.size());
  return name;
}

std::u16string joined_names(std::u16string_view rest) {
  std::u16string path;
  for (auto name = take_name(rest); !name.empty(); name = take_name(rest)) {
    if (!path.empty()) path += separator;
    path += name;
  }
  return path;
}

std::string names_of_roots() {
  std::string names;
  for (const Root& each : all_roots()) names += (names.empty() ? "" : ", ") + std::string(each.short_name);
  return names;
}

// Why it may be that what begins with a root's name is no path. Without separators the shell has taken them, as a rule.
std::string advice_on(std::u16string_view written) {
  if (written.find(separator) != written.npos) return {};
  if (find_root(written.substr(0, written.find(u'/'))) != nullptr) return "; names are parted by backslashes";
  const std::string whole = lower_case(utf8_of(written));
  for (const Root& each : all_roots()) {
    if (whole.starts_with(lower_case(each.short_name)) || whole.starts_with(lower_case(each.long_name)))
      return "; the shell takes backslashes that do not stand between quotes";
  }
  return {};
}

}  // namespace

const std::vector<Root>& all_roots() {
  static const std::vector<Root> roots = {
#define KVREG_ROOT(handle, short_name) {#handle, short_name, handle},
#include "tools/kvreg/roots.def"
#undef KVREG_ROOT
  };
  return roots;
}

const Root* find_root(std::u16string_view name) {
  const std::string wanted = lower_case(utf8_of(name));
  for (const Root& each : all_roots())
    if (wanted == lower_case(each.long_name) || wanted == lower_case(each.short_name)) return &each;
  return nullptr;
}

std::u16string Key_Path::units() const {
  std::u16string path;
  if (!machine.empty()) path = u"\\\\" + machine + separator;
  path += units_of_utf8(root->long_name);
  if (!sub_path.empty()) path += separator + sub_path;
  return path;
}

std::string Key_Path::shown() const { return kvreg::shown(units()); }

std::u16string Key_Path::name() const {
  if (sub_path.empty()) return units_of_utf8(root->long_name);
  return sub_path.substr(sub_path.rfind(separator) + 1);
}

Key_Path Key_Path::parent() const {
  Key_Path above = *this;
  const std::size_t last = sub_path.rfind(separator);
  above.sub_path.resize(last == sub_path.npos ? 0 : last);
  return above;
}

Key_Path Key_Path::child(std::u16string_view name) const {
  Key_Path below = *this;
  if (!below.sub_path.empty()) below.sub_path += separator;
  below.sub_path += name;
  return below;
}

Key_Path try_key_path(std::u16string_view written) {
  Key_Path path;
  std::u16string_view rest = written;
  if (rest.starts_with(u"\\\\")) path.machine = take_name(rest);
  path.root = find_root(take_name(rest));
  if (path.machine == u".") path.machine.clear();
  path.sub_path = joined_names(rest);
  return path;
}

Key_Path parse_key_path(std::u16string_view written) {
  Key_Path path = try_key_path(written);
  if (path.root == nullptr) {
    throw Bad_Arguments("\"" + shown(written) + "\" begins with no root key: " + names_of_roots() +
                        ", or their long names" + advice_on(written));
  }
  return path;
}

Key_Path parse_key_path(std::string_view argument) { return parse_key_path(units_of(argument)); }

}  // namespace kvreg
