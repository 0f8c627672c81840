// backup [FOLDER]: one moment of each hive that stands, as machine.hive and user.hive, while programs go on; from a
// server of the machine users.hive, which is all users', in the place of user.hive.

#include <kelvane/registry_admin.h>
#include <sys/stat.h>
#include <winerror.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/output.h"
#include "tools/kvreg/process_facts.h"
#include "tools/kvreg/verb.h"
#include "tools/kvreg/whole_hives.h"

namespace kvreg {
namespace {

class Backup : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string folder_;
};

void Backup::declare(Options& options) {
  options.optional_argument("FOLDER", folder_, "Takes the copies; made when it is missing. Without it the usual one");
  options.example("kvreg backup /var/backups/registry", "copies the hives; earlier copies are replaced whole");
  options.example("kvreg backup", "does so in the folder that kvreg info names");
}

int Backup::run() {
  const std::string folder = absolute_file(folder_.empty() ? usual_backup_folder() : folder_);
  const auto code = static_cast<DWORD>(RegBackup(folder.c_str(), nullptr));
  if (code != ERROR_SUCCESS) throw Failure{"", folder, code};
  for (const char* const name : {"machine.hive", "user.hive", "users.hive"}) {
    struct stat copy {};
    const std::string file = folder + "/" + name;
    if (stat(file.c_str(), &copy) == 0) put_line(file + "  " + std::to_string(copy.st_size) + " bytes");
  }
  return exit_good;
}

}  // namespace

std::unique_ptr<Verb> make_backup() { return std::make_unique<Backup>(); }

}  // namespace kvreg
