// What a client tells the server of itself. Both last as long as the process.
#pragma once

#include "impl/wire/fields.h"

namespace impl::client {

wire::Bytes bytes_of_program();
wire::Bytes bytes_of_host();

}  // namespace impl::client
