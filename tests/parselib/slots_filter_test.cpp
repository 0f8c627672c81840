// Some of the slots of a set, written.
#include "parselib/slots_filter.h"

#include <gtest/gtest.h>

#include "tests/parselib/reading.h"

namespace kvtest {
namespace {

class Is_Number final : public Slot_Test {
 public:
  bool operator()(const clAtom*, const Bone* value) const override {
    return dynamic_cast<const Number*>(value) != nullptr;
  }
};

class Has_Short_Key final : public Slot_Test {
 public:
  bool operator()(const clAtom* key, const Bone*) const override { return strlen(key->text()) < 3; }
};

TEST(SlotsFilter, WritesTheAcceptedSlotsOneALine) {
  const Frame frame(kvistrstream("(f (one 1) (b text) (c 2.5) [d (e 1)])"));
  EXPECT_EQ(written(Slots_Filter(frame.slots(), Is_Number())), "\t(one 1)\n\t(c 2.5)\n");
  EXPECT_EQ(written(Slots_Filter(frame.slots(), Has_Short_Key())), "\t(b text)\n\t(c 2.5)\n\t[d (e 1)]\n\n");
}

TEST(SlotsFilter, OfNoSlotsWritesNothing) {
  const Frame frame(kvistrstream("(f)"));
  EXPECT_EQ(written(Slots_Filter(frame.slots(), Is_Number())), "");
}

}  // namespace
}  // namespace kvtest
