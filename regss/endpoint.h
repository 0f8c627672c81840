// The endpoint of the server that this process is: found free under the lock of start-up, made, recorded, and taken
// away at the end by nobody but who recorded it.
#pragma once

#include <string>
#include <vector>

#include "impl/server/start_descriptor.h"
#include "impl/server/start_files.h"
#include "impl/server/start_lock.h"

namespace regss {

class Endpoint {
 public:
  Endpoint(impl::Endpoint_Files files, bool machine_wide);

  enum class Claim { made, served_already, failed };

  // Takes the lock, or the one that was handed over (-1: none), and asks whether a server lives: whether the port that
  // the endpoint file names answers. What the pid file says is not asked: its number may be another process's by now.
  // own_port is the socket of the service manager if there is one, which answers without a server.
  Claim claim(int handed_lock, const std::string& own_port);
  // With the lock: listens at a new port, or takes the sockets that were handed over; the endpoint file names the
  // first, and the pid file this process.
  bool open(const std::vector<int>& handed_sockets);
  // With the lock: writes the endpoint file alone.
  bool announce(const std::string& port);
  void release_lock() { lock_.release(); }
  // The end of the server. Files of another one are left alone, and so is the endpoint file of handed sockets: at those
  // the next one is met. The lock stays taken until the process has ended.
  void withdraw();

  // Why claim or open did not succeed.
  const std::string& reason() const { return reason_; }
  const std::string& port() const { return port_; }
  const std::vector<int>& sockets() const { return sockets_; }

 private:
  bool prepare_folder();
  bool lock(int handed_lock);
  bool listen();
  void remove_stale_port() const;
  bool fail(const std::string& reason);

  impl::Endpoint_Files files_;
  bool machine_wide_;
  impl::Start_Lock lock_;
  std::string reason_;
  std::string port_;
  impl::Descriptor own_socket_;
  std::vector<int> sockets_;
};

}  // namespace regss
