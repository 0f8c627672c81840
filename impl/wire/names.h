// Where the registry's server is met on a connection, and the limits that both ends keep.
#pragma once

#include <cstddef>
#include <cstdint>

namespace impl::wire {

// A connection is a D-Bus connection without a bus: there is one object with one interface. org.freedesktop.DBus.Hello
// is answered too, so that common D-Bus tools can look and call.
inline constexpr char object_path[] = "/com/kelvane/Registry";
inline constexpr char interface_name[] = "com.kelvane.Registry1";

// Errors of the transport; what the registry answers is a Win32 code in the answer.
inline constexpr char error_malformed[] = "com.kelvane.Error.Malformed";   // a question that cannot be read
inline constexpr char error_no_session[] = "com.kelvane.Error.NoSession";  // a call before BeginSession
inline constexpr char error_limit[] = "com.kelvane.Error.LimitExceeded";   // of handles, calls or watches
inline constexpr char error_version[] = "com.kelvane.Error.UnsupportedVersion";

inline constexpr std::uint32_t protocol_version = 1;

inline constexpr std::size_t max_inline_data = 1 << 20;  // bytes; above, a sealed memory file
inline constexpr std::size_t max_message = 4 << 20;      // bytes of a message's fields together
inline constexpr std::size_t max_listing = 256 * 1024;   // bytes of a list from which on it is not gone on with
inline constexpr std::size_t max_handles = 100'000;      // for each session
inline constexpr std::size_t max_calls_under_way = 64;   // for each connection
inline constexpr std::size_t max_watches = 10'000;       // for each session
inline constexpr std::size_t max_connections = 4096;     // for each user
inline constexpr std::size_t max_batches = 16;           // for each user
inline constexpr std::size_t session_size = 16;          // bytes, random

}  // namespace impl::wire
