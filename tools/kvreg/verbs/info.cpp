// info: which registry is used and why, where it lies and what provides it.

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <kelvane/registry_table.h>
#include <kelvane/text.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "tools/kvreg/form.h"
#include "tools/kvreg/hive_files.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/process_facts.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Info : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  void tell(const char* word, const std::string& text);

  bool json_ = false;
  nlohmann::json object_;
};

void Info::declare(Options& options) {
  options.flag("", "json", json_, "Prints JSON");
  options.example("kvreg info", "tells mode, files, server, libraries and versions");
  options.example("KVREGISTRY=/srv/app.hive kvreg info --json", "the same for another registry, as JSON");
}

void Info::tell(const char* word, const std::string& text) {
  put_units(object_, word, units_of(text));
  std::string label = std::string(word) + ":";
  for (char& each : label)
    if (each == '_') each = ' ';
  label.resize(18, ' ');
  if (!json_) put_line(label + shown(units_of(text)));
}

std::string file_facts(const std::string& file) {
  struct stat facts {};
  if (file.empty()) return "only the server knows";
  if (stat(file.c_str(), &facts) != 0) return file + " (not made yet)";
  return file + " (" + std::to_string(facts.st_size) + " bytes, " + version_of_hive(file) + ")";
}

int Info::run() {
  const Root* const machine = find_root(u"HKLM");
  const Root* const user = find_root(u"HKCU");
  tell("kvreg", KVREG_VERSION);
  tell("mode", name_of_mode());
  tell("why", reason_of_mode());
  tell("server", server_facts());
  tell("machine_hive", file_facts(hive_file_of({machine, {}, {}})));
  tell("user_hive", file_facts(hive_file_of({user, {}, {}})));
  tell("user_image", user_image_file());
  tell("backups", usual_backup_folder());
  tell("implementation", file_of_address(KvIRegFunctions[0].entry));
  tell("library", file_of_address(reinterpret_cast<void*>(&KvRegistryIsAlive)));
  tell("code_page", KvCodePageKeepsAscii() != 0 ? name_of_code_page() : name_of_code_page() + " (without ASCII)");
  if (json_) put_line(written(object_));
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_info() { return std::make_unique<Info>(); }

}  // namespace kvreg
