#include "hive/cache/commit_ring.h"

#include <algorithm>
#include <array>

namespace hive {
namespace {

// Places in an entry.
constexpr std::size_t check_at = 0;
constexpr std::size_t announced_at = 1;
constexpr std::size_t before_at = 2;
constexpr std::size_t after_at = before_at + Index_Head::words;
constexpr std::size_t count_at = after_at + Index_Head::words;
constexpr std::size_t keys_at = count_at + 1;
static_assert(keys_at + Commit_Ring::most_keys == Commit_Ring::words_of_entry);
static_assert(Commit_Ring::size == 131584);

using Entry = std::array<std::uint64_t, Commit_Ring::words_of_entry>;

std::uint64_t load(const std::uint64_t* word) { return __atomic_load_n(word, __ATOMIC_ACQUIRE); }

void store(std::uint64_t* word, std::uint64_t value) { __atomic_store_n(word, value, __ATOMIC_RELEASE); }

// Each step can be undone, so that words that differ anywhere hardly ever have the same sum. Never 0.
template <class Words>
std::uint64_t sum_of(const Words& words, std::size_t from, std::size_t to) {
  std::uint64_t sum = Commit_Ring::magic;
  for (std::size_t i = from; i < to; ++i) {
    sum = (sum ^ words[i]) * 0x9E3779B97F4A7C15u;
    sum ^= sum >> 29;
  }
  return sum == 0 ? 1 : sum;
}

std::uint64_t sum_of(const Index_Head& head) { return sum_of(head.words_in_order(), 0, Index_Head::words); }

void put(Entry& entry, std::size_t at, const Index_Head& head) {
  std::copy(head.words_in_order().begin(), head.words_in_order().end(), entry.begin() + at);
}

Index_Head head_at(const Entry& entry, std::size_t at) {
  std::array<std::uint64_t, Index_Head::words> words;
  std::copy_n(entry.begin() + at, words.size(), words.begin());
  return Index_Head(words);
}

}  // namespace

std::uint64_t* Commit_Ring::entry_of(const Index_Head& before) const {
  return memory_ + (1 + before.changes() % entries) * words_of_entry;
}

void Commit_Ring::announce(const Index_Head& before) { store(entry_of(before) + announced_at, sum_of(before)); }

void Commit_Ring::withdraw(const Index_Head& before) {
  if (is_announced(before)) store(entry_of(before) + announced_at, 0);
}

bool Commit_Ring::is_announced(const Index_Head& before) const {
  return load(entry_of(before) + announced_at) == sum_of(before);
}

void Commit_Ring::tell(const Index_Head& before, const Index_Head& after, const std::vector<std::int64_t>& keys) {
  Entry entry;
  put(entry, before_at, before);
  put(entry, after_at, after);
  entry[count_at] = keys.size();
  const std::size_t end = keys_at + keys.size();
  std::transform(keys.begin(), keys.end(), entry.begin() + keys_at,
                 [](std::int64_t key) { return static_cast<std::uint64_t>(key); });
  std::uint64_t* place = entry_of(before);
  store(place + check_at, 0);
  for (std::size_t i = before_at; i < end; ++i) store(place + i, entry[i]);
  store(place + check_at, sum_of(entry, before_at, end));
}

// Somebody may be writing another entry meanwhile: only its sum tells that all of it is of one.
bool Commit_Ring::find(const Index_Head& before, Told_Commit* out) const {
  Entry entry;
  const std::uint64_t* place = entry_of(before);
  for (std::size_t i = 0; i < keys_at; ++i) entry[i] = load(place + i);
  const std::uint64_t count = entry[count_at];
  if (entry[check_at] == 0 || count > most_keys || head_at(entry, before_at) != before) return false;
  const std::size_t end = keys_at + static_cast<std::size_t>(count);
  for (std::size_t i = keys_at; i < end; ++i) entry[i] = load(place + i);
  if (sum_of(entry, before_at, end) != entry[check_at]) return false;
  out->after = head_at(entry, after_at);
  out->keys.assign(entry.begin() + keys_at, entry.begin() + static_cast<std::ptrdiff_t>(end));
  return true;
}

Commit_Ring::Way Commit_Ring::between(const Index_Head& from, const Index_Head& to,
                                      std::vector<std::int64_t>* out_keys) const {
  out_keys->clear();
  Index_Head at = from;
  Told_Commit told;
  for (std::size_t steps = 0; at != to; ++steps) {
    if (steps == entries) return Way::unknown;
    if (!find(at, &told)) return is_announced(at) ? Way::soon : Way::unknown;
    out_keys->insert(out_keys->end(), told.keys.begin(), told.keys.end());
    at = told.after;
  }
  return Way::known;
}

}  // namespace hive
