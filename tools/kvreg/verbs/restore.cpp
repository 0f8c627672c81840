// restore KEY FILE: what the hive file holds in the place of what the key holds. One transaction, all or nothing; the
// file is only read.

#include "tools/kvreg/failure.h"
#include "tools/kvreg/key.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/whole_hives.h"

namespace kvreg {
namespace {

class Restore : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string key_;
  std::string file_;
  bool is_forced_ = false;
};

void Restore::declare(Options& options) {
  options.argument("KEY", key_, "The key; it must be there");
  options.argument("FILE", file_, "A hive file: of save, of backup, or of another host");
  options.flag("f", "force", is_forced_, "Does not ask before what the key holds is replaced");
  options.example("kvreg restore HKLM\\Software\\Editor editor.hive", "puts back what save has written");
  options.example("kvreg restore HKCU settings.hive /f", "puts all of the user's settings back, without a question");
}

int Restore::run() {
  const Key_Path path = parse_key_path(key_);
  const Key_Info info = Key::open(path).info();
  if (info.sub_keys + info.values > 0)
    must_agree("Replace everything in " + path.shown() + " by what " + file_ + " holds?", is_forced_);
  load_key(path, file_);
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_restore() { return std::make_unique<Restore>(); }

}  // namespace kvreg
