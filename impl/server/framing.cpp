#include "impl/server/framing.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "impl/wire/names.h"

namespace impl::server {
namespace {

constexpr std::string_view end_of_greeting = "BEGIN\r\n";
constexpr std::size_t most_of_greeting = 4096;
constexpr std::size_t look_ahead = 4096;

// The beginning of a message.
struct Header {
  char byte_order;
  char type;
  char flags;
  char version;
  std::uint32_t body_size;
  std::uint32_t serial;
  std::uint32_t fields_size;
};
static_assert(sizeof(Header) == 16);

std::uint32_t in_order(char byte_order, std::uint32_t number) {
  const bool is_swapped = byte_order != (__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? 'l' : 'B');
  return is_swapped ? __builtin_bswap32(number) : number;
}

bool sends_no_more(int socket) {
  pollfd end{socket, POLLRDHUP, 0};
  return poll(&end, 1, 0) > 0;
}

// The fields are filled up to a multiple of eight bytes.
std::uint64_t size_of_message(const char* bytes) {
  Header header;
  std::memcpy(&header, bytes, sizeof header);
  const std::uint64_t fields = in_order(header.byte_order, header.fields_size);
  return sizeof header + (fields + 7) / 8 * 8 + in_order(header.byte_order, header.body_size);
}

}  // namespace

Framing::Look Framing::look(int socket, bool is_greeting) {
  if (is_greeting) return look_at_greeting(socket);
  if (!knows_boundaries_) return count(socket);
  return is_inside_ ? Look::read : look_at_messages(socket);
}

void Framing::took_message() {
  is_inside_ = false;
  counted_ = 0;
  if (whole_ > 0) --whole_;
}

// What was seen may have been read otherwise.
void Framing::took_nothing() {
  is_inside_ = true;
  whole_ = 0;
  are_all_there_ = false;
}

// Whether the greeting may end in this step, and something stands behind its end.
Framing::Look Framing::look_at_greeting(int socket) {
  char bytes[most_of_greeting];
  const ssize_t size = recv(socket, bytes, sizeof bytes, MSG_PEEK | MSG_DONTWAIT);
  if (size < 0) return Look::read;  // there may be something to be written
  const std::string_view seen(bytes, static_cast<std::size_t>(size));
  const std::size_t end = seen.rfind(end_of_greeting);
  knows_boundaries_ = end == seen.npos || end + end_of_greeting.size() == seen.size();
  is_inside_ = false;
  return Look::read;
}

Framing::Look Framing::look_at_messages(int socket) {
  if (whole_ > 0) return Look::read;
  if (std::exchange(are_all_there_, false)) return Look::wait;
  char bytes[look_ahead];
  const ssize_t seen = recv(socket, bytes, sizeof bytes, MSG_PEEK | MSG_DONTWAIT);
  if (seen < 0) return errno == EAGAIN ? Look::wait : Look::read;
  if (seen == 0) return Look::read;
  const auto size = static_cast<std::size_t>(seen);
  // A beginning that stays one is read too: behind it the library meets the end.
  if (size < sizeof(Header)) return sends_no_more(socket) ? Look::read : Look::more;
  if (size_of_message(bytes) > wire::max_message) return Look::too_long;
  count_whole(bytes, size);
  return Look::read;
}

void Framing::count_whole(const char* bytes, std::size_t size) {
  std::size_t at = 0;
  while (size - at >= sizeof(Header)) {
    const std::uint64_t message = size_of_message(bytes + at);
    if (message > size - at) break;
    at += message;
    ++whole_;
  }
  are_all_there_ = at == size && size < look_ahead;
}

Framing::Look Framing::count(int socket) {
  int there = 0;
  if (is_inside_ && ioctl(socket, FIONREAD, &there) == 0) counted_ += static_cast<std::size_t>(there);
  return counted_ > wire::max_message ? Look::too_long : Look::read;
}

}  // namespace impl::server
