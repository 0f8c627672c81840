// tree KEY: the keys below a key, drawn; with -v their values, too.

#include <langinfo.h>
#include <locale.h>

#include <nlohmann/json.hpp>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/form.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/number.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

// The strokes before a name: of one that others follow, of the last one, and below each of them.
struct Strokes {
  const char* middle;
  const char* last;
  const char* below_middle;
  const char* below_last;
};
constexpr Strokes lines = {"├── ", "└── ", "│   ", "    "};
constexpr Strokes ascii_lines = {"|-- ", "`-- ", "|   ", "    "};

class Tree : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void draw(const Key& key, const std::string& before, std::uint64_t depth);
  void list(const Key& key, std::uint64_t depth);
  nlohmann::json json_of_key(const Key& key, std::uint64_t depth);

  std::string key_;
  bool with_values_ = false;
  std::optional<std::string> deepest_text_;
  std::uint64_t deepest_ = ~std::uint64_t{0};
  Form form_;
  Strokes strokes_ = lines;
};

void Tree::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.flag("v", "values", with_values_, "Also the values");
  options.text("l", "levels", deepest_text_, "Goes no more than so many keys deep");
  form_.declare(options);
  options.example("kvreg tree HKCU\\Software", "draws the keys below");
  options.example("kvreg tree HKLM --levels 2 -0 | sort -z | head -z", "paths with a NUL behind each");
}

void Tree::draw(const Key& key, const std::string& before, std::uint64_t depth) {
  stop_if_interrupted();
  const std::vector<Value> values = with_values_ ? key.values() : std::vector<Value>();
  const std::vector<std::u16string> names = depth < deepest_ ? key.sub_keys() : std::vector<std::u16string>();
  for (std::size_t i = 0; i < values.size(); ++i) {
    const bool is_last = i + 1 == values.size() && names.empty();
    put_line(before + (is_last ? strokes_.last : strokes_.middle) + shown_name(values[i]) + " = " +
             name_of_type(values[i].type) + " " + shown_data(values[i]));
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool is_last = i + 1 == names.size();
    put_line(before + (is_last ? strokes_.last : strokes_.middle) + shown(names[i]));
    draw(key.open_child(names[i]), before + (is_last ? strokes_.below_last : strokes_.below_middle), depth + 1);
  }
}

void Tree::list(const Key& key, std::uint64_t depth) {
  stop_if_interrupted();
  put_fields({key.path().units()});
  if (depth == deepest_) return;
  for (const std::u16string& name : key.sub_keys()) list(key.open_child(name), depth + 1);
}

nlohmann::json Tree::json_of_key(const Key& key, std::uint64_t depth) {
  stop_if_interrupted();
  nlohmann::json object;
  put_units(object, "name", key.path().name());
  if (with_values_) {
    object["values"] = nlohmann::json::array();
    key.for_each_value([&](const Value& value) { object["values"].push_back(json_of(value)); });
  }
  object["sub_keys"] = nlohmann::json::array();
  if (depth == deepest_) return object;
  for (const std::u16string& name : key.sub_keys())
    object["sub_keys"].push_back(json_of_key(key.open_child(name), depth + 1));
  return object;
}

bool is_utf8_terminal() {
  setlocale(LC_CTYPE, "");
  const bool is_utf8 = std::string(nl_langinfo(CODESET)) == "UTF-8";
  setlocale(LC_CTYPE, "C");
  return is_utf8;
}

int Tree::run() {
  if (form_.zero && with_values_) throw Bad_Arguments("-0 lists keys only; kvreg find KEY '*' -0 lists values, too");
  if (deepest_text_) {
    const std::optional<std::uint64_t> number = parse_number(*deepest_text_);
    if (!number) throw Bad_Arguments("\"" + *deepest_text_ + "\" is no number of levels");
    deepest_ = *number;
  }
  const Key key = Key::open(parse_key_path(key_));
  if (!is_utf8_terminal()) strokes_ = ascii_lines;
  if (form_.json) {
    put_line(written(json_of_key(key, 0)));
  } else if (form_.zero) {
    list(key, 0);
  } else {
    put_line(key.path().shown());
    draw(key, "", 0);
  }
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_tree() { return std::make_unique<Tree>(); }

}  // namespace kvreg
