// browse [KEY]: the browser for the terminal, which is a program of its own beside the libraries' modules.

#include <kelvane/advapi32.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/key.h"
#include "tools/kvreg/process_facts.h"
#include "tools/kvreg/verb.h"

namespace kvreg {
namespace {

class Browse : public Verb {
 public:
  void declare(Options& options) override;
  int run() override;

 private:
  std::string key_;
  bool is_read_only_ = false;
};

void Browse::declare(Options& options) {
  options.optional_argument("KEY", key_, "Where it begins; without it at the root keys");
  options.flag("r", "read-only", is_read_only_, "Changes nothing");
  options.example("kvreg browse HKCU\\Software", "shows the keys and values there; ? lists the keys to press");
  options.example("kvreg browse --read-only", "looks at everything and can change nothing");
}

// In the folder of modules beside the library.
std::string browser_program() {
  const std::string library = file_of_address(reinterpret_cast<void*>(&KvRegistryIsAlive));
  return library.substr(0, library.rfind('/') + 1) + "kelvane/kvreg-browse";
}

int Browse::run() {
  if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0)
    throw Complaint("standard input and output must be a terminal; the other verbs serve scripts");
  if (!key_.empty()) Key::open(parse_key_path(key_));
  const std::string program = browser_program();
  std::vector<const char*> arguments = {program.c_str()};
  if (is_read_only_) arguments.push_back("-r");
  if (!key_.empty()) arguments.push_back(key_.c_str());
  arguments.push_back(nullptr);
  execv(program.c_str(), const_cast<char* const*>(arguments.data()));
  throw Complaint(program + " cannot be started: " + std::strerror(errno));
}

}  // namespace

std::unique_ptr<Verb> make_browse() { return std::make_unique<Browse>(); }

}  // namespace kvreg
