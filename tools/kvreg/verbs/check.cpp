// check [KEY|FILE]...: looks whole hives through and counts what they hold; nothing is changed. Exit status 1 when
// something is wrong.

#include <kelvane/optional.h>
#include <winerror.h>

#include <nlohmann/json.hpp>
#include <optional>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/form.h"
#include "tools/kvreg/hive_files.h"
#include "tools/kvreg/json_text.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/reg_text/units.h"
#include "tools/kvreg/shown.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/whole_hives.h"
#include "tools/kvreg/wide.h"

namespace kvreg {
namespace {

struct Fault {
  std::optional<std::u16string> key;
  std::optional<std::u16string> value;
  std::string text;
};

struct Report {
  DWORD code = ERROR_SUCCESS;
  KvHiveCounts counts{};
  std::vector<Fault> faults;

  bool is_good() const { return code == ERROR_SUCCESS && faults.empty(); }
};

class Check : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  Report check(const std::string& hive, std::string* out_name) const;
  void print(const std::string& name, const Report& report);
  void print_json(const std::string& name, const Report& report);

  std::vector<std::string> hives_;
  Form form_;
  std::optional<Json_List> list_;
};

void Check::declare(Options& options) {
  options.optional_arguments("HIVE", hives_,
                             "A key, whose whole hive is looked through, or a hive file that the registry "
                             "does not use; without any HKLM and HKCU");
  options.flag("", "json", form_.json, "Prints JSON");
  options.example("kvreg check", "looks the machine's and the user's hive through");
  options.example("kvreg check /var/backups/registry/machine.hive", "looks a backup through before it is put back");
}

BOOL note_fault(void* context, const KvHiveFault* fault) {
  Fault noted;
  if (fault->key != nullptr) noted.key = units_of(fault->key);
  if (fault->value != nullptr) noted.value = units_of(fault->value);
  noted.text = fault->text;
  static_cast<Report*>(context)->faults.push_back(std::move(noted));
  return TRUE;
}

std::string line_of(const Fault& fault) {
  std::string line;
  if (fault.key) line += "key \"" + shown(*fault.key) + "\": ";
  if (fault.value) line += fault.value->empty() ? "the default value: " : "value \"" + shown(*fault.value) + "\": ";
  return line + fault.text;
}

Report Check::check(const std::string& hive, std::string* out_name) const {
  Report report;
  const Key_Path path = try_key_path(units_of(hive));
  if (path.root == nullptr) {
    *out_name = hive;
    report.code = static_cast<DWORD>(KvCheckHiveFile(absolute_file(hive).c_str(), &report.counts, note_fault, &report));
  } else {
    const std::string file = hive_file_of(path);
    *out_name = path.shown() + (file.empty() ? "" : " (" + file + ")");
    report.code = static_cast<DWORD>(KvCheckKey(Key::open(path).handle(), &report.counts, note_fault, &report));
  }
  return report;
}

void Check::print(const std::string& name, const Report& report) {
  put_line(name + ": " + (report.is_good() ? "good" : "not good"));
  if (report.code != ERROR_SUCCESS) put_line("  " + describe_code(report.code));
  for (const Fault& fault : report.faults) put_line("  " + line_of(fault));
  put_line("  " + std::to_string(report.counts.keys) + " keys (" + std::to_string(report.counts.volatile_keys) +
           " volatile), " + std::to_string(report.counts.values) + " values, " +
           std::to_string(report.counts.data_size) + " bytes of data");
}

void Check::print_json(const std::string& name, const Report& report) {
  nlohmann::json object;
  put_units(object, "hive", units_of(name));
  object["good"] = report.is_good();
  object["code"] = report.code;
  object["keys"] = report.counts.keys;
  object["volatile_keys"] = report.counts.volatile_keys;
  object["values"] = report.counts.values;
  object["data_size"] = report.counts.data_size;
  object["faults"] = nlohmann::json::array();
  for (const Fault& fault : report.faults) {
    nlohmann::json each;
    put_units(each, "text", units_of(fault.text));
    if (fault.key) put_units(each, "key", *fault.key);
    if (fault.value) put_units(each, "value", *fault.value);
    object["faults"].push_back(each);
  }
  list_->put(written(object));
}

int Check::run() {
  if (hives_.empty()) hives_ = {"HKLM", "HKCU"};
  if (form_.json) list_.emplace();
  bool all_good = true;
  for (const std::string& hive : hives_) {
    std::string name;
    const Report report = check(hive, &name);
    all_good = all_good && report.is_good();
    if (form_.json) {
      print_json(name, report);
    } else {
      print(name, report);
    }
  }
  if (list_) list_->end();
  return all_good ? exit_good : exit_failed;
}

}  // namespace

std::unique_ptr<Verb> make_check() { return std::make_unique<Check>(); }

}  // namespace kvreg
