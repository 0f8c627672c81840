// Sockets that the service manager made, listens at and hands over.
#pragma once

#include <string>
#include <vector>

namespace regss {

// In the order of the service manager; empty when there are none. False with the reason when one is no listening Unix
// stream socket in the file system. They are this process's alone from then on: programs that it starts get none.
bool take_handed_sockets(std::vector<int>* out_sockets, std::string* out_reason);

// The path that a socket is bound to.
std::string path_of_socket(int socket);

}  // namespace regss
