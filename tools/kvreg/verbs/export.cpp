// export KEY FILE: a .reg file of the key and all below it. The file is whole or as it was.

#include "tools/kvreg/failure.h"
#include "tools/kvreg/new_file.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/progress.h"
#include "tools/kvreg/reg_text/writer.h"
#include "tools/kvreg/terminal.h"
#include "tools/kvreg/value_text.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/walk.h"

namespace kvreg {
namespace {

class Export : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void write_tree(const Key_Path& path, const Reg_Writer::Sink& sink);

  std::string key_;
  std::string file_;
  bool is_forced_ = false;
  bool is_old_ = false;
};

void Export::declare(Options& options) {
  options.argument("KEY", key_, "The key");
  options.argument("FILE", file_, "The .reg file; - for standard output");
  options.flag("y", "yes", is_forced_, "Replaces a file that stands without asking");
  options.flag("", "version4", is_old_, "Writes version 4 (REGEDIT4) in the code page of the environment");
  options.example("kvreg export HKCU\\Software\\Editor editor.reg", "writes the key and all below it");
  options.example("kvreg export HKLM\\Software - --version4 | less", "shows a key as text in the code page");
}

void Export::write_tree(const Key_Path& path, const Reg_Writer::Sink& sink) {
  Reg_Writer writer(is_old_ ? Reg_Version::code_page : Reg_Version::units, sink);
  Progress progress("exporting", "values");
  walk(path, true, [&](const Key& key) {
    if (!writer.key(key.path().units()))
      throw Complaint(key.path().shown() + ": the code page has no such name; version 5 tells it");
    progress.step();
    key.for_each_value([&](const Value& value) {
      if (!writer.value(value.name, value.type, value.data)) {
        throw Complaint(key.path().shown() + ": the value " + shown_name(value) +
                        " cannot be told exactly in the code page; version 5 tells it");
      }
      progress.step();
    });
  });
  writer.finish();
}

int Export::run() {
  const Key_Path path = parse_key_path(key_);
  if (file_ == "-") {
    write_tree(path, put);
    return exit_good;
  }
  Key::open(path);
  if (is_there(file_)) must_agree(file_ + " is there. Replace it?", is_forced_, "/y");
  New_File file(file_);
  write_tree(path, [&](std::string_view bytes) { file.write(bytes); });
  file.keep();
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_export() { return std::make_unique<Export>(); }

}  // namespace kvreg
