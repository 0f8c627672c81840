// Where a host's core data lies, and whether this process is an administration utility.

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

inline namespace kelvane {
namespace {

constexpr char configuration_file[] = "/etc/kelvane.conf";
constexpr int line_size = 1024;
constexpr std::size_t host_size = 64;

// Linux allows host names as long as the whole buffer: the last byte is always the terminator.
void get_host(char (&host)[host_size]) {
  if (gethostname(host, host_size) != 0) host[0] = '\0';
  host[host_size - 1] = '\0';
}

class Text_File {
 public:
  explicit Text_File(const char* name) : file_(std::fopen(name, "re")) {}
  ~Text_File() {
    if (file_ != nullptr) std::fclose(file_);
  }
  Text_File(const Text_File&) = delete;
  Text_File& operator=(const Text_File&) = delete;

  bool is_open() const { return file_ != nullptr; }
  bool read_line(char (&line)[line_size]) { return std::fgets(line, line_size, file_) != nullptr; }

 private:
  std::FILE* file_;
};

int core_data_below(const char* base, const char* below, char* out) {
  char host[host_size];
  get_host(host);
  std::sprintf(out, "%s%s/%s/%s", base, below, KvGetProfessionalRegistryModeString(), host);
  return 1;
}

int professional_core_data(char* out) {
  const char* base = std::getenv("KVCORE_PRIVATE_DATA");
  if (base != nullptr && *base != '\0') return core_data_below(base, "", out);
  const char* home = std::getenv("HOME");
  if (home != nullptr) return core_data_below(home, "/.kv/core_data", out);
  std::fputs("HOME is not set.\n", stderr);
  return 0;
}

int configured_core_data(char* out) {
  Text_File configuration(configuration_file);
  if (!configuration.is_open()) {
    std::fprintf(stderr, "Can't open configuration file: %s.\n", std::strerror(errno));
    KvExit(1);
    return 0;
  }
  char line[line_size];
  while (configuration.read_line(line))
    if (std::sscanf(line, "CORE_DATA=%s", out) == 1) return 1;
  return 0;
}

}  // namespace
}  // namespace kelvane

int KvICalculateProfessionalModeCoreDataDirectory(char* out) { return professional_core_data(out); }

int KvICalculateCoreDataDirectory(char* out) {
  return KvIsProfessionalRegistryMode() != 0 ? professional_core_data(out) : configured_core_data(out);
}

int KvIsAdmUtility(void) { return KvEnvTrue("KVADM_UTILITY"); }

int KvUnsetAdmUtility(void) {
  // The text becomes part of the environment itself, so it lives as long as the process.
  static char setting[] = "KVADM_UTILITY=0";
  return putenv(setting);
}
