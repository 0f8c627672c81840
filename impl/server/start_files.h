// What a server's side knows of its endpoint: the pid file, whose first byte is the lock of start-up, the endpoint
// file, which holds the name of the port, and whether the folder may be used.
#pragma once

#include <string>

#include "impl/endpoint/endpoint_files.h"

namespace impl {

// The server of a core data directory, which is made when it is missing, for the user alone. False with the reason when
// it cannot be had.
bool user_endpoint(Endpoint_Files* out_files, std::string* out_reason);

// The core data directory that the settings of this process name, made as above; "" with the reason.
std::string private_core_data(std::string* out_reason);

// The port that an endpoint file names; "" when there is none. What is no regular file, or longer than a path, names
// none.
std::string port_in(const std::string& endpoint_file);

// "" when the folder can be trusted with an endpoint: it belongs to this user or to root, and nobody else may replace
// what lies in it. Otherwise the reason. A shared one may be a temporary directory, where everybody makes files and
// nobody removes another's.
std::string why_not_trusted(const std::string& folder, bool shared);

}  // namespace impl
