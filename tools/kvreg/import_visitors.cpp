#include "tools/kvreg/import_visitors.h"

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"

namespace kvreg {
namespace {

constexpr std::size_t longest_key_name = 256, longest_value_name = 16383, deepest_key = 512;
constexpr std::size_t largest_value = 64 * 1024 * 1024;

std::string refusal_of_names(std::u16string_view sub_path) {
  std::size_t depth = 0;
  while (!sub_path.empty()) {
    const std::size_t end = std::min(sub_path.find(u'\\'), sub_path.size());
    if (end > longest_key_name) return "a name of a key has more than 256 units";
    if (++depth > deepest_key) return "the key is more than 512 keys deep";
    sub_path.remove_prefix(std::min(end + 1, sub_path.size()));
  }
  return {};
}

std::string refusal_of_path(std::u16string_view written) {
  const Key_Path path = try_key_path(written);
  if (path.root == nullptr) return "\"" + shown(written.substr(0, written.find(u'\\'))) + "\" is no root key";
  if (!path.machine.empty()) return "a key of another machine";
  return refusal_of_names(path.sub_path);
}

std::string line_of(const Key_Path& path, const Value& value) {
  return path.shown() + "  " + shown_name(value) + "  " + name_of_type(value.type) + "  " + shown_data(value);
}

}  // namespace

std::string Import_Checker::open_key(std::u16string_view path) {
  progress_.step(0);
  return refusal_of_path(path);
}

std::string Import_Checker::delete_key(std::u16string_view path) {
  const std::string refusal = refusal_of_path(path);
  if (!refusal.empty()) return refusal;
  return try_key_path(path).sub_path.empty() ? "a root key cannot be deleted" : "";
}

std::string Import_Checker::set_value(std::u16string_view name, std::uint32_t, std::string_view data) {
  if (data.size() > largest_value) return "the value has more than 64 MiB";
  return delete_value(name);
}

std::string Import_Checker::delete_value(std::u16string_view name) {
  progress_.step();
  return name.size() > longest_value_name ? "the name of the value has more than 16,383 units" : "";
}

std::string Import_Writer::open_key(std::u16string_view path) {
  key_.reset();
  key_.emplace(Key::create(parse_key_path(path)));
  progress_.step();
  return {};
}

std::string Import_Writer::delete_key(std::u16string_view path) {
  key_.reset();
  delete_tree(parse_key_path(path));
  progress_.step();
  return {};
}

std::string Import_Writer::set_value(std::u16string_view name, std::uint32_t type, std::string_view data) {
  key_->set_value({std::u16string(name), type, std::string(data)});
  progress_.step();
  return {};
}

std::string Import_Writer::delete_value(std::u16string_view name) {
  key_->delete_value(name);
  progress_.step();
  return {};
}

std::string Import_Teller::open_key(std::u16string_view path) {
  path_ = parse_key_path(path);
  key_.reset();
  if (std::optional<Key> found = Key::find(path_)) key_.emplace(std::move(*found));
  if (!key_) put_line("+ " + path_.shown());
  return {};
}

std::string Import_Teller::delete_key(std::u16string_view path) {
  const Key_Path gone = parse_key_path(path);
  if (Key::find(gone)) put_line("- " + gone.shown());
  return {};
}

std::string Import_Teller::set_value(std::u16string_view name, std::uint32_t type, std::string_view data) {
  const Value wanted{std::u16string(name), type, std::string(data)};
  const std::optional<Value> standing = key_ ? key_->find_value(name) : std::nullopt;
  if (standing && standing->type == type && standing->data == wanted.data) return {};
  if (standing) put_line("- " + line_of(path_, *standing));
  put_line("+ " + line_of(path_, wanted));
  return {};
}

std::string Import_Teller::delete_value(std::u16string_view name) {
  const std::optional<Value> standing = key_ ? key_->find_value(name) : std::nullopt;
  if (standing) put_line("- " + line_of(path_, *standing));
  return {};
}

}  // namespace kvreg
