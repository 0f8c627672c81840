// Bones, owners, sequences and their ends.
#include <gtest/gtest.h>
#include <kelvane/descriptor.h>

#include <memory>
#include <stdexcept>

#include "tests/kernel32/object/counted_bone.h"
#include "tests/kernel32/object/written_text.h"

namespace {

using kvtest::Counted_Bone;
using kvtest::written;
using Unique_Sequence = std::unique_ptr<Sequence>;

Unique_Sequence new_sequence() { return Unique_Sequence(Use_Stack_List().make()); }

TEST(Bone, ByItselfIsNoAtomAndWritesNothing) {
  Bone bone;
  EXPECT_FALSE(bone.is_atom());
  EXPECT_EQ(written(bone), "");
}

TEST(Bone, DeleteTreeDestroysTheObject) {
  std::string ends;
  (new Counted_Bone(ends, 'a'))->delete_tree();
  EXPECT_EQ(ends, "a");
}

TEST(Bone, ComesFromZeroedMemory) {
  void* used = Bone::operator new(256);
  memset(used, 0xFF, 256);
  Bone::operator delete(used);
  unsigned char* block = static_cast<unsigned char*>(Bone::operator new(256));
  EXPECT_EQ(std::string(block, block + 256), std::string(256, '\0'));
  Bone::operator delete(block);
}

TEST(Bone, MadeWithAnOwnerIsAppendedToIt) {
  std::string ends;
  Unique_Sequence owner = new_sequence();
  Bone* first = new (owner.get()) Counted_Bone(ends, 'a');
  Bone* second = new (owner.get()) Counted_Bone(ends, 'b');
  EXPECT_EQ(owner->count(), 2u);
  EXPECT_EQ(owner->at(0), first);
  EXPECT_EQ(owner->at(1), second);
  owner->apply(Delete_Bones);
}

TEST(Bone, MadeWithoutAnOwnerBelongsToNobody) {
  std::string ends;
  delete new (static_cast<Sequence*>(nullptr)) Counted_Bone(ends, 'a');
  EXPECT_EQ(ends, "a");
}

struct Thrower final : Bone {
  Thrower() { throw std::runtime_error("no"); }
};

TEST(Bone, WhoseConstructorThrowsIsForgottenByItsOwner) {
  std::string ends;
  Unique_Sequence owner = new_sequence();
  Bone* kept = new (owner.get()) Counted_Bone(ends, 'a');
  EXPECT_THROW(new (owner.get()) Thrower, std::runtime_error);
  EXPECT_EQ(owner->count(), 1u);
  EXPECT_EQ(owner->at(0), kept);
  owner->apply(Delete_Bones);
}

TEST(Nil, IsNoObject) { EXPECT_EQ(Nil, nullptr); }

TEST(DeleteBones, EndsTheElementsOfASequenceFromTheFirst) {
  for (int kind = 0; kind < 2; ++kind) {
    std::string ends;
    Unique_Sequence heap(kind == 0 ? Use_Stack_List().make() : Use_Queue_List().make());
    for (char name : {'a', 'b', 'c'}) new (heap.get()) Counted_Bone(ends, name);
    heap->insert(nullptr);
    heap->apply(Delete_Bones);
    EXPECT_EQ(ends, "abc");
  }
}

// Puts one more object into the heap while it is destroyed.
class Late_Maker final : public Bone {
 public:
  Late_Maker(std::string& record, Sequence* heap) : record_(record), heap_(heap) {}
  ~Late_Maker() override { new (heap_) Counted_Bone(record_, 'z'); }

 private:
  std::string& record_;
  Sequence* heap_;
};

TEST(DeleteBones, ReachesElementsThatAreMadeMeanwhile) {
  std::string ends;
  Unique_Sequence heap = new_sequence();
  new (heap.get()) Late_Maker(ends, heap.get());
  new (heap.get()) Counted_Bone(ends, 'a');
  heap->apply(Delete_Bones);
  EXPECT_EQ(ends, "az");
}

TEST(Sequence, IsEmptyAtFirst) {
  Unique_Sequence sequence = new_sequence();
  EXPECT_TRUE(sequence->is_empty());
  EXPECT_EQ(sequence->count(), 0u);
  EXPECT_EQ(sequence->at(0), nullptr);
}

TEST(Sequence, GivesItsElementsOutFromTheFirst) {
  Bone first;
  Bone second;
  Unique_Sequence sequence = new_sequence();
  sequence->insert(&first);
  sequence->insert(&second);
  EXPECT_FALSE(sequence->is_empty());
  Bone* out = nullptr;
  EXPECT_TRUE(sequence->remove_first(out));
  EXPECT_EQ(out, &first);
  EXPECT_TRUE(sequence->remove_first(out));
  EXPECT_EQ(out, &second);
  EXPECT_FALSE(sequence->remove_first(out));
  EXPECT_EQ(out, nullptr);
}

TEST(Sequence, RemoveTakesTheLastOccurrence) {
  Bone twice;
  Bone other;
  Unique_Sequence sequence = new_sequence();
  for (Bone* element : {&twice, &other, &twice}) sequence->insert(element);
  EXPECT_TRUE(sequence->remove(&twice));
  EXPECT_EQ(sequence->at(0), &twice);
  EXPECT_EQ(sequence->at(1), &other);
  EXPECT_TRUE(sequence->remove(&twice));
  EXPECT_FALSE(sequence->remove(&twice));
}

// Filled and emptied in turn, so that its room is used again and grows.
TEST(Sequence, KeepsTheOrderHoweverItIsFilledAndEmptied) {
  std::vector<Bone> bones(1000);
  Unique_Sequence sequence = new_sequence();
  size_t inserted = 0;
  size_t removed = 0;
  for (size_t round = 1; inserted < bones.size(); ++round) {
    for (size_t i = 0; i < 7 && inserted < bones.size(); ++i) sequence->insert(&bones[inserted++]);
    for (size_t i = 0; i < round % 9 && removed < inserted; ++i) {
      Bone* out = nullptr;
      ASSERT_TRUE(sequence->remove_first(out));
      ASSERT_EQ(out, &bones[removed++]);
    }
    ASSERT_EQ(sequence->count(), inserted - removed);
    ASSERT_EQ(sequence->at(0), removed < inserted ? &bones[removed] : nullptr);
  }
}

TEST(Sequence, ClosesTheGapOfARemovedElement) {
  Bone bones[4];
  Unique_Sequence sequence = new_sequence();
  for (Bone& bone : bones) sequence->insert(&bone);
  Bone* out = nullptr;
  sequence->remove_first(out);
  EXPECT_TRUE(sequence->remove(&bones[2]));
  EXPECT_FALSE(sequence->remove(&bones[0]));
  EXPECT_EQ(sequence->count(), 2u);
  EXPECT_EQ(sequence->at(0), &bones[1]);
  EXPECT_EQ(sequence->at(1), &bones[3]);
}

TEST(Sequence, ItsDestructorLeavesTheElements) {
  std::string ends;
  Counted_Bone element(ends, 'a');
  Unique_Sequence sequence = new_sequence();
  sequence->insert(&element);
  sequence.reset();
  EXPECT_EQ(ends, "");
}

TEST(Sequence, DeleteTreeEndsNestedElements) {
  std::string ends;
  Sequence* inner = Use_Queue_List().make();
  inner->insert(new Counted_Bone(ends, 'b'));
  Sequence* outer = Use_Queue_List().make();
  outer->insert(new Counted_Bone(ends, 'a'));
  outer->insert(inner);
  outer->insert(nullptr);
  outer->delete_tree();
  EXPECT_EQ(ends, "ab");
}

void append_pointer(Bone* element, void* context) { static_cast<std::vector<Bone*>*>(context)->push_back(element); }

TEST(ProcContext, CarriesAContext) {
  Bone bone;
  Unique_Sequence sequence = new_sequence();
  sequence->insert(&bone);
  sequence->insert(nullptr);
  std::vector<Bone*> seen;
  sequence->apply(Proc_Context(append_pointer, &seen));
  EXPECT_EQ(seen, (std::vector<Bone*>{&bone, nullptr}));
}

TEST(Globals, MayBeMadeAndEndedAgainAndAgain) {
  for (int round = 0; round < 2; ++round) {
    global_init(1);
    { Clb_Globals globals; }
    global_init(0);
  }
}

}  // namespace
