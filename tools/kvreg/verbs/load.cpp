// load KEY FILE: a hive file as a new key. It is copied: changes of the key do not go back to the file.

#include <winerror.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/key.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/whole_hives.h"

namespace kvreg {
namespace {

class Load : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string key_;
  std::string file_;
};

void Load::declare(Options& options) {
  options.argument("KEY", key_, "The key that is made; it must not be there");
  options.argument("FILE", file_, "A hive file: of save, of backup, or of another host");
  options.example("kvreg load HKLM\\Old settings.hive", "makes the file's content a key, to look into it");
  options.example("kvreg unload HKLM\\Old", "removes that key; the file is as it was");
}

int Load::run() {
  const Key_Path path = parse_key_path(key_);
  if (Key::find(path)) throw Failure{path.shown(), "", ERROR_ALREADY_EXISTS};
  load_key(path, file_);
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_load() { return std::make_unique<Load>(); }

}  // namespace kvreg
