#include "impl/client/kept_answers.h"

#include <mutex>
#include <utility>

namespace impl::client {
namespace {

constexpr std::size_t most_doubts = 256;  // in one question
constexpr std::size_t most_looked_at = 4096;

const Kept_Values* values_of(const Remote_Key& key) { return key.kept.values.load(std::memory_order_acquire); }

bool is_in_doubt(const Kept_Values& values) { return values.is_of_living_server() && !values.is_current(); }

}  // namespace

Kept_Answers::Knowledge Kept_Answers::knowledge_of(const Remote_Key& key) {
  const hive::Read_Section section;
  const Kept_Values* const values = values_of(key);
  if (values == nullptr) return Knowledge::none;
  if (is_in_doubt(*values)) return Knowledge::in_doubt;
  if (!values->hold()) return Knowledge::none;
  return values->are_all() ? Knowledge::all : Knowledge::some;
}

// Others may be looking at what goes: it is retired, behind the lock.
void Kept_Answers::keep(HKEY handle, const Remote_Key& key, std::unique_ptr<Kept_Values> values) {
  Gone gone;
  {
    const hive::Read_Section section;
    const std::lock_guard lock(client_mutex());
    const Kept_Values* const kept = values_of(key);
    const bool is_more = kept != nullptr && kept->are_all() && !values->are_all() && kept->hold();
    if (is_more && kept->user() == values->user()) return;
    put(handle, key, std::move(values), gone);
  }
  for (auto& each : gone) {
    const std::size_t size = each->memory();
    hive::retire(std::move(each), size);
  }
}

void Kept_Answers::put(HKEY handle, const Remote_Key& key, std::unique_ptr<const Kept_Values> values, Gone& out_gone) {
  if (key.kept.answers != nullptr) out_gone.push_back(take_out(key));
  memory_ += values->memory();
  key.kept.handle = handle;
  insert(key);
  key.kept.values.store(values.release(), std::memory_order_release);
  while (memory_ > budget_ && first_ != &key) out_gone.push_back(take_out(*first_));
}

std::unique_ptr<const Kept_Values> Kept_Answers::take_out(const Remote_Key& key) {
  std::unique_ptr<const Kept_Values> values(key.kept.values.exchange(nullptr, std::memory_order_acq_rel));
  memory_ -= values->memory();
  remove(key);
  return values;
}

// The last one is the one before the first.
void Kept_Answers::insert(const Remote_Key& key) {
  const Remote_Key* const behind = first_ == nullptr ? &key : first_;
  const Remote_Key* const before = first_ == nullptr ? &key : first_->kept.before;
  key.kept.answers = this;
  key.kept.behind = behind;
  key.kept.before = before;
  before->kept.behind = &key;
  behind->kept.before = &key;
  if (first_ == nullptr) first_ = &key;
}

void Kept_Answers::remove(const Remote_Key& key) {
  key.kept.before->kept.behind = key.kept.behind;
  key.kept.behind->kept.before = key.kept.before;
  if (first_ == &key) first_ = key.kept.behind == &key ? nullptr : key.kept.behind;
  key.kept.answers = nullptr;
}

// Nobody can find what it had.
void Kept_Answers::forget(const Remote_Key& key) {
  std::unique_ptr<const Kept_Values> gone;
  const std::lock_guard lock(client_mutex());
  if (key.kept.answers != nullptr) gone = key.kept.answers->take_out(key);
}

std::vector<Kept_Answers::Doubt> Kept_Answers::doubts_beside(const Remote_Key& key,
                                                             std::shared_ptr<Session>* out_session) const {
  std::vector<Doubt> doubts;
  const hive::Read_Section section;
  const std::lock_guard lock(client_mutex());
  const Kept_Values* const first = values_of(key);
  if (first == nullptr || !is_in_doubt(*first) || key.session == nullptr || key.session->has_ended) return doubts;
  *out_session = key.session;
  const Remote_Key* each = &key;
  for (std::size_t looked_at = 0; looked_at < most_looked_at && doubts.size() < most_doubts; ++looked_at) {
    const Kept_Values& values = *values_of(*each);
    const bool is_beside = each->session == key.session && values.shown_number() == first->shown_number();
    if (is_beside && is_in_doubt(values)) {
      doubts.push_back({each->kept.handle, each->handle, &values, values.true_under()});
    }
    each = each->kept.behind;
    if (each == &key) break;
  }
  return doubts;
}

// Others that stand at the same address by now came under a later number.
void Kept_Answers::settle(const Remote_Keys& keys, const std::vector<Doubt>& doubts, const std::vector<bool>& changed,
                          std::uint64_t number) {
  for (std::size_t i = 0; i < doubts.size(); ++i) {
    if (changed[i]) continue;
    const Remote_Keys::Glance glance(keys, doubts[i].key);
    if (!glance) continue;
    const Kept_Values* const values = glance.kept().values.load(std::memory_order_acquire);
    if (values == doubts[i].values) values->found_true_under(doubts[i].true_under, number);
  }
}

}  // namespace impl::client
