// chgrp GROUP KEY...

#include "tools/kvreg/accounts.h"
#include "tools/kvreg/change_rights.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Chgrp : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string group_;
  std::vector<std::string> keys_;
  bool is_deep_ = false;
};

void Chgrp::declare(Options& options) {
  options.argument("GROUP", group_, "The group, by name or number");
  options.arguments("KEY", keys_, "The keys");
  options.flag("R", "recurse", is_deep_, "Also all keys below");
  options.example("kvreg chgrp adm HKLM\\Software\\Server", "gives a key another group");
  options.example("kvreg chgrp -R 100 HKLM\\Software\\Server", "and all below it, by number");
}

int Chgrp::run() {
  const Rights_Change change{{}, {}, parse_group(group_)};
  change_rights(keys_, is_deep_, [&](const Key_Rights&) { return change; });
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_chgrp() { return std::make_unique<Chgrp>(); }

}  // namespace kvreg
