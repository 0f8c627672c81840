// The endpoint of one process: the files by which the registry's server and its clients find each other.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cstddef>

inline namespace kelvane {

class RegConnectData {
 public:
  // ok tells whether all of it worked.
  explicit RegConnectData(int is_server);
  // Removes the pid file and the endpoint file, whoever made them.
  ~RegConnectData();
  RegConnectData(const RegConnectData&) = delete;
  RegConnectData& operator=(const RegConnectData&) = delete;

  int IsAlive();
  int ConnectLock();
  int ConnectUnlock(int verify);
  int RegisterServer();
  int ConnectUnlink();
  const char* getPortName();

  // Makes a port name and writes the endpoint file.
  void PrepareLinuxPortname(int professional_mode);

  static constexpr std::size_t path_size = 4096;

  int ok;
  int isServer;
  char directory[path_size];  // of core data in a professional mode, else of the three files
  int professional;
  char* portName;  // made with malloc; null until it is known
  char endpointFile[path_size];
  char pidFile[path_size];
  int fd;  // of the pid file; the only one of this process, because closing another would drop the lock
  struct flock lockRequest;
  struct flock unlockRequest;

 private:
  bool name_professional_files();
  bool name_machine_files();
  bool open_pid_file();
  bool open_for_lock();
  void close_pid_file();
  // Whether the open file is still the one that the pid file's name stands for.
  bool is_current(const struct stat& open_file) const;
};

static_assert(offsetof(RegConnectData, ok) == 0 && offsetof(RegConnectData, isServer) == 4);
static_assert(offsetof(RegConnectData, directory) == 8 && offsetof(RegConnectData, professional) == 4104);
static_assert(offsetof(RegConnectData, portName) == 4112 && offsetof(RegConnectData, endpointFile) == 4120);
static_assert(offsetof(RegConnectData, pidFile) == 8216 && offsetof(RegConnectData, fd) == 12312);
static_assert(offsetof(RegConnectData, lockRequest) == 12320 && offsetof(RegConnectData, unlockRequest) == 12352);
static_assert(sizeof(RegConnectData) == 12384);

}  // namespace kelvane
