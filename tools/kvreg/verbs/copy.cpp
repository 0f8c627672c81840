// copy KEY1 KEY2: the values of a key, with /s also all below it, into another one, exactly as they are stored. What
// stands there under other names stays.

#include "tools/kvreg/failure.h"
#include "tools/kvreg/match.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/progress.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/walk.h"

namespace kvreg {
namespace {

class Copy : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void copy_values(const std::vector<Value>& values, const Key& to);

  std::string source_;
  std::string target_;
  bool is_deep_ = false;
  bool is_forced_ = false;
};

void Copy::declare(Options& options) {
  options.argument("SOURCE", source_, "The key that is copied");
  options.argument("TARGET", target_, "The key that gets the copy; made when it is missing");
  options.flag("s", "recurse", is_deep_, "Also all keys below");
  options.flag("f", "force", is_forced_, "Replaces values that are there without asking");
  options.example("kvreg copy HKCU\\Software\\Editor HKCU\\Software\\Backup /s", "copies a key with all below it");
  options.example("kvreg copy HKLM\\Software\\A HKLM\\Software\\B /f", "copies values over those of the same names");
}

void Copy::copy_values(const std::vector<Value>& values, const Key& to) {
  for (const Value& value : values) {
    const bool must_ask = !is_forced_ && to.find_value(value.name).has_value();
    if (!must_ask || ask("The value " + shown_name(value) + " of " + to.path().shown() + " is there. Replace it?"))
      to.set_value(value);
  }
}

int Copy::run() {
  const Key_Path source = parse_key_path(source_), target = parse_key_path(target_);
  if (same_name(source.units(), target.units())) throw Bad_Arguments("a key cannot be copied to itself");
  Progress progress("copying", "keys");
  const std::size_t prefix = source.sub_path.empty() ? 0 : source.sub_path.size() + 1;
  // What is below the target may be below the source, too: only what stood there before is copied.
  std::vector<std::u16string> paths;
  walk(source, is_deep_, [&](const Key& key) {
    const std::u16string& path = key.path().sub_path;
    paths.push_back(path.size() < prefix ? std::u16string() : path.substr(prefix));
  });
  for (const std::u16string& below : paths) {
    const Key from = Key::open(below.empty() ? source : source.child(below));
    copy_values(from.values(), Key::create(below.empty() ? target : target.child(below)));
    progress.step();
  }
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_copy() { return std::make_unique<Copy>(); }

}  // namespace kvreg
