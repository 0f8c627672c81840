// Descriptors as values of the registry: what crosses the table, and what comes back from it.
#include <kelvane/security.h>

#include "tests/registry/fronts.h"
#include "tests/security/guarded.h"
#include "tests/security/registry_descriptor/value_call_double.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

// Owner at 40, group at 52, a DACL of which only the offset is stored.
const char* const in_memory =
    "01 00 04 80 00*4  28 00*7  34 00*7  00*8  40 00*7 "
    "01 01 00 00 00 00 00 05 20 02 00 00  01 01 01 02 03 04 05 06 11 22 33 44  02 00 08 00 00 00 00 00";
const char* const in_wire =
    "01 00 80 04  00 00 00 14  00 00 00 20  00 00 00 00  00 00 00 2c "
    "01 01 00 00 00 00 00 05 00 00 02 20  01 01 01 02 03 04 05 06 44 33 22 11  00*8";

class Set_Descriptor_Value : public Fronts {
 protected:
  // Stores the descriptor with a length and gives the bytes that crossed the table.
  std::string stored(void* descriptor, DWORD length) {
    recording.reset();
    EXPECT_EQ(RegSetSDExA(key, "n", 0, REG_BINARY, descriptor, length), 0);
    return call()["data"].bytes;
  }
};

class Closed_Registry : public Fronts {};

class Query_Descriptor_Value : public Fronts {
 protected:
  // Reads a value of these bytes into the descriptor.
  LSTATUS queried(const std::string& wire, void* descriptor, DWORD* length) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, wire));
    return RegQuerySDExA(key, "n", nullptr, nullptr, descriptor, length);
  }
};

TEST_F(Set_Descriptor_Value, StoresHeaderAndSidsHighByteFirst) {
  Guarded descriptor(bytes(in_memory));
  EXPECT_BYTES(stored(descriptor, 52), in_wire);
  EXPECT_BYTES(descriptor.content(), in_memory);
}

TEST_F(Set_Descriptor_Value, HandsEveryArgumentOn) {
  Guarded descriptor(bytes(in_memory));
  recording.script("KvIRegSetValueEx", answer(1018));
  EXPECT_EQ(RegSetSDExA(key, "n\xC3\xA4me", 0x89ABCDEF, 99, descriptor, 52), 1018);
  EXPECT_EQ(entries(), "KvIRegSetValueEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(call().raw("reserved"), 0x89ABCDEFu);
  EXPECT_EQ(call().raw("type"), 99u);
  EXPECT_EQ(call().raw("data_size"), 52u);
}

TEST_F(Set_Descriptor_Value, WideNamesAreTheSameNames) {
  Guarded descriptor(bytes(in_memory));
  EXPECT_EQ(RegSetSDExW(key, L"n\u00E4me", 5, REG_BINARY, descriptor, 52), 0);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(call().raw("reserved"), 5u);
  EXPECT_EQ(call().raw("type"), 3u);
  EXPECT_BYTES(call()["data"].bytes, in_wire);
  EXPECT_EQ(RegSetSDExW(key, nullptr, 0, REG_BINARY, descriptor, 52), 0);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
}

// QUIRK descriptor-value-length
TEST_F(Set_Descriptor_Value, IsAsLongAsTheCallerSaysWithZerosBehindIt) {
  Guarded descriptor(bytes(in_memory));
  EXPECT_BYTES(stored(descriptor, 72), std::string(in_wire) + " 00*20");
  EXPECT_BYTES(stored(descriptor, 20), "01 00 80 04  00 00 00 14  00 00 00 20  00 00 00 00  00 00 00 2c");
  EXPECT_EQ(stored(descriptor, 0), "");
}

TEST_F(Set_Descriptor_Value, TakesTheLowHalvesOfTheOffsets) {
  Guarded descriptor(
      bytes("01 00 34 12 dd*4  00 00 00 00 99*4  28 00 00 00 99*4  15 cd 5b 07 ff*4  00*4 01 00*3 "
            "01 00 00 00 00 00 00 05"));
  // The owner is absent, so the header shows its own bytes.
  EXPECT_BYTES(stored(descriptor, 28),
               "01 00 34 12 dd dd dd dd  00 00 00 14  07 5b cd 01  00 00 00 00  01 00 00 00 00 00 00 05");
}

// QUIRK wire-absent-part
TEST_F(Set_Descriptor_Value, AnAbsentGroupIsCopiedFromTheHeaderOverTheHeader) {
  Guarded descriptor(bytes("01 00 04 80 00*4  28 00*7  00*8  00*8  00*8  01 01 00 00 00 00 00 05 20 02 00 00"));
  EXPECT_BYTES(stored(descriptor, 32),
               "01 00 04 80  00 00 00 00  00 00 00 00  00 00 00 00  00 00 00 00  01 01 00 00 00 00 00 05 00 00 02 20");
}

TEST_F(Set_Descriptor_Value, AnAbsentGroupBesideAPadByteTakesItForACount) {
  Guarded descriptor(bytes("01 02 04 80 00*4  28 00*7  00*8  00*8  00*8  01 00 00 00 00 00 00 05"));
  // The count of 2 covers the owner's field, whose eight bytes are turned round in two halves.
  EXPECT_BYTES(stored(descriptor, 28),
               "01 02 04 80  00 00 00 00  00 00 00 28  00 00 00 00  00 00 00 00  01 00 00 00 00 00 00 05");
}

TEST_F(Set_Descriptor_Value, AFaultInASidEndsTheConversionAndTheRestIsZero) {
  const std::string cut = bytes("01 00 00 80 00*4  28 00*7  30 00*7  00*8  00*8  01 00 00 00 00 00 00 05 01 01 09");
  Guarded descriptor(cut);
  const std::string wire = stored(descriptor, 40);
  EXPECT_BYTES(wire.substr(0, 28),
               "01 00 80 00  00 00 00 14  00 00 00 1c  00 00 00 00  00 00 00 00  01 00 00 00 00 00 00 05");
  EXPECT_BYTES(wire.substr(31), "00*9");
  EXPECT_EQ(guarded_regions(), "begin except 1 ");
}

TEST_F(Set_Descriptor_Value, OffsetsBehindTheBufferAreCarriedAndNothingIsReadThere) {
  Guarded descriptor(bytes("01 00 00 80 00*4  14 10 00*6  ff*4 00*4  00*8  00*8"));
  EXPECT_BYTES(stored(descriptor, 20), "01 00 80 00  00 00 10 00  ff ff ff eb  00 00 00 00  00 00 00 00");
  EXPECT_EQ(guarded_regions(), "begin end ");
  // Below the header's difference an offset wraps round.
  Guarded wrapping(bytes("01 00 00 80 00*4  13 00*7  01 00*7  00*8  00*8"));
  EXPECT_BYTES(stored(wrapping, 20), "01 00 80 00  ff ff ff ff  ff ff ff ed  00 00 00 00  00 00 00 00");
}

TEST_F(Set_Descriptor_Value, ASidAtTheEndOfTheBufferIsCutThere) {
  std::string content = bytes("01 00 00 80 00*4  06 10 00*6  28 00*7  00*8  00*8  01 00*7 ");
  content.resize(4102);
  content += bytes("01 03 00 00 00 00 00 05 01 00 00 00 02 00 00 00 03 00 00 00");
  Guarded descriptor(content);
  EXPECT_BYTES(stored(descriptor, 4096).substr(4082), "01 03 00 00 00 00 00 05 00 00 00 01 00 00");
  Guarded shorter(content.substr(0, 4088) + bytes("01 ff 00 00 00 00 00 05 01*20"));
  *shorter.as<DWORD>(8) = 4110;  // six bytes before the buffer's end, where no SID begins
  EXPECT_BYTES(stored(shorter, 4096).substr(4080), "00*16");
}

TEST_F(Set_Descriptor_Value, TheLargestSidsAreStored) {
  const std::string largest = bytes("01 ff 00 00 00 00 00 05") + std::string(1020, '\x07');
  Guarded descriptor(bytes("01 00 00 80 00*4  28 00*7  2c 04 00*6  00*8  00*8 ") + largest + largest);
  EXPECT_EQ(hex(stored(descriptor, 2076)),
            hex(bytes("01 00 80 00  00 00 00 14  00 00 04 18  00*8") + largest + largest));
}

TEST_F(Set_Descriptor_Value, AboveTheBuffersSizeIs87AndNothingIsRead) {
  for (const DWORD length : {4097u, 0x80000000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(RegSetSDExA(key, "n", 0, REG_BINARY, unreadable<void>(8), length), 87) << length;
    EXPECT_EQ(RegSetSDExW(key, L"n", 0, REG_BINARY, unreadable<void>(8), length), 87) << length;
  }
  EXPECT_EQ(entries(), "");
}

TEST_F(Query_Descriptor_Value, ReadsHeaderAndSidsBack) {
  Guarded descriptor(bytes("ee*72"));
  DWORD length = 72;
  EXPECT_EQ(queried(bytes(in_wire), descriptor, &length), 0);
  EXPECT_EQ(length, 72u);
  EXPECT_BYTES(descriptor.content(),
               "01 00 04 80 00*4  28 00*7  34 00*7  00*8  40 00*7 "
               "01 01 00 00 00 00 00 05 20 02 00 00  01 01 01 02 03 04 05 06 11 22 33 44  ee*8");
}

TEST_F(Query_Descriptor_Value, HandsEveryArgumentOn) {
  Guarded descriptor(bytes("ee*72"));
  recording.script("KvIRegQueryValueEx", [](const Call& call) {
    call.store<DWORD>("out_type", 99);
    call.store<DWORD>("data_size", 0);
    return 5;
  });
  DWORD length = 72, type = 0, reserved = 0;
  EXPECT_EQ(RegQuerySDExA(key, "n\xC3\xA4me", &reserved, &type, descriptor, &length), 5);
  EXPECT_EQ(entries(), "KvIRegQueryValueEx ");
  EXPECT_EQ(call().raw("key"), 0x1122334455667788u);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(call().raw("reserved"), number_of(&reserved));
  EXPECT_EQ(length, 72u);
  EXPECT_BYTES(descriptor.content(), "ee*72");
}

TEST_F(Query_Descriptor_Value, WideNamesAreTheSameNames) {
  recording.script("KvIRegQueryValueEx", answer_value(0, 99, bytes(in_wire)));
  Guarded descriptor(bytes("ee*72"));
  DWORD length = 72, type = 0;
  EXPECT_EQ(RegQuerySDExW(key, L"n\u00E4me", nullptr, &type, descriptor, &length), 0);
  EXPECT_EQ(call()["value_name"].text, u"n\u00E4me");
  EXPECT_EQ(type, 99u);
  EXPECT_BYTES(descriptor.content().substr(40, 12), "01 01 00 00 00 00 00 05 20 02 00 00");
  EXPECT_EQ(RegQuerySDExW(key, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(call(1).raw("value_name"), 0u);
}

TEST_F(Query_Descriptor_Value, AsksForTwentyBytesLessThanTheCallerOffers) {
  Guarded descriptor(std::string(10000, '\xEE'));
  struct Case {
    DWORD offered, asked;
  };
  for (const Case& c : {Case{100, 80},
                        {21, 1},
                        {20, 0},
                        {19, 0},
                        {10, 0},
                        {0, 0},
                        {4116, 4096},
                        {4117, 4096},
                        {10000, 4096},
                        {0xFFFFFFFF, 4096}}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value_size(2, REG_BINARY, 0));
    DWORD length = c.offered;
    EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, descriptor, &length), 2);
    EXPECT_EQ(last_asked().size, c.asked) << c.offered;
    EXPECT_NE(last_asked().data, nullptr);
    EXPECT_EQ(length, c.offered);
  }
}

TEST_F(Query_Descriptor_Value, OfANullDescriptorTellsTheLengthAndReadsNothing) {
  struct Case {
    DWORD offered, asked;
  };
  for (const Case& c : {Case{100, 80}, {10, 0}, {10000, 9980}}) {
    recording.reset();
    recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 68));
    DWORD length = c.offered;
    EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, nullptr, &length), 0);
    EXPECT_EQ(last_asked().size, c.asked);
    EXPECT_EQ(last_asked().data, nullptr);
    EXPECT_EQ(length, 88u);
  }
  recording.reset();
  recording.script("KvIRegQueryValueEx", answer_value_size(0, REG_BINARY, 68));
  EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_TRUE(last_asked().has_size);
  EXPECT_EQ(last_asked().size, 0u);
}

TEST_F(Query_Descriptor_Value, WithoutRoomTellsTheLengthAndWritesNothing) {
  Guarded descriptor(bytes("ee*68"));
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 68));
  DWORD length = 68;
  EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, descriptor, &length), 234);
  EXPECT_EQ(length, 88u);
  EXPECT_BYTES(descriptor.content(), "ee*68");
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 68));
  EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, nullptr, nullptr), 234);
}

TEST_F(Query_Descriptor_Value, OtherErrorsLeaveTheLengthAndTheDescriptor) {
  Guarded descriptor(bytes("ee*68"));
  for (const int code : {2, 5, 1018}) {
    recording.script("KvIRegQueryValueEx", answer_value_size(static_cast<DWORD>(code), REG_BINARY, 7));
    DWORD length = 68;
    EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, descriptor, &length), code);
    EXPECT_EQ(length, 68u);
    recording.script("KvIRegQueryValueEx", answer_value_size(static_cast<DWORD>(code), REG_BINARY, 7));
    EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, nullptr, &length), code);
    EXPECT_EQ(length, 68u);
  }
  EXPECT_BYTES(descriptor.content(), "ee*68");
}

TEST_F(Query_Descriptor_Value, WithoutALengthAsksForNothing) {
  Guarded descriptor(bytes("ee*40"));
  recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_BINARY, 68));
  EXPECT_EQ(RegQuerySDExA(key, "n", nullptr, nullptr, descriptor, nullptr), 234);
  EXPECT_TRUE(last_asked().has_size);
  EXPECT_EQ(last_asked().size, 0u);
  EXPECT_BYTES(descriptor.content(), "ee*40");
  EXPECT_EQ(queried("", descriptor, nullptr), 0);
  EXPECT_BYTES(descriptor.content(), "00*40");
}

TEST_F(Query_Descriptor_Value, OfAValueShorterThanItsHeaderHasZerosForTheRest) {
  Guarded descriptor(bytes("ee*40"));
  DWORD length = 40;
  EXPECT_EQ(queried(bytes("01 00 80 04 00"), descriptor, &length), 0);
  EXPECT_BYTES(descriptor.content(), "01 00 80 04 00*4 00*32");
}

TEST_F(Query_Descriptor_Value, IsConvertedInsideAGuardedRegion) {
  Guarded descriptor(bytes("ee*72"));
  DWORD length = 72;
  queried(bytes(in_wire), descriptor, &length);
  EXPECT_EQ(guarded_regions(), "begin end ");
}

TEST_F(Query_Descriptor_Value, AFaultInASidEndsTheConversion) {
  // The room told is larger than the one there is.
  Guarded descriptor(bytes("ee*56"));
  DWORD length = 72;
  EXPECT_EQ(queried(bytes(in_wire), descriptor, &length), 0);
  EXPECT_BYTES(descriptor.content().substr(0, 56),
               "01 00 04 80 00*4  28 00*7  34 00*7  00*8  40 00*7 "
               "01 01 00 00 00 00 00 05 20 02 00 00  01 01 01 02");
  EXPECT_EQ(guarded_regions(), "begin except 1 ");
}

TEST_F(Query_Descriptor_Value, NothingIsWrittenOutsideTheRoom) {
  const std::string wire = bytes(in_wire);
  // The room ends in the header, in the owner, in the group.
  for (std::size_t room = 20; room <= 72; ++room) {
    Guarded descriptor(std::string(room, '\xEE'));
    auto length = static_cast<DWORD>(room);
    EXPECT_EQ(queried(wire.substr(0, room - 20), descriptor, &length), 0);
    EXPECT_EQ(length, room);
  }
}

TEST_F(Query_Descriptor_Value, CutAtAnyByteOrWithAnyByteChangedStaysInsideTheRoom) {
  const std::string wire = bytes(in_wire);
  for (std::size_t at = 0; at < wire.size(); ++at) {
    for (const int flip : {0x01, 0x08, 0x40, 0x80, 0xFF}) {
      std::string damaged = wire;
      damaged[at] = static_cast<char>(damaged[at] ^ flip);
      for (const Guarded::Side side : {Guarded::at_end, Guarded::at_start}) {
        Guarded descriptor(std::string(72, '\xEE'), side);
        DWORD length = 72;
        EXPECT_EQ(queried(damaged, descriptor, &length), 0);
        EXPECT_EQ(guarded_regions(), "begin end ") << at;
        guarded_regions().clear();
      }
    }
  }
}

TEST_F(Query_Descriptor_Value, OffsetsWrapAroundAsTheyDoWhenTheyAreStored) {
  Guarded descriptor(bytes("ee*40"));
  DWORD length = 40;
  EXPECT_EQ(queried(bytes("01 00 80 00  ff ff ff ff  ff ff ff ed  ff ff ff f0  00 00 00 01"), descriptor, &length), 0);
  EXPECT_BYTES(descriptor.content(), "01 00 00 80 00*4  13 00*7  01 00*7  04 00*7  15 00*7");
}

TEST_F(Query_Descriptor_Value, AnAbsentOwnerIsCopiedFromTheWiresHeaderOverTheHeader) {
  Guarded descriptor(bytes("ee*48"));
  DWORD length = 48;
  EXPECT_EQ(queried(bytes("01 00 80 04  00 00 00 00  00 00 00 14  00*8  01 00 00 00 00 00 00 05"), descriptor, &length),
            0);
  EXPECT_BYTES(descriptor.content(), "01 00 80 04 00*4  00*8  28 00*7  00*8  00*8  01 00 00 00 00 00 00 05");
}

TEST_F(Closed_Registry, ParksAllFourInsideTheValueCall) {
  static void (*const calls[])() = {
      [] { RegSetSDExA(HKEY_USERS, "n", 0, REG_BINARY, bytes(in_memory).data(), 52); },
      [] { RegSetSDExW(HKEY_USERS, L"n", 0, REG_BINARY, bytes(in_memory).data(), 52); },
      [] { RegQuerySDExA(HKEY_USERS, "n", nullptr, nullptr, nullptr, nullptr); },
      [] { RegQuerySDExW(HKEY_USERS, L"n", nullptr, nullptr, nullptr, nullptr); },
  };
  for (const auto call : calls) {
    const Child_Result child = run_child([call] {
      KvRegistryClosed = 1;
      Parking::print_and_end();
      call();
      printf("returned\n");
    });
    EXPECT_EQ(child.exit_status, Parking::parked_status) << child.err;
    EXPECT_EQ(child.out, "unblock\nsleep 100\nsleep 100\nsleep 100\n");
  }
}

TEST_F(Closed_Registry, StillRefusesALengthAboveTheBuffersSize) {
  const Child_Result child = run_child([] {
    KvRegistryClosed = 1;
    Parking::print_and_end();
    printf("%d\n", RegSetSDExA(HKEY_USERS, "n", 0, REG_BINARY, nullptr, 4097));
  });
  EXPECT_EQ(child.out, "87\n");
}

}  // namespace
}  // namespace kvtest
