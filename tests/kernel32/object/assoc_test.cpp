// Associations, the sets of them under each descriptor, and maps of pointers.
#include <gtest/gtest.h>
#include <kelvane/association.h>
#include <kelvane/number.h>
#include <kelvane/pointer_map.h>

#include <memory>
#include <vector>

#include "tests/kernel32/object/counted_bone.h"
#include "tests/kernel32/object/written_text.h"

namespace {

using kvtest::Counted_Bone;
using kvtest::written;

class Atom_Keys final : public Key_Methods {
 public:
  int compare(const void* first, const void* second) const override { return atom_cmp(text(first), text(second)); }
  unsigned hash(const void* key) const override { return atom_hash(text(key)); }

 private:
  static const char* text(const void* key) { return static_cast<const clAtom*>(key)->text(); }
};

// Every key has the same hash.
class Colliding_Handle_Keys final : public Key_Methods {
 public:
  int compare(const void* first, const void* second) const override { return (first > second) - (first < second); }
  unsigned hash(const void*) const override { return 1; }
};

class Handle_Keys final : public Key_Methods {
 public:
  int compare(const void* first, const void* second) const override { return (first > second) - (first < second); }
  unsigned hash(const void* key) const override { return static_cast<unsigned>(reinterpret_cast<uintptr_t>(key)); }
};

constexpr Atom_Keys atom_keys;
constexpr Handle_Keys handle_keys;
constexpr Colliding_Handle_Keys colliding_keys;

Association* new_slot(const char* name, int value) { return new Association(new clAtom(name), new Integer(value)); }

void* handle(uintptr_t number) { return reinterpret_cast<void*>(number); }

TEST(Association, IsWrittenAsNameAndValue) {
  clAtom name("size");
  Integer value(5);
  EXPECT_EQ(written(Association(&name, &value)), "(size 5)");
  EXPECT_EQ(written(Association(&name, nullptr)), "(size /\\/ | \\__)");
}

TEST(Association, WithASequenceIsWrittenAsAList) {
  clAtom name("sizes");
  Sequence* values = Use_Queue_List().make();
  values->insert(new Integer(10));
  values->insert(new clString("x y"));
  values->insert(Use_Queue_List().make());
  EXPECT_EQ(written(Association(&name, values)), "(sizes (10 \"x y\" ()))");
  values->delete_tree();
}

TEST(Association, DeleteTreeEndsTheValueAndTheDestructorDoesNot) {
  std::string ends;
  (new Association(new clAtom("a"), new Counted_Bone(ends, 'v')))->delete_tree();
  EXPECT_EQ(ends, "v");
  Counted_Bone kept(ends, 'w');
  { Association association(nullptr, &kept); }
  EXPECT_EQ(ends, "v");
}

TEST(Blanket, WritesWhatIsUnderIt) {
  Integer value(5);
  EXPECT_EQ(written(Blanket(&value)), "5");
}

// One of each kind of set.
class Assoc_Kinds : public testing::TestWithParam<const Set_Desc*> {
 protected:
  Assoc_Kinds() { slots_.initiate(*GetParam(), atom_keys); }
  ~Assoc_Kinds() override { slots_.apply(Key_Val_Delete_Tree); }

  Assoc slots_;
};

TEST_P(Assoc_Kinds, IsEmptyAtFirst) {
  EXPECT_TRUE(slots_.is_empty());
  EXPECT_EQ(slots_.count(), 0u);
  EXPECT_EQ(slots_.lookup(clAtom("a")), nullptr);
  EXPECT_EQ(written(slots_), "");
}

TEST_P(Assoc_Kinds, GivesBackWhatWasInserted) {
  Association* slot = new_slot("a", 1);
  EXPECT_EQ(slots_.insert(slot, true), slot);
  EXPECT_FALSE(slots_.is_empty());
  EXPECT_EQ(slots_.lookup(clAtom("a")), slot);
  EXPECT_EQ(slots_.lookup(clAtom("A")), nullptr);
}

TEST_P(Assoc_Kinds, ReplacementGivesTheDisplacedElement) {
  Association* old = new_slot("a", 1);
  Association* replacement = new_slot("a", 2);
  slots_.insert(old, true);
  EXPECT_EQ(slots_.insert(replacement, true), old);
  EXPECT_EQ(slots_.lookup(clAtom("a")), replacement);
  EXPECT_EQ(slots_.count(), 1u);
  old->delete_tree();
  EXPECT_EQ(written(slots_), "(a 2)");
}

TEST_P(Assoc_Kinds, WithoutReplacementTheOldElementStays) {
  Association* old = new_slot("a", 1);
  Association* other = new_slot("a", 2);
  slots_.insert(old, false);
  EXPECT_EQ(slots_.insert(other, false), old);
  EXPECT_EQ(slots_.lookup(clAtom("a")), old);
  other->delete_tree();
}

TEST_P(Assoc_Kinds, TakesElementsOut) {
  Association* slot = new_slot("a", 1);
  slots_.insert(slot, true);
  slots_.insert(new_slot("b", 2), true);
  EXPECT_EQ(slots_.remove(clAtom("a")), slot);
  EXPECT_EQ(slots_.remove(clAtom("a")), nullptr);
  EXPECT_EQ(slots_.count(), 1u);
  EXPECT_EQ(written(slots_), "(b 2)");
  slot->delete_tree();
}

TEST_P(Assoc_Kinds, PrintsEachElementBetweenIndentAndSeparator) {
  slots_.insert(new_slot("a", 1), true);
  slots_.insert(new_slot("b", 2), true);
  kvtest::Text_Stream stream;
  slots_.print(stream, "\t", ";\n");
  slots_.print(stream, nullptr, "|");
  EXPECT_EQ(stream.text(), "\t(a 1);\n\t(b 2);\n(a 1)|(b 2)|");
}

TEST_P(Assoc_Kinds, TheIteratorMeetsEveryElementOnce) {
  Association* first = new_slot("a", 1);
  Association* second = new_slot("b", 2);
  slots_.insert(first, true);
  slots_.insert(second, true);
  Assoc_Iterator associations(slots_);
  EXPECT_EQ(associations.next(), first);
  EXPECT_EQ(associations.next(), second);
  EXPECT_EQ(associations.next(), nullptr);
}

TEST_P(Assoc_Kinds, GrowsBeyondTheExpectedSize) {
  for (int number = 0; number < 1000; ++number) slots_.insert(new_slot(std::to_string(number).c_str(), number), true);
  EXPECT_EQ(slots_.count(), 1000u);
  const Association* slot = slots_.lookup(clAtom("777"));
  ASSERT_NE(slot, nullptr);
  EXPECT_EQ(written(*slot), "(777 777)");
}

TEST_P(Assoc_Kinds, ASpawnedDescriptorBuildsTheSame) {
  std::unique_ptr<Set_Desc> copy(GetParam()->spawn());
  Assoc others;
  others.initiate(*copy, atom_keys);
  others.insert(new_slot("b", 1), true);
  others.insert(new_slot("a", 2), true);
  slots_.insert(new_slot("b", 1), true);
  slots_.insert(new_slot("a", 2), true);
  EXPECT_EQ(written(others), written(slots_));
  others.apply(Key_Val_Delete_Tree);
}

const Use_Close_Hash close_hash(1);
const Use_Open_Hash open_hash(-5);
const Use_Ord_List ordered_list;

INSTANTIATE_TEST_SUITE_P(Descriptors, Assoc_Kinds, testing::Values(&close_hash, &open_hash, &ordered_list));

std::string written_after_inserting(const Set_Desc& descriptor, std::vector<const char*> names) {
  Assoc* slots = new Assoc;
  slots->initiate(descriptor, atom_keys);
  for (const char* name : names) slots->insert(new_slot(name, 0), true);
  std::string text = written(*slots);
  slots->delete_tree();
  return text;
}

TEST(HashDescriptors, KeepTheOrderOfInsertion) {
  EXPECT_EQ(written_after_inserting(Use_Close_Hash(5), {"c", "a", "b"}), "(c 0) (a 0) (b 0)");
  EXPECT_EQ(written_after_inserting(Use_Open_Hash(0), {"c", "a", "b"}), "(c 0) (a 0) (b 0)");
}

TEST(OrderedList, KeepsTheOrderOfTheKeys) {
  EXPECT_EQ(written_after_inserting(Use_Ord_List(), {"c", "a", "b"}), "(a 0) (b 0) (c 0)");
}

TEST(SequenceDescriptors, BuildSequencesWithAndWithoutMethodsAndSpawn) {
  std::unique_ptr<Seq_Desc> stack(Use_Stack_List().spawn());
  std::unique_ptr<Seq_Desc> queue(Use_Queue_List().spawn());
  std::unique_ptr<Sequence> first(stack->make());
  std::unique_ptr<Sequence> second(queue->make());
  std::unique_ptr<Sequence> third(Use_Ord_List().make());
  EXPECT_TRUE(first->is_empty() && second->is_empty() && third->is_empty());
}

TEST(Assoc, DeleteTreeEndsEveryAssociationWithItsValue) {
  std::string ends;
  Assoc* slots = new Assoc;
  slots->initiate(Use_Close_Hash(2), atom_keys);
  slots->insert(new Association(new clAtom("a"), new Counted_Bone(ends, 'a')), true);
  slots->insert(new Association(new clAtom("b"), new Counted_Bone(ends, 'b')), true);
  slots->delete_tree();
  EXPECT_EQ(ends, "ab");
}

TEST(Assoc, BeforeItIsInitiatedIsEmpty) {
  Assoc slots;
  EXPECT_TRUE(slots.is_empty());
  EXPECT_EQ(slots.lookup(clAtom("a")), nullptr);
  EXPECT_EQ(slots.remove(clAtom("a")), nullptr);
  EXPECT_EQ(written(slots), "");
}

TEST(PointerMap, InsertsOnlyWhatIsAbsent) {
  int first = 1;
  int second = 2;
  assoc<int*, void*> map(Use_Close_Hash(5), handle_keys);
  EXPECT_TRUE(map.insert(handle(7), &first));
  EXPECT_FALSE(map.insert(handle(7), &second));
  EXPECT_EQ(map.lookup(handle(7)), &first);
  EXPECT_EQ(map.lookup(handle(8)), nullptr);
  EXPECT_EQ(map.count(), 1u);
}

TEST(PointerMap, TakesValuesOutAndHasRoomForThemAgain) {
  int value = 1;
  assoc<int*, void*> map(Use_Close_Hash(5), handle_keys);
  map.insert(handle(7), &value);
  EXPECT_EQ(map.remove(handle(7)), &value);
  EXPECT_EQ(map.remove(handle(7)), nullptr);
  EXPECT_TRUE(map.insert(handle(7), &value));
}

TEST(PointerMap, StaysRightWhileKeysComeAndGoInOneBucket) {
  int values[100] = {};
  assoc<int*, void*> map(Use_Open_Hash(1), colliding_keys);
  for (uintptr_t key = 0; key < 100; ++key) ASSERT_TRUE(map.insert(handle(key), &values[key]));
  for (uintptr_t key = 0; key < 90; ++key) ASSERT_EQ(map.remove(handle(key)), &values[key]);
  for (uintptr_t key = 0; key < 80; ++key) ASSERT_EQ(map.lookup(handle(key)), nullptr);
  for (uintptr_t key = 0; key < 80; ++key) ASSERT_TRUE(map.insert(handle(key), &values[99 - key]));
  for (uintptr_t key = 80; key < 90; ++key) ASSERT_TRUE(map.insert(handle(key + 1000), &values[0]));
  for (uintptr_t key = 0; key < 80; ++key) ASSERT_EQ(map.lookup(handle(key)), &values[99 - key]);
  for (uintptr_t key = 90; key < 100; ++key) ASSERT_EQ(map.lookup(handle(key)), &values[key]);
  EXPECT_EQ(map.count(), 100u);
}

TEST(PointerMap, MayBeMadeWithNew) {
  auto* map = new assoc<int*, void*>(Use_Close_Hash(5), handle_keys);
  int value = 0;
  map->insert(handle(1), &value);
  delete map;
  EXPECT_EQ(value, 0);
}

}  // namespace
