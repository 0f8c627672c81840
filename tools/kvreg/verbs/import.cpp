// import FILE: reads the whole .reg file, and only when every line is good changes the registry, in one batch.

#include "tools/kvreg/batch.h"
#include "tools/kvreg/import_visitors.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_file.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Import : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void apply(const Decoded_Text& text) const;

  std::string file_;
  bool only_tells_ = false;
  bool without_batch_ = false;
};

void Import::declare(Options& options) {
  options.argument("FILE", file_, "The .reg file; - for standard input");
  options.flag("n", "dry-run", only_tells_, "Changes nothing and prints what would change");
  options.flag("", "no-batch", without_batch_,
               "Writes line by line: for what takes longer than the 30 seconds of a batch");
  options.example("kvreg import editor.reg", "takes the file into the registry, all of it or nothing");
  options.example("kvreg import editor.reg --dry-run", "prints what would change");
}

void Import::apply(const Decoded_Text& text) const {
  Import_Writer writer;
  if (without_batch_) return read_reg_file(file_, text, writer);
  Batch batch;
  read_reg_file(file_, text, writer);
  writer.close();
  batch.commit();
}

int Import::run() {
  const Decoded_Text text = text_of_reg_file(file_);
  {
    Import_Checker checker;
    read_reg_file(file_, text, checker);
  }
  if (only_tells_) {
    Import_Teller teller;
    read_reg_file(file_, text, teller);
    return exit_good;
  }
  apply(text);
  put_line("The operation completed successfully.");
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_import() { return std::make_unique<Import>(); }

}  // namespace kvreg
