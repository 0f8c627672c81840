// A client: the connections that share its keys. It lasts as long as one of them. What threads of batches use of it
// stands with its lock or has its own.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

#include "impl/server/key_table.h"
#include "impl/server/peer.h"
#include "impl/wire/fields.h"
#include "impl/wire/names.h"

namespace impl::server {

using Session_Id = std::array<unsigned char, wire::session_size>;

inline constexpr std::size_t notice_kinds = 2;

// A notification on its way to a client.
struct Notice {
  pid_t process = 0;  // whose report it is
  std::uint32_t kind = 0;
  std::string data;
};

struct Session {
  Session_Id id{};
  Peer peer;
  // As the client tells of itself; for the list of clients only.
  std::string program;
  std::string host;
  std::uint64_t since = 0;  // seconds since 1970
  std::size_t connections = 0;

  Key_Table keys;
  std::array<hive::Key, static_cast<std::size_t>(hive::Root::performance) + 1> roots;  // each from its first use on
  std::mutex roots_mutex;
  std::atomic<std::size_t> watches{0};      // that the store has, also those whose connection went
  std::deque<Notice> notices;               // none while a call waits for them
  std::deque<std::uint64_t> waiting;        // calls of AwaitNotification, also those whose connection went
  std::array<bool, notice_kinds> always{};  // of these kinds it reports to whoever asks
};

}  // namespace impl::server
