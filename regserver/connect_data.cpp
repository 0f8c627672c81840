// How an endpoint comes and goes: the names of its files, the pid file's descriptor, the port's name.

#include "regserver/connect_data.h"

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "registry/array.h"

inline namespace kelvane {
namespace {

constexpr mode_t folder_mode = 0755;
constexpr mode_t file_mode = 0644;
constexpr mode_t server_file_mode = 0666;
constexpr char port_prefix[] = "rgs";

struct flock request(short type) {
  struct flock first_byte {};
  first_byte.l_type = type;
  first_byte.l_whence = SEEK_SET;
  first_byte.l_start = 0;
  first_byte.l_len = 1;
  return first_byte;
}

std::size_t length_of_variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::strlen(value) : 0;
}

// The directory of core data; false when there is none or its name is too long for any file. The function that
// knows it copies without a bound.
bool get_core_data(char (&out)[RegConnectData::path_size]) {
  Array<char> room(length_of_variable("KVCORE_PRIVATE_DATA") + length_of_variable("HOME") + sizeof out);
  if (KvICalculateProfessionalModeCoreDataDirectory(room.data()) == 0) return false;
  const std::size_t length = std::strlen(room.data());
  if (length >= sizeof out) return false;
  std::memcpy(out, room.data(), length + 1);
  return true;
}

void keep_from_programs(int descriptor) {
  if (descriptor != -1) fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

}  // namespace

RegConnectData::RegConnectData(int is_server)
    : ok(0),
      isServer(is_server),
      directory(),
      professional(KvIsProfessionalRegistryMode()),
      portName(nullptr),
      endpointFile(),
      pidFile(),
      fd(-1),
      lockRequest(request(F_WRLCK)),
      unlockRequest(request(F_UNLCK)) {
  if (!(professional != 0 ? name_professional_files() : name_machine_files())) return;
  if (!open_pid_file()) return;
  if (isServer != 0 && IsAlive() == 0) PrepareLinuxPortname(professional);
  ok = 1;
}

// QUIRK client-removes-endpoint: the files of the server go also when a client's endpoint goes.
RegConnectData::~RegConnectData() {
  close_pid_file();
  unlink(pidFile);
  std::free(portName);
  unlink(endpointFile);
}

// The name of the core data directory's own files: other users and other installations have others.
bool RegConnectData::name_professional_files() {
  if (!get_core_data(directory)) return false;
  struct stat core_data;
  if (!insure_stat(directory, &core_data)) {
    const int error = errno;
    std::fprintf(stderr, "Can't stat data directory %s errno =%d.\n", directory, error);
    return false;
  }
  char identity[64];
  std::snprintf(identity, sizeof identity, "%lx:%lld", static_cast<unsigned long>(core_data.st_dev),
                static_cast<long long>(core_data.st_ino));
  std::snprintf(pidFile, sizeof pidFile, "%s/regss%s.pid", KvTmpDir(0), identity);
  std::snprintf(endpointFile, sizeof endpointFile, "%s/regss%s", KvTmpDir(0), identity);
  return true;
}

bool RegConnectData::name_machine_files() {
  std::snprintf(directory, sizeof directory, "%s/kv", KvTmpDir(0));
  if (mkdir(directory, folder_mode) == 0) {
    chmod(directory, folder_mode);  // the creation mask may have taken bits away
  } else if (errno != EEXIST) {
    std::fprintf(stderr, "Can't create directory %s for endpoint.\n", directory);
  }
  std::snprintf(endpointFile, sizeof endpointFile, "%s/kv/regss", KvTmpDir(0));
  std::snprintf(pidFile, sizeof pidFile, "%s/kv/regss.pid", KvTmpDir(0));
  return true;
}

bool RegConnectData::open_pid_file() {
  if (isServer == 0 && professional == 0) {
    // QUIRK client-lock-refused: a pid file opened for reading only can never be locked by this client.
    fd = open(pidFile, O_RDONLY);
    keep_from_programs(fd);
    return true;
  }
  fd = KvCreatePrivateFile(pidFile, O_RDWR | O_CREAT, server_file_mode);
  if (fd == -1) {
    std::fprintf(stderr, "Can't open %s.\n", pidFile);
    return false;
  }
  if (professional == 0) fchmod(fd, file_mode);
  return true;
}

bool RegConnectData::open_for_lock() {
  fd = KvCreatePrivateFile(pidFile, O_RDWR | O_CREAT, file_mode);
  if (fd == -1) {
    std::fprintf(stderr, "Can't open %s.\n", pidFile);
    return false;
  }
  fchmod(fd, file_mode);
  return true;
}

void RegConnectData::close_pid_file() {
  if (fd != -1) close(fd);
  fd = -1;
}

void RegConnectData::PrepareLinuxPortname(int professional_mode) {
  char folder[path_size];
  std::snprintf(folder, sizeof folder, "%s%s", KvTmpDir(0), professional_mode != 0 ? "" : "/kv");
  portName = Kv_tempnam(folder, port_prefix);
  std::FILE* const endpoint = std::fopen(endpointFile, "wt");
  // QUIRK endpoint-unchecked: a port whose name nobody can read is made all the same.
  if (endpoint != nullptr) {
    std::fprintf(endpoint, "%s", portName != nullptr ? portName : "");
    std::fflush(endpoint);
    std::fclose(endpoint);
  }
  chmod(endpointFile, file_mode);
}

const char* RegConnectData::getPortName() {
  if (portName != nullptr) return portName;
  std::FILE* const endpoint = std::fopen(endpointFile, "rt");
  if (endpoint == nullptr) return nullptr;
  char line[path_size];
  const bool has_line = std::fgets(line, sizeof line, endpoint) != nullptr;
  std::fclose(endpoint);
  if (has_line) portName = strdup(line);
  return portName;
}

}  // namespace kelvane
