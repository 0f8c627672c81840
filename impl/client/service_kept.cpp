// Values by name: from memory while it is known to be true, else from the server, whose answer is kept.
//
// The first value of a key that is asked for is kept alone. When another one is asked for while that is still true, all
// of the key's are fetched. When only the hive's number has changed, the server is asked which keys did, for many at
// once, before anything is fetched again.
#include <winnt.h>

#include <algorithm>

#include "impl/client/client_service.h"
#include "impl/client/told_value.h"

namespace impl::client {
namespace {

constexpr wire::Number values_at_once = 1024;

using Extent = Kept_Values::Extent;
using Knowledge = Kept_Answers::Knowledge;

// The value alone, to be kept; null when its data did not come with the answer.
std::unique_ptr<Kept_Values> kept_of(std::u16string_view name, const wire::Query_Value::Answer& answer) {
  const bool is_missing = answer.code == ERROR_FILE_NOT_FOUND;
  const bool is_whole = answer.code == ERROR_SUCCESS && answer.memory.fd < 0 && answer.size <= max_kept_value_size &&
                        answer.data.size() == answer.size;
  if (answer.change == 0 || !(is_missing || is_whole) || name.size() > hive::Folded_Name::max_units) return nullptr;
  auto values = std::make_unique<Kept_Values>(Extent::of_some);
  if (is_missing) {
    values->add_missing(name);
  } else {
    values->add(name, answer.type, answer.size, answer.data);
  }
  return values;
}

// All values of a key as they come, a part a message.
class Listing {
 public:
  wire::Enumerate_Values::Question question() const {
    return {0, index_, values_at_once, static_cast<wire::Number>(max_kept_value_size)};
  }
  // Takes the next part. False when there is no further one, or what came cannot be kept.
  bool take(wire::Enumerate_Values::Answer& answer) {
    const bool is_end = answer.code == ERROR_NO_MORE_ITEMS;
    const bool is_same = answer.change != 0 && (index_ == 0 || answer.change == change_);
    change_ = answer.change;
    is_good_ = is_same && (is_end || answer.code == ERROR_SUCCESS);
    if (!is_good_ || is_end) return false;
    std::size_t size = 0;
    for (wire::Value& each : answer.values) {
      size += wire::size_of_fields(each);
      values_->add(wire::text_of(each.name), each.type, each.size, each.data);
    }
    memory_ += size;
    index_ += static_cast<wire::Number>(answer.values.size());
    are_too_many_ = index_ > max_kept_values || memory_ > max_kept_memory;
    is_good_ = !are_too_many_;
    return is_good_ && (answer.values.size() >= values_at_once || size >= wire::max_listing);
  }

  bool is_good() const { return is_good_; }
  bool are_too_many() const { return are_too_many_; }
  std::uint64_t change() const { return change_; }
  std::unique_ptr<Kept_Values> values() { return std::move(values_); }

 private:
  std::unique_ptr<Kept_Values> values_ = std::make_unique<Kept_Values>(Extent::of_all);
  wire::Number index_ = 0;
  std::size_t memory_ = 0;
  std::uint64_t change_ = 0;
  bool is_good_ = false;
  bool are_too_many_ = false;
};

}  // namespace

// Within a batch the thread reads what it has changed itself, which only the server knows.
DWORD Client_Service::query_value(HKEY key, std::u16string_view name, Value_Room& value) {
  const bool is_in_batch = carrier_.batches().of_thread() != nullptr;
  if (is_in_batch) return fits_message(name) ? ask_value(key, name, value) : DWORD{ERROR_FILE_NOT_FOUND};
  if (const auto known = kept_.known_value(keys_, key, name, value)) return *known;
  if (!fits_message(name)) return ERROR_FILE_NOT_FOUND;
  if (const auto found = find_value(key, name, value)) return *found;
  return ask_value(key, name, value);
}

// Nothing when the value itself has to be asked for.
std::optional<DWORD> Client_Service::find_value(HKEY key, std::u16string_view name, Value_Room& value) {
  if (root_of(key)) return std::nullopt;
  const Remote_Keys::Pin pin(keys_, key);
  if (!pin || (granted_access(pin.key().access) & KEY_QUERY_VALUE) == 0) return std::nullopt;
  Knowledge knowledge = Kept_Answers::knowledge_of(pin.key());
  if (knowledge == Knowledge::in_doubt) {
    settle_doubts(pin.key());
    if (const auto known = kept_.known_value(keys_, key, name, value)) return known;
    knowledge = Kept_Answers::knowledge_of(pin.key());
  }
  if (knowledge != Knowledge::some || pin.key().kept.are_too_many) return std::nullopt;
  keep_all_values(key);
  return kept_.known_value(keys_, key, name, value);
}

// More is asked for than the caller has room for: he may come again with more of it.
DWORD Client_Service::ask_value(HKEY key, std::u16string_view name, Value_Room& value) {
  const std::uint64_t user = number_of_user();
  const auto room = std::max(room_for(value), static_cast<wire::Number>(max_kept_value_size));
  std::unique_ptr<Kept_Values> kept;
  std::uint64_t change = 0;
  std::shared_ptr<Session> session;
  const auto take = [&](const wire::Query_Value::Answer& answer) -> DWORD {
    kept = kept_of(name, answer);
    change = answer.change;
    if (!is_told(answer.code)) return answer.code;
    value.type = answer.type;
    value.size = answer.size;
    if (value.data == nullptr) return ERROR_SUCCESS;
    if (!takes(value, answer.size)) return ERROR_MORE_DATA;
    return copy_data(answer.data, answer.memory, answer.size, value.data) ? ERROR_SUCCESS : wrong_answer;
  };
  const DWORD code = read<wire::Query_Value>(key, KEY_QUERY_VALUE, {0, wire::bytes_of(name), room}, take, &session);
  if (kept != nullptr && code != wrong_answer) keep(key, *session, user, change, std::move(kept));
  return code;
}

// For one key alone its value is asked for as easily.
void Client_Service::settle_doubts(const Remote_Key& key) {
  std::shared_ptr<Session> session, answering;
  const std::vector<Kept_Answers::Doubt> doubts = kept_.doubts_beside(key, &session);
  if (doubts.size() < 2) return;
  wire::Changed_Since::Question question{{}, doubts.front().true_under};
  for (const Kept_Answers::Doubt& doubt : doubts) {
    question.keys.push_back(doubt.number);
    question.change = std::min(question.change, doubt.true_under);
  }
  std::vector<bool> changed;
  std::uint64_t number = 0;
  auto exchange = client::exchange<wire::Changed_Since>(question, [&](const auto& answer) -> DWORD {
    if (answer.code != ERROR_SUCCESS) return answer.code;
    if (answer.changed.size() != doubts.size()) return wrong_answer;
    changed.assign(answer.changed.begin(), answer.changed.end());
    number = answer.change;
    return ERROR_SUCCESS;
  });
  const DWORD code = carrier_.carry(exchange, {.root = key.root, .key = &key}, &answering);
  // In another session the numbers are other keys'.
  if (code != ERROR_SUCCESS || answering != session || number == 0) return;
  Kept_Answers::settle(keys_, doubts, changed, number);
}

void Client_Service::keep_all_values(HKEY key) {
  const std::uint64_t user = number_of_user();
  Listing listing;
  std::shared_ptr<Session> session, first;
  bool goes_on = true;
  while (goes_on) {
    const auto take = [&](auto& answer) -> DWORD {
      goes_on = listing.take(answer);
      return answer.code;
    };
    const DWORD code = read<wire::Enumerate_Values>(key, KEY_QUERY_VALUE, listing.question(), take, &session);
    if (first == nullptr) first = session;
    if ((code != ERROR_SUCCESS && code != ERROR_NO_MORE_ITEMS) || session != first) return;
  }
  if (listing.is_good()) return keep(key, *session, user, listing.change(), listing.values());
  const Remote_Keys::Pin pin(keys_, key);
  if (pin) pin.key().kept.are_too_many = listing.are_too_many();
}

// Not for a root handle, nor when the process became another user meanwhile.
void Client_Service::keep(HKEY key, Session& session, std::uint64_t user, std::uint64_t number,
                          std::unique_ptr<Kept_Values> values) {
  const Remote_Keys::Pin pin(keys_, key);
  Keeping keeping;
  keeping.number = number;
  keeping.user = user;
  {
    const std::lock_guard lock(client_mutex());
    keeping.view = session.changes;
  }
  if (!pin || keeping.view == nullptr || number_of_user() != user) return;
  keeping.shown_number = keeping.view->number_of(pin.key().id);
  if (keeping.shown_number == nullptr) return;
  values->finish(std::move(keeping));
  kept_.keep(key, pin.key(), std::move(values));
}

}  // namespace impl::client
