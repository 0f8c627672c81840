// add KEY: a key with all that is missing on the way, and with /v or /ve a value.

#include <winnt.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/value_type.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Add : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  bool has_value() const { return name_.has_value() || is_default_; }
  Value value() const;

  std::string key_;
  std::optional<std::string> name_;
  bool is_default_ = false;
  std::optional<std::string> type_;
  std::optional<std::string> separator_;
  std::optional<std::string> data_;
  bool is_forced_ = false;
  bool is_volatile_ = false;
};

void Add::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.text("v", "value", name_, "Name of the value");
  options.flag("ve", "default", is_default_, "The default value");
  options.text("t", "type", type_, "Type of the value (REG_SZ)");
  options.text("s", "separator", separator_, "Stands between the texts of a REG_MULTI_SZ, in place of \\0");
  options.text("d", "data", data_, "The data: text, a number (decimal, or 0x...), or bytes as hexadecimal digits");
  options.flag("f", "force", is_forced_, "Replaces a value that is there without asking");
  options.flag("", "volatile", is_volatile_, "A new key lasts until the machine is started anew");
  options.example("kvreg add HKCU\\Software\\Editor /v Font /d Mono /f", "stores a text");
  options.example("kvreg add HKLM\\Software\\Editor /v Tabs /t REG_DWORD /d 8", "stores a number");
}

Value Add::value() const {
  const DWORD type = type_ ? parse_type(*type_) : REG_SZ;
  const std::u16string separator = separator_ ? units_of(*separator_) : usual_separator;
  return {name_ ? units_of(*name_) : std::u16string(), type,
          data_of_text(type, data_ ? units_of(*data_) : std::u16string(), separator)};
}

int Add::run() {
  if (name_ && is_default_) throw Bad_Arguments("/v and /ve exclude each other");
  if (!has_value() && (type_ || data_ || separator_)) throw Bad_Arguments("/t, /d and /s need /v or /ve");
  const Key_Path path = parse_key_path(key_);
  const Value wanted = has_value() ? value() : Value();
  const Key key = Key::create(path, is_volatile_ ? REG_OPTION_VOLATILE : REG_OPTION_NON_VOLATILE);
  if (has_value()) {
    if (!is_forced_ && key.find_value(wanted.name))
      must_agree("The value " + shown_name(wanted) + " of " + path.shown() + " is there. Replace it?", false);
    key.set_value(wanted);
  }
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_add() { return std::make_unique<Add>(); }

}  // namespace kvreg
