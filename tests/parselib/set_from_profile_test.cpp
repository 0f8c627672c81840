// Sets whose kind a profile chooses.
#include "parselib/set_from_profile.h"

#include <gtest/gtest.h>

#include <fstream>

#include "parselib/atom_keys.h"
#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

// Remembers that it was copied.
class Own_Descriptor final : public Set_Desc {
 public:
  explicit Own_Descriptor(int generation) : generation_(generation) {}
  ~Own_Descriptor() override = default;
  Keyed_Set* operator()(const Elem_Methods& elements, const Key_Methods& keys) const override {
    return Use_Ord_List()(elements, keys);
  }
  Own_Descriptor* spawn() const override { return new Own_Descriptor(generation_ + 1); }
  int generation() const { return generation_; }

 private:
  int generation_;
};

class Atoms final : public Elem_Methods {
 public:
  const void* key(const void* element) const override { return element; }
};

std::string kind_of(const Set_Desc& descriptor) {
  if (const auto* hash = dynamic_cast<const Use_Close_Hash*>(&descriptor)) {
    return "closed hash of " + std::to_string(hash->size());
  }
  if (const auto* hash = dynamic_cast<const Use_Open_Hash*>(&descriptor)) {
    return "open hash of " + std::to_string(hash->size());
  }
  if (dynamic_cast<const Use_Ord_List*>(&descriptor) != nullptr) return "ordered list";
  if (const auto* own = dynamic_cast<const Own_Descriptor*>(&descriptor)) {
    return "copy " + std::to_string(own->generation());
  }
  return "something else";
}

// The kind that a profile with this text chooses for the set "name".
std::string chosen(const std::string& settings, const Set_Desc* fallback) {
  Temp_Folder folder;
  const std::string file = folder / "my.pro";
  std::ofstream(file) << "(my " << settings << ")";
  Profiler profile(file.c_str());
  return kind_of(Use_Set_Prof(profile, clAtom("name"), fallback).chosen());
}

TEST(SetFromProfile, HashesHaveTheSizeOfTheSetting) {
  EXPECT_EQ(chosen("(name Open-Hash 64)", nullptr), "open hash of 64");
  EXPECT_EQ(chosen("(name (Close-Hash 7.9))", nullptr), "closed hash of 7");
  EXPECT_EQ(chosen("(name \"Close-Hash\" 64)", nullptr), "closed hash of 64");
}

TEST(SetFromProfile, HashesHaveASizeOf100WithoutANumber) {
  EXPECT_EQ(chosen("(name Close-Hash)", nullptr), "closed hash of 100");
  EXPECT_EQ(chosen("(name (Close-Hash))", nullptr), "closed hash of 100");
  EXPECT_EQ(chosen("(name Open-Hash x)", nullptr), "open hash of 100");
}

TEST(SetFromProfile, AnyOtherKindIsAnOrderedList) {
  const Own_Descriptor fallback(1);
  for (const char* setting : {"(name Ord-List 5)", "(name close-hash 5)", "(name 5 Open-Hash)", "(name 5)"}) {
    EXPECT_EQ(chosen(setting, &fallback), "ordered list") << setting;
  }
}

TEST(SetFromProfile, WithoutAKindItIsACopyOfTheDefault) {
  const Own_Descriptor fallback(1);
  EXPECT_EQ(chosen("", &fallback), "copy 2");
  EXPECT_EQ(chosen("(name ())", &fallback), "copy 2");
}

TEST(SetFromProfile, WithoutAKindAndADefaultItIsAnOrderedList) { EXPECT_EQ(chosen("", nullptr), "ordered list"); }

TEST(SetFromProfile, RecordsItsQuestionAsAList) {
  const Child_Result child = run_child([] {
    Temp_Folder folder;
    const std::string file = folder / "my.pro";
    std::ofstream(file) << "(my (profile-defaults-file \"-\"))";
    Profiler profile(file.c_str());
    const Use_Set_Prof set(profile, clAtom("name"), nullptr);
  });
  EXPECT_EQ(child.out, "(my\n;  (name nil)\t\tno list\n)\n");
}

TEST(SetFromProfile, BuildsAndCopiesWhatWasChosen) {
  Profiler profile("/nonexistent/my.pro");
  const Own_Descriptor fallback(1);
  const Use_Set_Prof set(profile, clAtom("name"), &fallback);
  const std::unique_ptr<Set_Desc> copy(set.spawn());
  EXPECT_EQ(kind_of(*copy), "copy 3");
  const Atoms elements;
  const std::unique_ptr<Keyed_Set> built(set(elements, atom_keys()));
  clAtom b("b"), a("a");
  built->insert(&b, true);
  built->insert(&a, true);
  EXPECT_EQ(built->at(0), &a);
}

}  // namespace
}  // namespace kvtest
