// Exceptions of entries and of allocations pass through the fronts, and nothing is left behind: no heap, no
// guarded region.
#include <sys/resource.h>

#include <new>

#include "tests/registry/front_calls.h"
#include "tests/registry/heap_use.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

struct Own_Exception {
  int number;
};

class Forwarding_Call : public Fronts, public testing::WithParamInterface<Front_Call> {};
class Temporaries : public Fronts {};

INSTANTIATE_TEST_SUITE_P(All, Forwarding_Call, testing::ValuesIn(forwarding_calls()), front_name);

TEST_P(Forwarding_Call, BadAllocReachesTheCaller) {
  recording.script(GetParam().entry, [](const Call&) -> std::uint64_t { throw std::bad_alloc(); });
  EXPECT_THROW(GetParam().good(), std::bad_alloc);
}

TEST_P(Forwarding_Call, AnyOtherExceptionReachesTheCallerAsItIs) {
  recording.script(GetParam().entry, [](const Call&) -> std::uint64_t { throw Own_Exception{4711}; });
  int caught = 0;
  try {
    GetParam().good();
  } catch (const Own_Exception& exception) {
    caught = exception.number;
  }
  EXPECT_EQ(caught, 4711);
}

TEST_P(Forwarding_Call, OnlyTheSettersOpenAGuardedRegion) {
  recording.script(GetParam().entry, answer(5));
  GetParam().good();
  const bool is_setter = GetParam().name == "RegSetValueExA"s || GetParam().name == "RegSetValueExW"s;
  EXPECT_EQ(guarded_regions(), is_setter ? "begin end " : "");
}

TEST_P(Forwarding_Call, TheFrontCanBeCalledAgain) {
  recording.script(GetParam().entry, [](const Call&) -> std::uint64_t { throw Own_Exception{1}; });
  EXPECT_THROW(GetParam().good(), Own_Exception);
  recording.reset();
  recording.script(GetParam().entry, answer(5));
  EXPECT_EQ(GetParam().good(), 5);
}

// Runs a call fifty times and tells by how much the heap has grown; the first round warms it up.
template <class Function>
std::size_t growth(kvrecording::Control& recording, const Function& call) {
  std::size_t before = 0;
  for (int i = 0; i < 51; ++i) {
    call();
    recording.reset();
    if (i == 0) before = heap_in_use();
  }
  const std::size_t after = heap_in_use();
  return after > before ? after - before : 0;
}

constexpr std::size_t one_mebibyte = 1 << 20;
const std::string long_name(100000, 'n');
const std::string long_text(300000, 't');

const BYTE* long_data() { return reinterpret_cast<const BYTE*>(long_text.c_str()); }

Behaviour throwing() {
  return [](const Call&) -> std::uint64_t { throw Own_Exception{1}; };
}

TEST_F(Temporaries, OfASetAreReleased) {
  EXPECT_LT(growth(recording, [&] { RegSetValueExA(key, long_name.c_str(), 0, REG_SZ, long_data(), 300000); }),
            one_mebibyte);
}

TEST_F(Temporaries, OfASetThatThrowsAreReleased) {
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegSetValueEx", throwing());
                     EXPECT_THROW(RegSetValueExA(key, long_name.c_str(), 0, REG_SZ, long_data(), 300000),
                                  Own_Exception);
                   }),
            one_mebibyte);
}

TEST_F(Temporaries, OfACreateThatThrowsAreReleased) {
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegCreateKeyEx", throwing());
                     EXPECT_THROW(RegCreateKeyExA(key, long_name.c_str(), 0, const_cast<char*>(long_name.c_str()), 0, 0,
                                                  nullptr, nullptr, nullptr),
                                  Own_Exception);
                   }),
            one_mebibyte);
}

TEST_F(Temporaries, OfAQueryThatIsExtendedAreReleased) {
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 200000));
                     recording.script("KvIRegQueryValueEx", answer_value(0, REG_SZ, std::string(200000, 'u')));
                     std::string room(50000, '#');
                     DWORD size = 50000;
                     EXPECT_EQ(RegQueryValueExA(key, long_name.c_str(), nullptr, nullptr,
                                                reinterpret_cast<BYTE*>(room.data()), &size),
                               234);
                   }),
            one_mebibyte);
}

TEST_F(Temporaries, OfAQueryWhoseSecondCallThrowsAreReleased) {
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 200000));
                     recording.script("KvIRegQueryValueEx", throwing());
                     std::string room(50000, '#');
                     DWORD size = 50000, type = 77;
                     EXPECT_THROW(RegQueryValueExA(key, long_name.c_str(), nullptr, &type,
                                                   reinterpret_cast<BYTE*>(room.data()), &size),
                                  Own_Exception);
                     EXPECT_EQ(size, 50000u);
                     EXPECT_EQ(type, 77u);
                     EXPECT_EQ(room, std::string(50000, '#'));
                   }),
            one_mebibyte);
}

TEST_F(Temporaries, OfSeveralValuesAreReleasedOnEveryPath) {
  VALENTA values[2] = {{nullptr, 0, 0, 0}, {nullptr, 0, 0, 0}};
  std::string room(0x100000, '#');
  const auto read = [&] {
    DWORD total = 0x100000;
    return RegQueryMultipleValuesA(key, values, 2, room.data(), &total);
  };
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1"));
                     recording.script("KvIRegQueryValueEx", throwing());
                     EXPECT_THROW(read(), Own_Exception);
                   }),
            one_mebibyte);
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegQueryValueEx", answer(2));
                     EXPECT_EQ(read(), 2);
                   }),
            one_mebibyte);
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1"));
                     recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "2"));
                     EXPECT_EQ(read(), 0);
                   }),
            one_mebibyte);
}

TEST_F(Temporaries, OfListingsAreReleased) {
  std::string name(30000, '#'), class_name(30000, '#');
  DWORD size = 30000, class_size = 30000;
  EXPECT_LT(growth(recording,
                   [&] {
                     recording.script("KvIRegEnumKeyEx", throwing());
                     EXPECT_THROW(
                         RegEnumKeyExA(key, 0, name.data(), &size, nullptr, class_name.data(), &class_size, nullptr),
                         Own_Exception);
                     recording.script("KvIRegEnumValue", throwing());
                     EXPECT_THROW(RegEnumValueA(key, 0, name.data(), &size, nullptr, nullptr,
                                                reinterpret_cast<BYTE*>(class_name.data()), &class_size),
                                  Own_Exception);
                     recording.script("KvIRegQueryInfoKey", throwing());
                     EXPECT_THROW(RegQueryInfoKeyA(key, class_name.data(), &class_size, nullptr, nullptr, nullptr,
                                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
                                  Own_Exception);
                   }),
            one_mebibyte);
}

TEST_F(Temporaries, ThatCannotBeMadeThrowBeforeAnythingIsForwarded) {
#ifdef KVTEST_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer cannot run in a bounded address space";
#endif
  const Child_Result child = run_child([this] {
    const rlimit bound = {std::size_t{4} << 30, std::size_t{4} << 30};
    setrlimit(RLIMIT_AS, &bound);
    DWORD size = 0xFFFFFFFF;
    char data[4] = "###";
    try {
      RegQueryValueExA(key, "v", nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size);
      printf("returned\n");
    } catch (const std::bad_alloc&) {
      printf("bad_alloc, %zu calls, size %x, %s\n", recording.calls().size(), size, data);
    }
  });
  EXPECT_EQ(child.out, "bad_alloc, 0 calls, size ffffffff, ###\n");
}

}  // namespace
}  // namespace kvtest
