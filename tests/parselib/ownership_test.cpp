// Who destroys what: texts that are given up, slots that are displaced, sequences that are taken over.
#include <gtest/gtest.h>

#include "parselib/atom_keys.h"
#include "tests/kernel32/object/counted_bone.h"
#include "tests/parselib/reading.h"

namespace kvtest {
namespace {

// Makes of each string an object that records its end under the string's first letter.
class Counting_Machine final : public One_Arm_Bandit {
 public:
  explicit Counting_Machine(std::string& ends) : ends_(ends) {}
  int string(Bone*& out_value, char* text) const override {
    ++made;
    out_value = new Counted_Bone(ends_, *text);
    return 264;
  }

  mutable size_t made = 0;

 private:
  std::string& ends_;
};

std::string sorted_ends_of(const std::string& text) {
  std::string ends;
  Text_In in(text);
  EXPECT_EQ(frame_read(in, Counting_Machine(ends)), "null") << text;
  std::sort(ends.begin(), ends.end());
  return ends;
}

TEST(GivenUp, TextsLeaveNoObjectBehindAndDestroyNoneTwice) {
  EXPECT_EQ(sorted_ends_of("(a \"b\"]"), "b");
  EXPECT_EQ(sorted_ends_of("(a (b \"c\") (d \"e\" \"f\") ]"), "cef");
  EXPECT_EQ(sorted_ends_of("(a (b \"c\") [d (e \"f\")] (g [h (i \"j\")]) (k (\"l\" (\"m\""), "cfjlm");
}

TEST(GivenUp, TextsThatAreNestedTooDeepLeaveNoObjectBehindEither) {
  std::string ends;
  const Counting_Machine machine(ends);
  Text_In in("(a (b " + times(1300, "(\"x\" "));
  EXPECT_EQ(frame_read(in, machine), "null");
  EXPECT_GT(machine.made, 300u);
  EXPECT_LT(machine.made, 1300u);
  EXPECT_EQ(ends.size(), machine.made);
}

// A sequence that tells what is done with it.
class Told_Sequence final : public Sequence {
 public:
  Told_Sequence(std::string& record, std::initializer_list<Bone*> elements) : record_(record), elements_(elements) {}
  ~Told_Sequence() override { record_ += "destroyed"; }

  bool is_empty() const override { return elements_.empty(); }
  size_t count() const override { return elements_.size(); }
  void apply(const Proc_Context&) const override { record_ += "applied "; }
  void delete_tree() override { record_ += "tree "; }
  void insert(Bone* element) override { elements_.push_back(element); }
  bool remove(const Bone*) override { return false; }
  Bone* at(size_t position) const override { return elements_[position]; }
  bool remove_first(Bone*& out_element) override {
    out_element = elements_.empty() ? nullptr : elements_.front();
    if (elements_.empty()) return false;
    elements_.erase(elements_.begin());
    record_ += "taken ";
    return true;
  }

 private:
  std::string& record_;
  std::vector<Bone*> elements_;
};

Association* slot(const char* name, int value) { return new Association(new clAtom(name), new Integer(value)); }

TEST(Frame, TakesTheElementsOutOfItsSequenceAndDestroysIt) {
  std::string record;
  const Tree<Frame> frame(new Frame(*new clAtom("f"), *new Told_Sequence(record, {slot("a", 1), slot("b", 2)})));
  EXPECT_EQ(record, "taken taken destroyed");
  EXPECT_EQ(shown(frame.get()), "f{a=1 b=2}");
}

TEST(Frame, MergesASequenceInTheSameWay) {
  std::string record;
  const Tree<Frame> frame(new Frame(*new clAtom("f"), *Use_Queue_List().make()));
  frame->update_slots(*new Told_Sequence(record, {slot("a", 1), slot("a", 2), slot("b", 3)}));
  EXPECT_EQ(record, "taken taken taken destroyed");
  EXPECT_EQ(shown(frame.get()), "f{a=2 b=3}");
  record.clear();
  frame->update_slots(*new Told_Sequence(record, {}));
  EXPECT_EQ(record, "destroyed");
  EXPECT_EQ(shown(frame.get()), "f{a=2 b=3}");
}

// A slot that tells by what it is destroyed.
class Told_Slot final : public Association {
 public:
  Told_Slot(std::string& record, const char* name) : Association(new clAtom(name), nullptr), record_(record) {}
  ~Told_Slot() override { record_ += "destroyed "; }
  void delete_tree() override {
    record_ += std::string("tree of ") + key()->text() + " ";
    Association::delete_tree();
  }

 private:
  std::string& record_;
};

TEST(Frame, DestroysADisplacedSlotWithItsTree) {
  std::string record;
  Tree<Frame> frame(new Frame(*new clAtom("f"), *Use_Queue_List().make()));
  std::string sequence_record;
  frame->update_slots(*new Told_Sequence(sequence_record, {new Told_Slot(record, "a"), new Told_Slot(record, "b")}));
  EXPECT_EQ(record, "");
  frame->update_slots(*new Told_Sequence(sequence_record, {slot("a", 1)}));
  EXPECT_EQ(record, "tree of a destroyed ");
  frame.reset();
  EXPECT_EQ(record, "tree of a destroyed tree of b destroyed ");
}

TEST(FrameSlot, IsDestroyedWithItsKeyAndItsFrame) {
  std::string ends;
  Sequence* const slots = Use_Queue_List().make();
  slots->insert(new Association(new clAtom("a"), new Counted_Bone(ends, 'v')));
  Bone* const frame_slot = new Frame_Association(new clAtom("f"), new Frame(*new clAtom("f"), *slots));
  frame_slot->delete_tree();
  EXPECT_EQ(ends, "v");
}

TEST(KeyMethods, CompareAndHashTheTextsOfAtoms) {
  const clAtom a("a"), other_a("a"), b("b"), upper("A");
  EXPECT_EQ(atom_keys().compare(&a, &other_a), 0);
  EXPECT_EQ(atom_keys().compare(&a, &b), -1);
  EXPECT_EQ(atom_keys().compare(&b, &a), 1);
  EXPECT_EQ(atom_keys().compare(&upper, &a), -1);
  EXPECT_EQ(atom_keys().hash(&a), 0xE40C292Cu);
}

TEST(KeyMethods, AreOneForAllFrames) { EXPECT_EQ(&atom_keys(), &atom_keys()); }

}  // namespace
}  // namespace kvtest
