// Where a registry's server and its clients meet, as both work it out: the files' names, which are those of
// kelvane/registry_server.h for either kind of server, and the name of the port in them. Nothing is made or opened.
#pragma once

#include <string>

namespace impl {

struct Endpoint_Files {
  std::string folder;  // where ports are made
  std::string pid_file;
  std::string endpoint_file;
};

// The one server of the machine.
Endpoint_Files machine_endpoint();

// The server of a core data folder; false, with errno, when the folder is not there.
bool user_endpoint_of(const std::string& core_data, Endpoint_Files* out_files);

// The core data folder that the settings of this process name, which need not stand; "" when they name none. In mode 0
// the process ends when there are no settings of the machine.
std::string core_data_name();

// What an open endpoint file says: its first line; "" when there is none, or it is longer than a path.
std::string port_named_in(int endpoint_file);

}  // namespace impl
