// Frames as the built library gives them to a program.
#include <gtest/gtest.h>

#include "tests/parselib/reading.h"

namespace kvtest {
namespace {

class Own_Machine final : public Slot_Machine {
 public:
  int integer(Bone*& out_value, char* text) const override { return number(out_value, text); }
  int real(Bone*& out_value, char* text) const override { return number(out_value, text); }
  int string(Bone*& out_value, char* text) const override {
    out_value = new clString(text);
    return KV_STRING_TOKEN;
  }
  Bone* atom(clAtom& atom) const override { return &atom; }
  Bone* frame(clAtom& name, Sequence& slots) const override { return new Frame(*new clAtom(name), slots); }
  Bone* list(Sequence& list) const override { return reinterpret_cast<Bone*>(&list); }

 private:
  static int number(Bone*& out_value, const char* text) {
    out_value = new Real(atof(text));
    return KV_NUMBER_TOKEN;
  }
};

TEST(FrameExports, AProgramReadsFramesAndLists) {
  EXPECT_EQ(frame_read("(a (b 1 2) [c (d \"s\")])"), "a{b=<1 2> c:c{d=\"s\"}}");
  EXPECT_EQ(list_read("(1 (x))"), "<1 <x>>");
}

TEST(FrameExports, AProgramDerivesASlotMachineOfItsOwn) {
  Text_In in("(a (b 1 2.5 \"s\" x) [c (d 2)])");
  EXPECT_EQ(frame_read(in, Own_Machine()), "a{b=<1.0 2.5 \"s\" x> c:c{d=2.0}}");
}

TEST(FrameExports, FramesAreMadeAskedMergedAndWritten) {
  Sequence* const slots = Use_Queue_List().make();
  slots->insert(new Association(new clAtom("b"), new Integer(1)));
  const Tree<Frame> frame(new Frame(*new clAtom("a"), *slots));
  Sequence* const more = Use_Queue_List().make();
  more->insert(new Frame_Association(new clAtom("c"), new Frame_Of_String(kvistrstream("(c 2)"))));
  frame->update_slots(*more);
  EXPECT_STREQ(frame->get_key()->text(), "a");
  EXPECT_EQ(shown(frame->slot_val(clAtom("b"), Nil)), "1");
  EXPECT_EQ(written(*frame), "[a (b 1) [c (c 2)]\n]\n");
  Text_Stream stream;
  frame->print(stream, nullptr, "\n");
  EXPECT_EQ(stream.text(), "[a\n\t(b 1)\n\t[c (c 2)]\n\n]\n");
}

TEST(FrameExports, AProgramTellsTheKindsApart) {
  const Tree<Frame> from_file(new Frame_Of_File(kvistrstream("(a)")));
  const Tree<Frame> from_text(new Frame_Of_String(kvistrstream("(a)")));
  EXPECT_NE(dynamic_cast<Frame_Of_File*>(from_file.get()), nullptr);
  EXPECT_EQ(dynamic_cast<Frame_Of_File*>(from_text.get()), nullptr);
}

}  // namespace
}  // namespace kvtest
