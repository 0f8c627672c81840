// What a slot machine is asked, in which order, and what becomes of its answers.
#include <gtest/gtest.h>

#include "tests/parselib/reading.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

// Does as its base does, and writes down what it was asked.
class Recording_Machine : public One_Arm_Bandit {
 public:
  int integer(Bone*& out_value, char* text) const override {
    add("integer", text);
    return One_Arm_Bandit::integer(out_value, text);
  }
  int real(Bone*& out_value, char* text) const override {
    add("real", text);
    return One_Arm_Bandit::real(out_value, text);
  }
  int string(Bone*& out_value, char* text) const override {
    add("string", text);
    return One_Arm_Bandit::string(out_value, text);
  }
  Bone* atom(clAtom& atom) const override {
    add("atom", atom.text());
    return One_Arm_Bandit::atom(atom);
  }
  Bone* frame(clAtom& name, Sequence& slots) const override {
    add("frame", std::string(name.text()) + " of " + std::to_string(slots.count()));
    return One_Arm_Bandit::frame(name, slots);
  }
  Bone* list(Sequence& list) const override {
    add("list", reinterpret_cast<clAtom&>(list).text());
    return One_Arm_Bandit::list(list);
  }

  const std::vector<std::string>& calls() const { return calls_; }

 protected:
  void add(const std::string& name, const std::string& argument) const { calls_.push_back(name + " " + argument); }

 private:
  mutable std::vector<std::string> calls_;
};

using Calls = std::vector<std::string>;

Calls calls_for(const std::string& text) {
  Recording_Machine machine;
  Text_In in(text);
  frame_read(in, machine);
  return machine.calls();
}

TEST(SlotMachine, GetsTheTextOfNumbersAndOfStringsWithoutQuotes) {
  EXPECT_EQ(
      calls_for("(a (b -12 007 - 1.5e-3 \"a \\\"b\\\"\" \"\"))"),
      Calls({"integer -12", "integer 007", "integer -", "real 1.5e-3", "string a \\\"b\\\"", "string ", "list b"}));
}

TEST(SlotMachine, IsNotAskedForNamesAndKeys) {
  EXPECT_EQ(calls_for("(a)"), Calls());
  EXPECT_EQ(calls_for("(a (b ()))"), Calls());
}

TEST(SlotMachine, IsNotAskedForAnAtomThatIsTheFramesScalar) { EXPECT_EQ(calls_for("(a b)"), Calls()); }

TEST(SlotMachine, IsAskedForTokensAsTheyAreMetAndForTheRestWhenItIsComplete) {
  EXPECT_EQ(calls_for("(a (b x) [c (d 1 2.5)] (e [f (g y)] z) [h])"),
            Calls({"atom x", "integer 1", "real 2.5", "list d", "frame c of 1", "atom y", "frame f of 1", "atom z",
                   "list e", "frame h of 0"}));
}

TEST(SlotMachine, IsAskedForAnAtomBeforeTheNextTokenIsTaken) {
  EXPECT_EQ(calls_for("(a (b (x 1) y \"s\"))"), Calls({"atom x", "integer 1", "atom y", "string s", "list b"}));
}

TEST(SlotMachine, IsAskedUpToTheError) {
  EXPECT_EQ(calls_for("(a [b (c 1)] (d 2 ] 3)"), Calls({"integer 1", "frame b of 1", "integer 2"}));
}

// QUIRK list-gets-the-name
TEST(SlotMachine, GetsTheNameOfAListsSlotInsteadOfTheList) {
  class Renaming_Machine final : public Recording_Machine {
   public:
    Bone* list(Sequence& list) const override {
      const Tree<clAtom> name(reinterpret_cast<clAtom*>(&list));
      return new clAtom((std::string("list-") + name->text()).c_str());
    }
  };
  Text_In in("(a (b 1 2) (c (3 4)) (d 5))");
  EXPECT_EQ(frame_read(in, Renaming_Machine()), "a{list-b=<1 2> c=<3 4> d=5}");
}

TEST(SlotMachine, DecidesWhatAtomsAndFramesBecome) {
  class Counting_Machine final : public One_Arm_Bandit {
   public:
    Bone* atom(clAtom& atom) const override {
      const Tree<clAtom> owned(&atom);
      return new Integer(static_cast<int>(strlen(atom.text())));
    }
    Bone* frame(clAtom& name, Sequence& slots) const override {
      const Tree<Sequence> owned(&slots);
      return new clString((std::string(name.text()) + " with " + std::to_string(slots.count())).c_str());
    }
  };
  Text_In in("(a (b abc) [c (d e)] (f (g [h (i 1) (j 2)])))");
  EXPECT_EQ(frame_read(in, Counting_Machine()), "a{b=3 c:\"c with 1\" f=<1 \"h with 2\">}");
}

// What a token is for the grammar is the machine's answer.
TEST(SlotMachine, DecidesWhichTokenItsValueIs) {
  class Naming_Machine final : public One_Arm_Bandit {
   public:
    int string(Bone*& out_value, char* text) const override {
      out_value = new clAtom(text);
      return 262;
    }
  };
  Text_In in("(\"a\" (\"b c\" 1))");
  EXPECT_EQ(frame_read(in, Naming_Machine()), "a{b c=1}");
}

TEST(SlotMachine, MayChangeTheTextItGets) {
  class Shouting_Machine final : public One_Arm_Bandit {
   public:
    int string(Bone*& out_value, char* text) const override {
      for (char* at = text; *at != '\0'; ++at) *at = static_cast<char>(toupper(static_cast<unsigned char>(*at)));
      return One_Arm_Bandit::string(out_value, text);
    }
  };
  Text_In in("(a (b \"text\" c))");
  EXPECT_EQ(frame_read(in, Shouting_Machine()), "a{b=<\"TEXT\" c>}");
}

TEST(OneArmBandit, MakesTheUsualObjects) {
  const One_Arm_Bandit machine;
  char integer[] = "-12", real[] = "2.5", text[] = "text";
  Bone* made[3] = {};
  EXPECT_EQ(machine.integer(made[0], integer), 263);
  EXPECT_EQ(machine.real(made[1], real), 263);
  EXPECT_EQ(machine.string(made[2], text), 264);
  text[0] = 'x';
  const Tree<Bone> owned[3] = {Tree<Bone>(made[0]), Tree<Bone>(made[1]), Tree<Bone>(made[2])};
  EXPECT_EQ(dynamic_cast<Integer&>(*made[0]).value(), -12);
  EXPECT_EQ(dynamic_cast<Real&>(*made[1]).value(), 2.5);
  EXPECT_STREQ(dynamic_cast<clString&>(*made[2]).text(), "text");
}

TEST(OneArmBandit, ReturnsAtomsAndListsAsTheyAre) {
  const One_Arm_Bandit machine;
  clAtom atom("a");
  const Tree<Sequence> list(Use_Queue_List().make());
  EXPECT_EQ(machine.atom(atom), &atom);
  EXPECT_EQ(machine.list(*list), list.get());
}

TEST(OneArmBandit, MakesAFrameUnderACopyOfTheName) {
  const One_Arm_Bandit machine;
  clAtom name("a");
  const Tree<Bone> made(machine.frame(name, *Use_Queue_List().make()));
  const Frame& frame = dynamic_cast<Frame&>(*made);
  EXPECT_STREQ(frame.get_key()->text(), "a");
  EXPECT_NE(frame.get_key(), &name);
}

}  // namespace
}  // namespace kvtest
