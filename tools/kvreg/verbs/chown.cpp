// chown USER[:GROUP] KEY...

#include "tools/kvreg/accounts.h"
#include "tools/kvreg/change_rights.h"
#include "tools/kvreg/failure.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Chown : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string owner_;
  std::vector<std::string> keys_;
  bool is_deep_ = false;
};

void Chown::declare(Options& options) {
  options.argument("OWNER", owner_, "USER, USER:GROUP or :GROUP, by name or number");
  options.arguments("KEY", keys_, "The keys");
  options.flag("R", "recurse", is_deep_, "Also all keys below");
  options.example("kvreg chown www-data HKLM\\Software\\Server", "gives a key another owner");
  options.example("kvreg chown -R root:adm HKLM\\Software\\Server", "owner and group of all below it, too");
}

int Chown::run() {
  const std::size_t colon = owner_.find(':');
  const std::string user = owner_.substr(0, colon), group = colon == owner_.npos ? "" : owner_.substr(colon + 1);
  Rights_Change change;
  if (!user.empty()) change.owner = parse_user(user);
  if (!group.empty()) change.group = parse_group(group);
  if (!change.owner && !change.group) throw Bad_Arguments("\"" + owner_ + "\" names neither a user nor a group");
  change_rights(keys_, is_deep_, [&](const Key_Rights&) { return change; });
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_chown() { return std::make_unique<Chown>(); }

}  // namespace kvreg
