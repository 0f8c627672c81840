// unload KEY: removes what load has made. Other keys are refused.

#include "tools/kvreg/failure.h"
#include "tools/kvreg/key_path.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/whole_hives.h"

namespace kvreg {
namespace {

class Unload : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string key_;
};

void Unload::declare(Options& options) {
  options.argument("KEY", key_, "A key that load has made");
  options.example("kvreg unload HKLM\\Old", "removes the key; the file that was loaded is as it was");
  options.example("kvreg save HKLM\\Old changed.hive", "before: keeps changes that were made in it");
}

int Unload::run() {
  unload_key(parse_key_path(key_));
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_unload() { return std::make_unique<Unload>(); }

}  // namespace kvreg
