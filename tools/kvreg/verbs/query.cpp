// query KEY: values and sub-keys in the shape that administrators know, or what a search finds below the key.

#include <winerror.h>

#include <nlohmann/json.hpp>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/form.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/match.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/walk.h"

namespace kvreg {
namespace {

class Query : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void show(const Key& key);
  bool wants(const Value& value) const;
  std::vector<std::u16string> wanted_sub_keys(const Key& key) const;
  void print(const Key& key, const std::vector<Value>& values, const std::vector<std::u16string>& sub_keys);
  void print_plain(const Key& key, const std::vector<Value>& values, const std::vector<std::u16string>& sub_keys);
  void print_fields(const Key& key, const std::vector<Value>& values, const std::vector<std::u16string>& sub_keys);
  void print_json(const Key& key, const std::vector<Value>& values, const std::vector<std::u16string>& sub_keys);
  std::u16string separator() const;
  int finish();

  std::string key_;
  std::optional<std::string> value_;
  bool default_value_ = false;
  bool is_deep_ = false;
  bool with_type_number_ = false;
  std::optional<std::string> text_;
  std::optional<std::string> separator_;
  Match match_;
  Form form_;
  std::optional<Json_List> list_;
  std::size_t found_ = 0;
};

void Query::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.text("v", "value", value_, "This value only");
  options.flag("ve", "default", default_value_, "The default value only");
  options.flag("s", "recurse", is_deep_, "Also all keys below");
  options.text("f", "find", text_, "Only keys and values with this text in name or data");
  match_.declare(options);
  options.text("se", "separator", separator_, "Stands between the texts of a REG_MULTI_SZ, in place of \\0");
  options.flag("z", "number", with_type_number_, "Also the number of each type");
  form_.declare(options);
  options.example("kvreg query HKCU\\Software\\Editor /v Font", "shows one value");
  options.example("kvreg query HKLM\\Software /s /f timeout /json", "searches names and data, prints JSON");
}

bool Query::wants(const Value& value) const {
  if (default_value_ || value_) {
    const std::u16string name = default_value_ ? std::u16string() : units_of(*value_);
    if (!same_name(value.name, name)) return false;
  }
  return !text_ || match_.has_value(value);
}

std::vector<std::u16string> Query::wanted_sub_keys(const Key& key) const {
  std::vector<std::u16string> names;
  if (value_ || default_value_ || (is_deep_ && !text_)) return names;
  for (const std::u16string& name : key.sub_keys())
    if (!text_ || match_.has_key(name)) names.push_back(name);
  return names;
}

std::u16string Query::separator() const { return separator_ ? units_of(*separator_) : usual_separator; }

void Query::show(const Key& key) {
  std::vector<Value> values;
  if (value_ && !text_) {
    if (std::optional<Value> value = key.find_value(units_of(*value_))) values.push_back(std::move(*value));
  } else {
    key.for_each_value([&](const Value& value) {
      if (wants(value)) values.push_back(value);
    });
  }
  const std::vector<std::u16string> sub_keys = wanted_sub_keys(key);
  found_ += values.size() + (text_ ? sub_keys.size() : 0);
  const bool narrows = value_ || default_value_ || text_;
  if (!narrows || !values.empty() || !sub_keys.empty()) print(key, values, sub_keys);
}

void Query::print(const Key& key, const std::vector<Value>& values, const std::vector<std::u16string>& sub_keys) {
  if (form_.json) {
    print_json(key, values, sub_keys);
  } else if (form_.zero) {
    print_fields(key, values, sub_keys);
  } else {
    print_plain(key, values, sub_keys);
  }
}

void Query::print_plain(const Key& key, const std::vector<Value>& values, const std::vector<std::u16string>& sub_keys) {
  if (!text_ || !values.empty()) put_line("\n" + key.path().shown());
  for (const Value& value : values) {
    const std::string number = with_type_number_ ? " (" + std::to_string(value.type) + ")" : "";
    put_line("    " + shown_name(value) + "    " + name_of_type(value.type) + number + "    " +
             shown_data(value, separator()));
  }
  if (!sub_keys.empty()) put_line("");
  for (const std::u16string& name : sub_keys) put_line(key.path().child(name).shown());
}

// Key, name, type and data of each value; key, and three empty fields, of each sub-key.
void Query::print_fields(const Key& key, const std::vector<Value>& values,
                         const std::vector<std::u16string>& sub_keys) {
  for (const Value& value : values) {
    put_fields(
        {key.path().units(), value.name, units_of_utf8(name_of_type(value.type)), data_units(value, separator())});
  }
  for (const std::u16string& name : sub_keys) put_fields({key.path().child(name).units(), u"", u"", u""});
}

void Query::print_json(const Key& key, const std::vector<Value>& values, const std::vector<std::u16string>& sub_keys) {
  nlohmann::json object;
  put_units(object, "key", key.path().units());
  object["values"] = nlohmann::json::array();
  object["sub_keys"] = nlohmann::json::array();
  for (const Value& value : values) object["values"].push_back(json_of(value));
  for (const std::u16string& name : sub_keys) {
    nlohmann::json below;
    put_units(below, "name", name);
    object["sub_keys"].push_back(below);
  }
  list_->put(written(object));
}

int Query::finish() {
  if (list_) list_->end();
  if (text_ && form_.is_plain()) put_line("\nEnd of search: " + std::to_string(found_) + " match(es) found.");
  if (text_) return found_ > 0 ? exit_good : exit_failed;
  if ((value_ || default_value_) && found_ == 0) {
    const std::string name = default_value_ ? "the default value" : "the value \"" + shown(units_of(*value_)) + "\"";
    throw Complaint(parse_key_path(key_).shown() + ": " + name + ": " + describe_code(ERROR_FILE_NOT_FOUND));
  }
  return exit_good;
}

int Query::run() {
  if (value_ && default_value_) throw Bad_Arguments("/v and /ve exclude each other");
  if (text_) match_.look_for(units_of(*text_));
  const Key_Path path = parse_key_path(key_);
  if (form_.json) list_.emplace();
  walk(path, is_deep_, [&](const Key& key) { show(key); });
  return finish();
}

}  // namespace

std::unique_ptr<Verb> make_query() { return std::make_unique<Query>(); }

}  // namespace kvreg
