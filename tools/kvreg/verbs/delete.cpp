// delete KEY: the key with all below it, or with /v, /ve or /va values of it. Asks first, unless /f is given.

#include <winerror.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Delete : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void delete_key(const Key_Path& path);
  void delete_all_values(const Key_Path& path);
  void delete_one_value(const Key_Path& path);

  std::string key_;
  std::optional<std::string> name_;
  bool is_default_ = false;
  bool all_values_ = false;
  bool is_forced_ = false;
};

void Delete::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.text("v", "value", name_, "Only this value");
  options.flag("ve", "default", is_default_, "Only the default value");
  options.flag("va", "all-values", all_values_, "All values of the key, which stays");
  options.flag("f", "force", is_forced_, "Does not ask; needed where nobody is at a terminal");
  options.example("kvreg delete HKCU\\Software\\Editor /v Font", "deletes one value, after a question");
  options.example("kvreg delete HKLM\\Software\\Editor /f", "deletes a key with all below it");
}

void Delete::delete_key(const Key_Path& path) {
  if (path.sub_path.empty()) throw Complaint(path.shown() + " is a root key; it cannot be deleted");
  Key::open(path);
  must_agree("Delete the key " + path.shown() + " with all below it?", is_forced_);
  if (!delete_tree(path)) throw Failure{path.shown(), "", ERROR_FILE_NOT_FOUND};
}

void Delete::delete_all_values(const Key_Path& path) {
  const Key key = Key::open(path, KEY_READ | KEY_WRITE);
  must_agree("Delete all values of " + path.shown() + "?", is_forced_);
  for (const Value& value : key.values()) key.delete_value(value.name);
}

void Delete::delete_one_value(const Key_Path& path) {
  const Value wanted{name_ ? units_of(*name_) : std::u16string(), REG_NONE, {}};
  const Key key = Key::open(path, KEY_READ | KEY_WRITE);
  const std::string what = "the value " + shown_name(wanted);
  if (!key.find_value(wanted.name)) throw Failure{path.shown() + ": " + what, "", ERROR_FILE_NOT_FOUND};
  must_agree("Delete " + what + " of " + path.shown() + "?", is_forced_);
  key.delete_value(wanted.name);
}

int Delete::run() {
  if ((name_ ? 1 : 0) + (is_default_ ? 1 : 0) + (all_values_ ? 1 : 0) > 1)
    throw Bad_Arguments("/v, /ve and /va exclude each other");
  const Key_Path path = parse_key_path(key_);
  if (all_values_) {
    delete_all_values(path);
  } else if (name_ || is_default_) {
    delete_one_value(path);
  } else {
    delete_key(path);
  }
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_delete() { return std::make_unique<Delete>(); }

}  // namespace kvreg
