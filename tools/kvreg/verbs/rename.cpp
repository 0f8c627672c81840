// rename KEY NAME: in place; values, rights and everything below stay.

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/whole_hives.h"

namespace kvreg {
namespace {

class Rename : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string key_;
  std::string name_;
};

void Rename::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.argument("NAME", name_, "Its new name, without a path");
  options.example("kvreg rename HKCU\\Software\\Editor OldEditor", "gives the key another name");
  options.example("kvreg rename HKCU\\Software\\editor Editor", "changes the case of its name");
}

int Rename::run() {
  const Key_Path path = parse_key_path(key_);
  if (name_.empty() || name_.find('\\') != name_.npos) throw Bad_Arguments("NAME is one name, without a path");
  rename_key(path, units_of(name_));
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_rename() { return std::make_unique<Rename>(); }

}  // namespace kvreg
