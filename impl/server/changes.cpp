#include "impl/server/changes.h"

#include <algorithm>

namespace impl::server {
namespace {

constexpr std::uint64_t first_number = 2;

bool is_odd(std::uint64_t number) { return number % 2 != 0; }

bool has_identity(const hive::Key& key) {
  return key->hive != nullptr && key->place == hive::Place::key && key->identity != hive::Hive_Identity{};
}

// Only the holder of the mutex writes a number.
std::uint64_t number_of(const wire::Hive_Changes& shown) { return shown.number.load(std::memory_order_relaxed); }

}  // namespace

Changes::Counted_Hive* Changes::find(const hive::Key& key) {
  const auto found = std::find_if(hives_.begin(), hives_.end(), [&](const auto& counted) {
    return counted->hive == key->hive && counted->identity == key->identity;
  });
  return found == hives_.end() ? nullptr : found->get();
}

// A second hive with the identity of another one, which is a copy of it, is not counted.
Changes::Counted_Hive* Changes::add(const hive::Key& key) {
  wire::Change_Page& page = *memory_.page();
  const bool is_copy = std::any_of(hives_.begin(), hives_.end(),
                                   [&](const auto& counted) { return counted->identity == key->identity; });
  const std::size_t count = hives_.size();
  if (is_copy || count == wire::Change_Page::max_hives) return nullptr;
  auto counted = std::make_unique<Counted_Hive>();
  if (registry_.open(key, {}, &counted->own) != hive::Status::ok) return nullptr;
  const std::lock_guard lock(mutex_);
  counted->hive = key->hive;
  counted->identity = key->identity;
  counted->shown = &page.hives[count];
  counted->forgotten_to = first_number;
  static_assert(sizeof key->identity == sizeof page.hives[0].hive);
  std::copy(key->identity.begin(), key->identity.end(), counted->shown->hive);
  counted->shown->number.store(first_number + (all_under_way_ > 0 ? 1 : 0), std::memory_order_release);
  hives_.push_back(std::move(counted));
  page.hive_count.store(static_cast<std::uint32_t>(count + 1), std::memory_order_release);
  return hives_.back().get();
}

Changes::Counted_Hive* Changes::find_or_add(const hive::Key& key) {
  Counted_Hive* const found = find(key);
  return found != nullptr ? found : add(key);
}

// Seen before the change: nobody takes what he sees later for what was under the even number.
void Changes::announce(Counted_Hive& counted) {
  const std::uint64_t number = number_of(*counted.shown);
  if (!is_odd(number)) counted.shown->number.store(number + 1, std::memory_order_seq_cst);
}

void Changes::settle(Counted_Hive& counted) {
  const std::uint64_t number = number_of(*counted.shown);
  if (!is_odd(number) || counted.is_announced || all_under_way_ > 0) return;
  counted.shown->number.store(number + 1, std::memory_order_release);
}

// With the number odd.
void Changes::note(Counted_Hive& counted, std::int64_t key) {
  if (counted.noted.size() == most_noted) {
    counted.forgotten_to = counted.noted.front().number;
    counted.noted.pop_front();
  }
  counted.noted.push_back({number_of(*counted.shown) + 1, key});
}

void Changes::note_all(Counted_Hive& counted) {
  counted.noted.clear();
  counted.forgotten_to = number_of(*counted.shown) + 1;
}

// Of a hive that is not counted nobody has kept anything. A root stands for its key in whatever hive is there; below
// HKEY_USERS are keys of other hives.
void Changes::announce_for(const hive::Key& key, bool is_of_its_own) {
  const std::lock_guard lock(mutex_);
  for (const auto& counted : hives_) {
    const bool is_meant = key->place == hive::Place::users || counted->hive == key->hive;
    if (!is_meant) continue;
    counted->is_announced = is_any_announced_ = true;
    announce(*counted);
    if (is_of_its_own && key->place == hive::Place::key) note(*counted, key->number);
    if (is_of_its_own && key->place != hive::Place::key) note_all(*counted);
  }
}

void Changes::will_change(const hive::Key& key) { announce_for(key, true); }

void Changes::will_change_below(const hive::Key& key) { announce_for(key, false); }

void Changes::publish() {
  if (!is_any_announced_) return;
  is_any_announced_ = false;
  const std::lock_guard lock(mutex_);
  for (const auto& counted : hives_) {
    counted->is_announced = false;
    settle(*counted);
  }
}

void Changes::begin_all() {
  const std::lock_guard lock(mutex_);
  ++all_under_way_;
  for (const auto& counted : hives_) announce(*counted);
}

void Changes::end_all() {
  const std::lock_guard lock(mutex_);
  --all_under_way_;
  for (const auto& counted : hives_) {
    note_all(*counted);
    settle(*counted);
  }
}

// What memory knows nothing of is read, so that it does.
std::uint64_t Changes::state_of(const Counted_Hive& counted) {
  const std::uint64_t state = registry_.known_state(counted.own);
  if (state != 0) return state;
  hive::Key_Rights ignored{};
  static_cast<void>(registry_.rights(counted.own, &ignored));
  return registry_.known_state(counted.own);
}

// Nothing is kept while the state is not known.
void Changes::look_at(Counted_Hive& counted) {
  const std::uint64_t known = registry_.known_state(counted.own);
  if (known != 0 && known == counted.state) return;
  const std::uint64_t before = counted.state;
  counted.state = state_of(counted);
  if (before == 0) return;
  const std::lock_guard lock(mutex_);
  announce(counted);
  note_all(counted);
  settle(counted);
}

std::uint64_t Changes::number_for(const hive::Key& key) {
  if (memory_.page() == nullptr || !has_identity(key)) return 0;
  Counted_Hive* const counted = find_or_add(key);
  if (counted == nullptr) return 0;
  look_at(*counted);
  const std::uint64_t number = counted->shown->number.load(std::memory_order_acquire);
  return is_odd(number) || counted->state == 0 ? 0 : number;
}

void Changes::look_around() {
  for (const auto& counted : hives_) look_at(*counted);
}

Changes::Since Changes::since(const hive::Key& key, std::uint64_t number) {
  Since answer;
  answer.number_ = number_for(key);
  if (answer.number_ == 0) return answer;
  const std::lock_guard lock(mutex_);
  const Counted_Hive& counted = *find(key);
  if (number < counted.forgotten_to) {
    answer.number_ = 0;
    return answer;
  }
  answer.hive_ = counted.hive.get();
  answer.identity_ = counted.identity;
  for (auto each = counted.noted.rbegin(); each != counted.noted.rend() && each->number > number; ++each) {
    answer.keys_.insert(each->key);
  }
  return answer;
}

bool Changes::Since::may_have_changed(const hive::Key& key) const {
  return number_ == 0 || key->hive.get() != hive_ || key->identity != identity_ || keys_.contains(key->number);
}

}  // namespace impl::server
