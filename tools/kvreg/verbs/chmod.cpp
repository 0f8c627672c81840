// chmod MODE KEY...

#include "tools/kvreg/accounts.h"
#include "tools/kvreg/change_rights.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Chmod : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string mode_;
  std::vector<std::string> keys_;
  bool is_deep_ = false;
};

void Chmod::declare(Options& options) {
  options.argument("MODE", mode_, "Octal, 0755, or changes such as u+w,go-rwx");
  options.arguments("KEY", keys_, "The keys");
  options.flag("R", "recurse", is_deep_, "Also all keys below");
  options.example("kvreg chmod 0700 HKLM\\Software\\Editor", "sets the bits of one key");
  options.example("kvreg chmod -R go-w HKLM\\Software\\Editor", "takes the right to write from all below it, too");
}

int Chmod::run() {
  parse_mode(mode_, 0);
  change_rights(keys_, is_deep_, [&](const Key_Rights& rights) {
    return Rights_Change{parse_mode(mode_, rights.mode), {}, {}};
  });
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_chmod() { return std::make_unique<Chmod>(); }

}  // namespace kvreg
