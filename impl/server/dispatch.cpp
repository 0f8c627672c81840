// The table is in the order of the list; a second one by member is sorted at the first use.
#include "impl/server/dispatch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <new>

#include "impl/server/perform.h"
#include "impl/server/reply.h"
#include "impl/wire/message.h"

namespace impl::server {
namespace {

template <class Call>
inline constexpr Kind kind_of = Kind::reads;
template <>
inline constexpr Kind kind_of<wire::Begin_Session> = Kind::begins;
template <>
inline constexpr Kind kind_of<wire::Create_Key> = Kind::writes;
template <>
inline constexpr Kind kind_of<wire::Delete_Key> = Kind::writes;
template <>
inline constexpr Kind kind_of<wire::Rename_Key> = Kind::writes;
template <>
inline constexpr Kind kind_of<wire::Set_Value> = Kind::writes;
template <>
inline constexpr Kind kind_of<wire::Delete_Value> = Kind::writes;
template <>
inline constexpr Kind kind_of<wire::Change_Rights> = Kind::writes;

template <>
inline constexpr Kind kind_of<wire::Begin_Batch> = Kind::begins_batch;
template <>
inline constexpr Kind kind_of<wire::Commit_Batch> = Kind::ends_batch;
template <>
inline constexpr Kind kind_of<wire::Abandon_Batch> = Kind::ends_batch;
template <>
inline constexpr Kind kind_of<wire::Changed_Since> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::User_Domain> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::User_Number> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::Policy> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::Request_Notification> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::Report_Notification> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::Report_Always> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::Await_Notification> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::Shut_Down> = Kind::serves;
template <>
inline constexpr Kind kind_of<wire::List_Connected> = Kind::serves;

template <class Question>
inline constexpr auto question_signature = wire::fields_signature<Question>;

template <class Call>
class Asked_Of final : public Asked {
 public:
  // A question may be read again, when it could not be performed yet.
  int read(sd_bus_message* message) {
    constexpr auto& signature = question_signature<typename Call::Question>;
    if (sd_bus_message_has_signature(message, signature.units) == 0) return -EBADMSG;
    const int result = sd_bus_message_rewind(message, 1);
    return result < 0 ? result : wire::read(message, &question_);
  }

  void perform(Caller& caller) override {
    try {
      code_ = server::perform(caller, question_, &answer_);
    } catch (const std::bad_alloc&) {
      code_ = ERROR_NOT_ENOUGH_MEMORY;
    }
  }

  int answer(sd_bus_message* message, Reply* out) override {
    if (code_ == answered_later) return 0;
    if (code_ == beyond_limit) return -ENOBUFS;
    if (code_ == other_version) return -EPROTONOSUPPORT;
    answer_.code = code_;
    return make_reply(message, answer_, out);
  }

 private:
  typename Call::Question question_;
  typename Call::Answer answer_;
  DWORD code_ = ERROR_SUCCESS;
};

template <class Call>
int answer_to(Caller& caller, sd_bus_message* message, Reply* out) {
  Asked_Of<Call> asked;
  if (const int result = asked.read(message); result < 0) return result;
  asked.perform(caller);
  return asked.answer(message, out);
}

template <class Call>
std::unique_ptr<Asked> read(sd_bus_message* message, int* out_error) {
  auto asked = std::make_unique<Asked_Of<Call>>();
  *out_error = asked->read(message);
  if (*out_error < 0) asked = nullptr;
  return asked;
}

template <class Call>
int refuse(sd_bus_message* message, DWORD code, Reply* out) {
  typename Call::Answer answer;
  answer.code = code;
  return make_reply(message, answer, out);
}

template <class Call>
constexpr Row row_for() {
  return {Call::member,
          question_signature<typename Call::Question>.units,
          wire::fields_signature<typename Call::Answer>.units,
          kind_of<Call>,
          &answer_to<Call>,
          &read<Call>,
          &refuse<Call>};
}

#define KV_FIELD(type, name)
#define KV_CALL(call, its_member, question, answer) row_for<wire::call>(),
const Row table[] = {
#include "impl/wire/calls.def"
};
constexpr std::size_t row_count = std::size(table);

bool is_before(const Row* row, const char* member) { return std::strcmp(row->member, member) < 0; }

std::array<const Row*, row_count> sorted_rows() {
  std::array<const Row*, row_count> sorted;
  for (std::size_t i = 0; i < row_count; ++i) sorted[i] = &table[i];
  std::sort(sorted.begin(), sorted.end(),
            [](const Row* left, const Row* right) { return is_before(left, right->member); });
  return sorted;
}

}  // namespace

const Row* row_of(const char* member) {
  static const auto sorted = sorted_rows();
  const auto found = std::lower_bound(sorted.begin(), sorted.end(), member, is_before);
  return found != sorted.end() && std::strcmp((*found)->member, member) == 0 ? *found : nullptr;
}

Rows rows() { return {table, table + row_count}; }

}  // namespace impl::server
