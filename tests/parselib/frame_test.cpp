// Frames as objects: construction, merging, questions, written forms.
#include <gtest/gtest.h>

#include <functional>

#include "tests/parselib/reading.h"
#include "tests/registry/heap_use.h"

namespace kvtest {
namespace {

// Says at its end which one it was.
class Witness final : public Bone {
 public:
  Witness(std::string& ends, std::string name) : ends_(ends), name_(std::move(name)) {}
  ~Witness() override { ends_ += name_ + " "; }

 private:
  std::string& ends_;
  std::string name_;
};

Association* slot(const char* name, Bone* value) { return new Association(new clAtom(name), value); }

Sequence* slots(std::initializer_list<Association*> elements) {
  Sequence* const sequence = Use_Queue_List().make();
  for (Association* element : elements) sequence->insert(element);
  return sequence;
}

Tree<Frame> frame(const char* name, std::initializer_list<Association*> elements) {
  return Tree<Frame>(new Frame(*new clAtom(name), *slots(elements)));
}

__attribute__((no_sanitize("null"), noinline)) Tree<Frame> frame_without_slots(clAtom* name, Sequence* none) {
  return Tree<Frame>(new Frame(*name, *none));
}

__attribute__((no_sanitize("null"), noinline)) void update_with_null(Frame& frame, Sequence* none) {
  frame.update_slots(*none);
}

__attribute__((no_sanitize("null"), noinline)) Bone* value_or_null(const Frame& frame, const clAtom& name, Bone* none) {
  return frame.slot_val(name, *none);
}

std::string printed(const Frame& frame, const char* indent, const char* separator) {
  Text_Stream stream;
  frame.print(stream, indent, separator);
  return stream.text();
}

TEST(Frame, KeepsTheNameItself) {
  clAtom* const name = new clAtom("a");
  const Frame frame(*name, *slots({}));
  EXPECT_EQ(frame.get_key(), name);
}

TEST(Frame, OfANullSequenceIsEmpty) {
  const Tree<Frame> frame = frame_without_slots(new clAtom("a"), nullptr);
  EXPECT_TRUE(frame->slots().is_empty());
  const Tree<Frame> nameless = frame_without_slots(nullptr, nullptr);
  EXPECT_EQ(nameless->get_key(), nullptr);
}

TEST(Frame, TheLastOfTwoSlotsOfOneNameStaysAndTheOtherIsDestroyed) {
  std::string ends;
  const Tree<Frame> f =
      frame("f", {slot("a", new Witness(ends, "first")), slot("b", nullptr), slot("a", new Witness(ends, "second"))});
  EXPECT_EQ(ends, "first ");
  EXPECT_EQ(f->slots().count(), 2u);
}

TEST(Frame, ASlotMergedLaterTakesThePlaceOfTheOlder) {
  std::string ends;
  const Tree<Frame> f = frame("f", {slot("a", new Witness(ends, "old")), slot("b", new Integer(1))});
  f->update_slots(*slots({slot("a", new Integer(2)), slot("c", new Integer(3))}));
  EXPECT_EQ(ends, "old ");
  EXPECT_EQ(shown(f.get()), "f{a=2 b=1 c=3}");
}

TEST(Frame, MergingNullChangesNothing) {
  const Tree<Frame> f = frame("f", {slot("a", new Integer(1))});
  update_with_null(*f, nullptr);
  EXPECT_EQ(shown(f.get()), "f{a=1}");
}

TEST(Frame, DestroysItsSlotsWithTheirValues) {
  std::string ends;
  frame("f", {slot("a", new Witness(ends, "one")), slot("b", new Witness(ends, "two"))});
  EXPECT_EQ(ends, "one two ");
}

// What a repeated action leaves on the heap is less than so many bytes each time.
void expect_nothing_left(const std::function<void()>& action, std::size_t each) {
  action();
  const std::size_t before = heap_in_use();
  for (int i = 0; i < 1000; ++i) action();
  EXPECT_LT(heap_in_use(), before + 1000 * each);
}

TEST(Frame, DestroysTheSequenceThatItMerges) {
  const Tree<Frame> f = frame("f", {});
  expect_nothing_left([&] { f->update_slots(*slots({slot("a", new Integer(1))})); }, 8);
}

TEST(Frame, OwnsAllThatWasReadOfIt) {
  expect_nothing_left([] { Frame(kvistrstream("(a (b [c (d 1)] [e (f g)]) [h (i \"j\" 2.5)] (k (l)) (m ()))")); }, 8);
}

TEST(Frame, DestroysItsName) {
  const std::string name(10'000, 'n');
  frame(name.c_str(), {});
  const std::size_t before = heap_in_use();
  for (int i = 0; i < 10; ++i) frame(name.c_str(), {});
  EXPECT_LT(heap_in_use(), before + name.size());
}

TEST(Frame, GivesTheValueOfASlot) {
  Bone* const value = new Integer(5);
  const Tree<Frame> f = frame("f", {slot("a", value)});
  Integer fallback(1);
  EXPECT_EQ(f->slot_val(clAtom("a"), fallback), value);
  EXPECT_EQ(f->slot_val(clAtom("a"), Nil), value);
}

TEST(Frame, GivesTheFallbackForAMissingSlotAndForANullValue) {
  const Tree<Frame> f = frame("f", {slot("a", nullptr)});
  Integer fallback(1);
  for (const char* name : {"a", "A", "other", ""}) {
    EXPECT_EQ(f->slot_val(clAtom(name), fallback), &fallback) << name;
    EXPECT_EQ(f->slot_val(clAtom(name), Nil), nullptr) << name;
    EXPECT_EQ(value_or_null(*f, clAtom(name), nullptr), nullptr) << name;
  }
}

TEST(Frame, ReadFromAStreamHasItsNameAndSlots) {
  const Frame f(kvistrstream("[name (a 1) (b (2 3)) (a 4)]"));
  EXPECT_EQ(shown(&f), "name{a=4 b=<2 3>}");
}

TEST(Frame, ReadFromNothingHasNoNameAndNoSlots) {
  const Frame f(kvistrstream(""));
  EXPECT_EQ(f.get_key(), nullptr);
  Integer fallback(1);
  EXPECT_EQ(f.slot_val(clAtom("a"), fallback), &fallback);
}

TEST(Frame, NestedOnesHaveANameOfTheirOwn) {
  const Frame f(kvistrstream("[a [b (c 1)]]"));
  Assoc_Iterator next(f.slots());
  const auto& slot = dynamic_cast<const Frame_Association&>(*next.next());
  const auto& inner = dynamic_cast<const Frame&>(*slot.value());
  EXPECT_STREQ(slot.key()->text(), "b");
  EXPECT_STREQ(inner.get_key()->text(), "b");
  EXPECT_NE(inner.get_key(), slot.key());
}

TEST(Frame, OfOneScalarHasACopyOfItsNameAsKey) {
  const Frame f(kvistrstream("(a 5)"));
  Assoc_Iterator next(f.slots());
  const Association* const only = next.next();
  EXPECT_STREQ(only->key()->text(), "a");
  EXPECT_NE(only->key(), f.get_key());
}

TEST(Frame, IsNoAtom) { EXPECT_FALSE(Frame(kvistrstream("(a)")).is_atom()); }

TEST(Frame, ReadFromAFileOrATextAddsNothingButItsKind) {
  const Frame_Of_File from_file(kvistrstream("(a (b 1))"));
  const Frame_Of_String from_text(kvistrstream("[empty]"));
  EXPECT_EQ(written(from_file), "[a (b 1)]\n");
  EXPECT_EQ(written(from_text), "[empty ]\n");
}

// QUIRK frame-ends-its-line
TEST(FrameWrite, EndsEveryFrameWithANewline) {
  EXPECT_EQ(written(Frame(kvistrstream("(a)"))), "[a ]\n");
  EXPECT_EQ(written(Frame(kvistrstream("(a (b 1) (c x \"s\" 2.5))"))), "[a (b 1) (c (x \"s\" 2.5))]\n");
  EXPECT_EQ(written(Frame(kvistrstream("(a [b (c 1)] (d 2))"))), "[a [b (c 1)]\n (d 2)]\n");
  EXPECT_EQ(written(Frame(kvistrstream("(a (b [c (d 1)]))"))), "[a (b [c (d 1)]\n)]\n");
}

TEST(FrameWrite, ShowsTheMarkerForWhatIsNotThere) {
  EXPECT_EQ(written(Frame(kvistrstream(""))), "[/\\/ | \\__ ]\n");
  const Tree<Frame> f = frame("f", {slot("a", nullptr)});
  EXPECT_EQ(written(*f), "[f (a /\\/ | \\__)]\n");
  const Tree<Bone> no_frame(new Frame_Association(new clAtom("a"), nullptr));
  EXPECT_EQ(written(*no_frame), "/\\/ | \\__");
}

TEST(FramePrint, PutsEachSlotBehindADeeperIndent) {
  const Frame f(kvistrstream("(a (b 1) (c 2))"));
  EXPECT_EQ(printed(f, "  ", "\n"), "  [a\n  \t(b 1)\n  \t(c 2)\n]\n");
  EXPECT_EQ(printed(f, "", "|"), "[a|\t(b 1)|\t(c 2)|]|");
}

TEST(FramePrint, WithoutAnIndentHasATabAlone) {
  EXPECT_EQ(printed(Frame(kvistrstream("(a (b 1))")), nullptr, "\n"), "[a\n\t(b 1)\n]\n");
}

TEST(FramePrint, WithoutSlotsHasTheSeparatorOnce) {
  EXPECT_EQ(printed(Frame(kvistrstream("(a)")), "  ", "\n"), "  [a]\n");
  EXPECT_EQ(printed(Frame(kvistrstream("")), nullptr, "\n"), "[/\\/ | \\__]\n");
}

TEST(FramePrint, ReadsBack) {
  const Frame f(kvistrstream("(a (b 1) [c (d x)] (e ()))"));
  const Frame again(kvistrstream(printed(f, "\t", "\n").c_str()));
  EXPECT_EQ(shown(&again), "a{b=1 c:c{d=x} e=<>}");
}

}  // namespace
}  // namespace kvtest
