// The ring of told commits on plain memory: what it gives is what was told, whatever else stands in it.
#include "hive/cache/commit_ring.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using hive::Commit_Ring;
using hive::Index_Head;
using Keys = std::vector<std::int64_t>;
using Way = Commit_Ring::Way;

// The head after so many changes to a log of these salts.
Index_Head head(std::uint32_t changes, std::uint64_t salts = 7) {
  return Index_Head({3007000, changes, changes * 3, changes * 1001u, salts, changes * 77u + salts});
}

struct Ring : testing::Test {
  Way between(std::uint32_t from, std::uint32_t to) { return ring.between(head(from), head(to), &keys); }

  std::vector<std::uint64_t> memory = std::vector<std::uint64_t>(Commit_Ring::words);
  Commit_Ring ring{memory.data()};
  Keys keys;
};

TEST_F(Ring, LeadsFromAStateToItselfAlways) {
  EXPECT_EQ(between(5, 5), Way::known);
  EXPECT_EQ(keys, Keys());
}

TEST_F(Ring, OfNothingKnowsNoWay) { EXPECT_EQ(between(5, 6), Way::unknown); }

TEST_F(Ring, GivesTheKeysOfACommit) {
  ring.tell(head(5), head(6), {11, 12});
  EXPECT_EQ(between(5, 6), Way::known);
  EXPECT_EQ(keys, (Keys{11, 12}));
}

TEST_F(Ring, GivesTheKeysOfAllCommitsOnTheWay) {
  ring.tell(head(6), head(7), {13});
  ring.tell(head(5), head(6), {11, 12});
  ring.tell(head(7), head(8), {11});
  EXPECT_EQ(between(5, 8), Way::known);
  EXPECT_EQ(keys, (Keys{11, 12, 13, 11}));
  EXPECT_EQ(between(6, 7), Way::known);
  EXPECT_EQ(keys, Keys{13});
}

TEST_F(Ring, KnowsNoWayPastACommitThatWasNotTold) {
  ring.tell(head(5), head(6), {11});
  ring.tell(head(7), head(8), {11});
  EXPECT_EQ(between(5, 8), Way::unknown);
  EXPECT_EQ(between(5, 7), Way::unknown);
  EXPECT_EQ(between(7, 8), Way::known);
}

TEST_F(Ring, KnowsNoWayBack) {
  ring.tell(head(5), head(6), {11});
  EXPECT_EQ(between(6, 5), Way::unknown);
}

TEST_F(Ring, KnowsNoWayFromAStateThatOnlyLooksLikeOneInItsNumberOfChanges) {
  ring.tell(head(5, 7), head(6, 7), {11});
  EXPECT_EQ(ring.between(head(5, 8), head(6, 8), &keys), Way::unknown);
  EXPECT_EQ(ring.between(head(5, 7), head(6, 8), &keys), Way::unknown);
}

TEST_F(Ring, LeadsOnIntoALogThatBeginsAnew) {
  ring.tell(head(5, 7), head(6, 8), {11});
  EXPECT_EQ(ring.between(head(5, 7), head(6, 8), &keys), Way::known);
}

TEST_F(Ring, ForgetsWhatIsTooLongAgo) {
  for (std::uint32_t i = 0; i < 257; ++i) ring.tell(head(i), head(i + 1), {i});
  EXPECT_EQ(between(0, 257), Way::unknown);
  EXPECT_EQ(between(1, 257), Way::known);
  EXPECT_EQ(keys.size(), 256u);
}

TEST_F(Ring, EndsWhereEntriesGoRoundInACircle) {
  ring.tell(head(5), head(6), {11});
  ring.tell(head(6), head(5), {12});
  EXPECT_EQ(between(5, 7), Way::unknown);
}

TEST_F(Ring, TellsThatACommitIsAnnounced) {
  ring.announce(head(5));
  EXPECT_EQ(between(5, 6), Way::soon);
  EXPECT_EQ(ring.between(head(5, 8), head(6, 8), &keys), Way::unknown);
  ring.tell(head(5), head(6), {11});
  EXPECT_EQ(between(5, 6), Way::known);
  EXPECT_EQ(between(5, 7), Way::unknown);
  ring.announce(head(6));
  EXPECT_EQ(between(5, 7), Way::soon);
}

TEST_F(Ring, AnAnnouncementThatIsWithdrawnPromisesNothing) {
  ring.announce(head(5));
  ring.withdraw(head(5, 8));
  EXPECT_EQ(between(5, 6), Way::soon);
  ring.withdraw(head(5));
  EXPECT_EQ(between(5, 6), Way::unknown);
}

TEST_F(Ring, HoldsFortyNineKeysOfACommitAndNone) {
  static_assert(Commit_Ring::most_keys == 49);
  Keys many;
  for (int i = 0; i < 49; ++i) many.push_back(1000 + i);
  ring.tell(head(5), head(6), many);
  ring.tell(head(6), head(7), {});
  EXPECT_EQ(between(5, 6), Way::known);
  EXPECT_EQ(keys, many);
  EXPECT_EQ(between(6, 7), Way::known);
  EXPECT_EQ(keys, Keys());
}

TEST_F(Ring, AnEntryWithAnyBitChangedTellsNothingElse) {
  Keys many;
  for (int i = 0; i < 49; ++i) many.push_back(1000 + i);
  ring.tell(head(5), head(6), many);
  constexpr std::size_t bits_of_entry = 64 * 64;
  for (std::size_t bit = (1 + 5) * bits_of_entry; bit < (1 + 6) * bits_of_entry; ++bit) {
    memory[bit / 64] ^= std::uint64_t{1} << bit % 64;
    const Way way = between(5, 6);
    EXPECT_TRUE(way == Way::unknown || (way == Way::known && keys == many)) << bit;
    memory[bit / 64] ^= std::uint64_t{1} << bit % 64;
  }
  EXPECT_EQ(between(5, 6), Way::known);
}

TEST_F(Ring, OfNoiseTellsNothing) {
  std::mt19937_64 random(4);
  for (int trial = 0; trial < 200; ++trial) {
    for (std::uint64_t& word : memory) word = random() >> random() % 64;
    EXPECT_EQ(between(static_cast<std::uint32_t>(trial), static_cast<std::uint32_t>(trial + 1)), Way::unknown);
  }
}

TEST_F(Ring, TheEntryOfACommitStandsWhereTheFormatSays) {
  ring.tell(head(258), head(259), {0x1122334455667788});
  const std::size_t entry = (1 + 2) * 64;
  EXPECT_NE(memory[entry], 0u);
  EXPECT_EQ(memory[entry + 2], 3007000u);
  EXPECT_EQ(memory[entry + 3], 258u);
  EXPECT_EQ(memory[entry + 9], 259u);
  EXPECT_EQ(memory[entry + 14], 1u);
  EXPECT_EQ(memory[entry + 15], 0x1122334455667788u);
  EXPECT_EQ(Commit_Ring::size, 131584u);
}

}  // namespace
