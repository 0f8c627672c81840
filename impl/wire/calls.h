// The calls as types: Open_Key::member, Open_Key::Question, Open_Key::Answer. Each answer has its Win32 code first.
#pragma once

#include "impl/wire/fields.h"

namespace impl::wire {

#define KV_PLAIN(...) __VA_ARGS__

#define KV_FIELD(type, name) type name{};
#define KV_CALL(call, its_member, question, answer) \
  struct call {                                     \
    static constexpr char member[] = its_member;    \
    struct Question {                               \
      KV_PLAIN question                             \
    };                                              \
    struct Answer {                                 \
      Number code = 0;                              \
      KV_PLAIN answer                               \
    };                                              \
  };
#include "impl/wire/calls.def"

#define KV_FIELD(type, name) std::tie(record.name),
#define KV_CALL(call, its_member, question, answer)                               \
  inline auto fields_of([[maybe_unused]] call::Question& record) {                \
    return std::tuple_cat(KV_PLAIN question std::tuple<>());                      \
  }                                                                               \
  inline auto fields_of(call::Answer& record) {                                   \
    return std::tuple_cat(std::tie(record.code), KV_PLAIN answer std::tuple<>()); \
  }
#include "impl/wire/calls.def"

#undef KV_PLAIN

}  // namespace impl::wire
