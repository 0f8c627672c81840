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

template <class Question>
inline constexpr auto question_signature = wire::fields_signature<Question>;

template <class Call>
int answer_to(Caller& caller, sd_bus_message* message, Reply* out) {
  typename Call::Question question;
  typename Call::Answer answer;
  if (sd_bus_message_has_signature(message, question_signature<typename Call::Question>.units) == 0) return -EBADMSG;
  if (const int result = wire::read(message, &question); result < 0) return result;
  DWORD code = 0;
  try {
    code = perform(caller, question, &answer);
  } catch (const std::bad_alloc&) {
    code = ERROR_NOT_ENOUGH_MEMORY;
  }
  if (code == answered_later) return 0;
  if (code == beyond_limit) return -ENOBUFS;
  if (code == other_version) return -EPROTONOSUPPORT;
  answer.code = code;
  return make_reply(message, answer, out);
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
