// find KEY TEXT: paths of the keys, and paths and names of the values, that have a text in name or data.

#include <nlohmann/json.hpp>

#include "tools/kvreg/form.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/match.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/progress.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/walk.h"

namespace kvreg {
namespace {

class Find : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void print_key(const Key_Path& path);
  void print_value(const Key_Path& path, const Value& value);

  std::string key_;
  std::string text_;
  Match match_;
  Form form_;
  std::optional<Json_List> list_;
  std::size_t found_ = 0;
};

void Find::declare(Options& options) {
  options.argument("KEY", key_, "Where the search begins");
  options.argument("TEXT", text_, "The text looked for; * finds everything");
  match_.declare(options);
  form_.declare(options);
  options.example("kvreg find HKCU timeout", "finds keys and values with \"timeout\" in name or data");
  options.example("kvreg find HKLM\\Software / --data -0 | xargs -0 -n 4 printf '%s\\n'",
                  "hands key, name, type and data on");
}

void Find::print_key(const Key_Path& path) {
  ++found_;
  if (form_.json) {
    nlohmann::json object;
    put_units(object, "key", path.units());
    list_->put(written(object));
  } else if (form_.zero) {
    put_fields({path.units(), u"", u"", u""});
  } else {
    put_line(path.shown());
  }
}

void Find::print_value(const Key_Path& path, const Value& value) {
  ++found_;
  if (form_.json) {
    nlohmann::json object;
    put_units(object, "key", path.units());
    object["value"] = json_of(value);
    list_->put(written(object));
  } else if (form_.zero) {
    put_fields({path.units(), value.name, units_of_utf8(name_of_type(value.type)), data_units(value)});
  } else {
    put_line(path.shown() + "  " + shown_name(value) + "  " + name_of_type(value.type) + "  " + shown_data(value));
  }
}

int Find::run() {
  const Key_Path top = parse_key_path(key_);
  match_.look_for(units_of(text_));
  if (form_.json) list_.emplace();
  Progress progress("searching", "keys");
  walk(top, true, [&](const Key& key) {
    progress.step();
    if (key.path().sub_path != top.sub_path && match_.has_key(key.path().name())) print_key(key.path());
    key.for_each_value([&](const Value& value) {
      if (match_.has_value(value)) print_value(key.path(), value);
    });
  });
  if (list_) list_->end();
  return found_ > 0 ? exit_good : exit_failed;
}

}  // namespace

std::unique_ptr<Verb> make_find() { return std::make_unique<Find>(); }

}  // namespace kvreg
