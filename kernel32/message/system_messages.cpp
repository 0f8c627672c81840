// The table is made from its list, which is checked against the published numbers and for its order.
#include "kernel32/message/system_messages.h"

#include <winerror.h>
#include <winnt.h>

#include <algorithm>
#include <array>

namespace {

struct Message {
  DWORD code;
  std::string_view text;
};

constexpr std::array messages = {
#define KV_MESSAGE(symbol, number, text) Message{number, text "\r\n"},
#include "kernel32/message/system_messages.def"
#undef KV_MESSAGE
};

#define KV_MESSAGE(symbol, number, text) static_assert(static_cast<DWORD>(symbol) == number);
#include "kernel32/message/system_messages.def"
#undef KV_MESSAGE

constexpr bool precedes(const Message& first, const Message& second) { return first.code < second.code; }

static_assert(std::is_sorted(messages.begin(), messages.end(), precedes));

std::string_view find(DWORD code) {
  const auto found = std::lower_bound(messages.begin(), messages.end(), Message{code, {}}, precedes);
  return found != messages.end() && found->code == code ? found->text : std::string_view();
}

}  // namespace

std::string_view kelvane::system_message(DWORD code) {
  constexpr DWORD from_win32 = 0x80070000;
  constexpr DWORD code_mask = 0xFFFF;
  const std::string_view text = find(code);
  return text.empty() && (code & ~code_mask) == from_win32 ? find(code & code_mask) : text;
}
