// save KEY FILE: a hive file of its own. One that stands is replaced after a question, or with /y, by the whole new
// one.

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/key.h"
#include "tools/kvreg/new_file.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/whole_hives.h"

namespace kvreg {
namespace {

class Save : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string key_;
  std::string file_;
  bool is_forced_ = false;
};

void Save::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.argument("FILE", file_, "The hive file that is made, for its owner alone");
  options.flag("y", "yes", is_forced_, "Replaces a file that stands without asking");
  options.example("kvreg save HKLM\\Software\\Editor editor.hive", "saves a key");
  options.example("kvreg save HKCU settings.hive /y", "saves all of the user's settings, over an older file");
}

int Save::run() {
  const Key_Path path = parse_key_path(key_);
  Key::open(path);
  if (is_there(file_)) {
    must_agree(file_ + " is there. Replace it?", is_forced_, "/y");
    const std::string beside = name_beside(file_);
    save_key(path, beside);
    if (std::rename(beside.c_str(), file_.c_str()) != 0) {
      const std::string reason = std::strerror(errno);
      unlink(beside.c_str());
      throw Complaint("cannot replace " + file_ + ": " + reason);
    }
  } else {
    save_key(path, file_);
  }
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_save() { return std::make_unique<Save>(); }

}  // namespace kvreg
