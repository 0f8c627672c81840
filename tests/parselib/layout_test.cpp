// Where programs that were built elsewhere find operations and fields: the order of virtual functions, counted
// from the two entries of the destructor, and the places of the fields.
#include <gtest/gtest.h>
#include <kelvane/descriptor.h>
#include <kelvane/frames.h>
#include <string.h>

namespace kvtest {
namespace {

// On this platform the pointer to a virtual member holds its place in the table, in bytes and plus one.
template <class Member>
size_t place_of(Member member) {
  static_assert(sizeof member == 2 * sizeof(size_t));
  size_t words[2];
  memcpy(words, &member, sizeof words);
  return (words[0] - 1) / sizeof(void*);
}

const void* pointer_at(const void* object, size_t offset) {
  const void* field = nullptr;
  memcpy(&field, static_cast<const char*>(object) + offset, sizeof field);
  return field;
}

TEST(Layout, OfABonesOperations) {
  EXPECT_EQ(place_of(&Bone::delete_tree), 2u);
  EXPECT_EQ(place_of(&Bone::is_atom), 3u);
  EXPECT_EQ(place_of(&Bone::write), 4u);
}

TEST(Layout, OfASlotMachinesOperations) {
  EXPECT_EQ(place_of(&Slot_Machine::integer), 5u);
  EXPECT_EQ(place_of(&Slot_Machine::real), 6u);
  EXPECT_EQ(place_of(&Slot_Machine::string), 7u);
  EXPECT_EQ(place_of(&Slot_Machine::atom), 8u);
  EXPECT_EQ(place_of(&Slot_Machine::frame), 9u);
  EXPECT_EQ(place_of(&Slot_Machine::list), 10u);
}

TEST(Layout, OfANumbersOperation) { EXPECT_EQ(place_of(&Number::value), 5u); }

TEST(Layout, OfADescriptorsOperations) {
  EXPECT_EQ(place_of(&Set_Desc::operator()), 5u);
  EXPECT_EQ(place_of(&Set_Desc::spawn), 6u);
}

TEST(Layout, OfAFrameIsTheNameThenTheSlots) {
  const Frame frame(*new clAtom("f"), *Use_Queue_List().make());
  EXPECT_EQ(pointer_at(&frame, 8), frame.get_key());
  EXPECT_EQ(reinterpret_cast<const char*>(&frame.slots()) - reinterpret_cast<const char*>(&frame), 16);
}

TEST(Layout, OfAnAssociationIsTheValueThenTheKey) {
  clAtom key("a");
  Integer value(1);
  const Association slot(&key, &value);
  EXPECT_EQ(pointer_at(&slot, 8), &value);
  EXPECT_EQ(pointer_at(&slot, 16), &key);
}

TEST(Layout, OfAFrameSlotIsThatOfAnAssociation) {
  clAtom key("a");
  Integer value(1);
  const Frame_Association slot(&key, &value);
  EXPECT_EQ(pointer_at(&slot, 8), &value);
  EXPECT_EQ(pointer_at(&slot, 16), &key);
  EXPECT_EQ(sizeof(Frame_Association), sizeof(Association));
}

TEST(Layout, OfTheKindsOfFramesIsThatOfAFrame) {
  EXPECT_EQ(sizeof(Frame_Of_File), sizeof(Frame));
  EXPECT_EQ(sizeof(Frame_Of_String), sizeof(Frame));
}

}  // namespace
}  // namespace kvtest
