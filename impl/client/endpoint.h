// Where the server is met, and whether who answers there may be trusted with this user's settings.
//
// The endpoint file names the port, a Unix stream socket. Both the folder of the endpoint file and the peer of the
// socket must belong to root, to this user or to the owner of the core data folder, and nobody else may write to the
// folder; in a folder that everybody may write to, such as the temporary directory, its sticky bit and the owner of the
// file must keep others from replacing it.
#pragma once

#include <string>

#include "impl/client/own_socket.h"

namespace impl::client {

// The endpoint file of this process's registry mode; "" when there is none.
std::string endpoint_file();

// The command that starts the server of this process's registry mode.
const char* start_command();

struct Meeting {
  Own_Socket socket;
  // Without a socket: why, and whether another attempt may soon find a server.
  std::string trouble;
  bool may_come = false;
};

// Connects once, without waiting.
Meeting meet_server(const std::string& endpoint_file);

}  // namespace impl::client
