// ls KEY: names of sub-keys, with a backslash behind each, and of values. With -l a line tells more:
//   krwxr-xr-x  owner  group  sub-keys  values  last change  name, a backslash
//   v type  size in bytes  name

#include <time.h>

#include <nlohmann/json.hpp>

#include "tools/kvreg/accounts.h"
#include "tools/kvreg/form.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Ls : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void print_key(const Key& key, const std::u16string& name);
  void print_value(const Value& value);

  std::string key_;
  bool is_long_ = false;
  bool itself_ = false;
  Form form_;
  std::optional<Json_List> list_;
};

void Ls::declare(Options& options) {
  options.optional_argument("KEY", key_, "The key; without it the root keys are listed");
  options.flag("l", "long", is_long_, "Also rights, owner, group, counts and time of keys, type and size of values");
  options.flag("d", "directory", itself_, "The key itself, not what it holds");
  form_.declare(options);
  options.example("kvreg ls -l HKCU\\Software", "lists a key with rights and times");
  options.example("kvreg ls HKLM -0 | xargs -0 -n 1 echo", "hands each name on, whatever it is made of");
}

// "2026-11-21 20:15:48", in the time of this place.
std::string shown_time(std::uint64_t since_1601) {
  constexpr std::uint64_t units_a_second = 10'000'000, seconds_to_1970 = 11'644'473'600;
  const auto seconds = static_cast<time_t>(since_1601 / units_a_second) - static_cast<time_t>(seconds_to_1970);
  tm parts{};
  char text[32];
  localtime_r(&seconds, &parts);
  strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
  return text;
}

void Ls::print_key(const Key& key, const std::u16string& name) {
  if (form_.zero) return put_fields({name + u'\\'});
  if (!is_long_ && !form_.json) return put_line(shown(name) + "\\");
  const Key_Rights rights = key.rights();
  const Key_Info info = key.info();
  if (form_.json) {
    nlohmann::json object;
    put_units(object, "key", name);
    put_units(object, "class", info.class_name);
    object["mode"] = shown_mode(rights.mode);
    object["owner"] = rights.owner;
    object["group"] = rights.group;
    object["sub_keys"] = info.sub_keys;
    object["values"] = info.values;
    object["last_write_time"] = info.last_write_time;
    return list_->put(written(object));
  }
  put_line("k" + shown_mode(rights.mode) + "  " + name_of_user(rights.owner) + "  " + name_of_group(rights.group) +
           "  " + std::to_string(info.sub_keys) + "  " + std::to_string(info.values) + "  " +
           shown_time(info.last_write_time) + "  " + shown(name) + "\\");
}

void Ls::print_value(const Value& value) {
  if (form_.json) {
    list_->put(written(json_of(value)));
  } else if (form_.zero) {
    put_fields({value.name});
  } else if (is_long_) {
    put_line("v " + name_of_type(value.type) + "  " + std::to_string(value.data.size()) + "  " + shown_name(value));
  } else {
    put_line(shown_name(value));
  }
}

int Ls::run() {
  if (form_.json) list_.emplace();
  if (key_.empty()) {
    for (const Root& root : all_roots()) {
      const Key_Path path{&root, {}, {}};
      if (const std::optional<Key> key = Key::find(path)) print_key(*key, path.units());
    }
  } else {
    const Key key = Key::open(parse_key_path(key_));
    if (itself_) print_key(key, key.path().units());
    const std::vector<std::u16string> names = itself_ ? std::vector<std::u16string>() : key.sub_keys();
    for (const std::u16string& name : names) print_key(key.open_child(name), name);
    if (!itself_) key.for_each_value([&](const Value& value) { print_value(value); });
  }
  if (list_) list_->end();
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_ls() { return std::make_unique<Ls>(); }

}  // namespace kvreg
