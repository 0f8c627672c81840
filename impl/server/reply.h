// Replies to questions.
#pragma once

#include <systemd/sd-bus.h>
#include <windef.h>

#include "impl/wire/message.h"

namespace impl::server {

inline constexpr std::size_t reply_head_size = 256;  // bytes, about: what a message has beside its fields

struct Reply {
  sd_bus_message* message = nullptr;  // whoever has the reply gives it back
  std::size_t size = 0;               // about, in bytes
  DWORD code = 0;                     // that it tells
};

// The reply with these fields; a negative errno when it cannot be made.
template <class Answer>
int make_reply(sd_bus_message* question, Answer& answer, Reply* out) {
  sd_bus_message* reply = nullptr;
  int result = sd_bus_message_new_method_return(question, &reply);
  if (result >= 0) result = wire::write(reply, answer);
  if (result < 0) {
    sd_bus_message_unref(reply);
    return result;
  }
  *out = {reply, reply_head_size + wire::size_of_fields(answer), answer.code};
  return 0;
}

}  // namespace impl::server
