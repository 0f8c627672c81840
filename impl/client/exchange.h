// One question to the server and what is done with its answer.
#pragma once

#include <systemd/sd-bus.h>
#include <windef.h>
#include <winerror.h>

#include <memory>
#include <type_traits>
#include <utility>

#include "impl/wire/message.h"

namespace impl::client {

// An answer that no server of this protocol gives. Its connection is given up.
inline constexpr DWORD wrong_answer = RPC_S_PROTOCOL_ERROR;

class Exchange {
 public:
  virtual const char* member() const = 0;
  // Appends the question about a key, if it is about one; negative errno.
  virtual int write(sd_bus_message* question, wire::Number key) = 0;
  // Takes the answer: a Win32 code, wrong_answer for what is none.
  virtual DWORD read(sd_bus_message* answer) = 0;
  // Whether the question is to change something that a batch may hold.
  virtual bool is_change() const = 0;

  // Whether the question may have reached a server whose answer did not come. It is then asked again, unless it must
  // not be.
  bool was_asked_before = false;
  bool may_be_repeated = true;

 protected:
  ~Exchange() = default;
};

template <class Call, class... Calls>
inline constexpr bool is_one_of = (std::is_same_v<Call, Calls> || ...);

template <class Call>
inline constexpr bool changes_keys =
    is_one_of<Call, wire::Create_Key, wire::Delete_Key, wire::Rename_Key, wire::Set_Value, wire::Delete_Value,
              wire::Change_Rights, wire::Load_Key, wire::Unload_Key>;

// Take is called with the answer, whose bytes last as long as the call, and gives the code.
template <class Call, class Take>
class Exchange_Of final : public Exchange {
 public:
  Exchange_Of(const typename Call::Question& question, Take take) : question_(question), take_(std::move(take)) {}

  const char* member() const override { return Call::member; }

  int write(sd_bus_message* message, [[maybe_unused]] wire::Number key) override {
    if constexpr (requires { question_.key; }) question_.key = key;
    return wire::write(message, question_);
  }

  DWORD read(sd_bus_message* message) override {
    typename Call::Answer answer;
    return wire::read(message, &answer) < 0 ? wrong_answer : take_(answer);
  }

  bool is_change() const override { return changes_keys<Call>; }

 private:
  typename Call::Question question_;
  Take take_;
};

template <class Call, class Take>
Exchange_Of<Call, Take> exchange(const typename Call::Question& question, Take take) {
  return {question, std::move(take)};
}

// For answers that are a code only.
template <class Call>
auto exchange(const typename Call::Question& question) {
  return exchange<Call>(question, [](const auto& answer) { return DWORD{answer.code}; });
}

struct Message_Release {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, Message_Release>;

}  // namespace impl::client
