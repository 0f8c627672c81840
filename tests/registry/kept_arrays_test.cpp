// The arrays that a thread keeps for its next wide call.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <thread>

#include "registry/wide_buffers.h"
#include "tests/registry/heap_use.h"

namespace {

// In a thread of its own, which has kept nothing yet.
template <class Function>
void in_new_thread(const Function& function) {
  std::thread(function).join();
}

TEST(KeptArrays, AreUsedAgainByTheSameThread) {
  in_new_thread([] {
    unsigned char* const name = take_array(10, Array_Use::name);
    unsigned char* const value = take_array(512, Array_Use::value);
    EXPECT_NE(name, value);
    give_array(name, Array_Use::name);
    give_array(value, Array_Use::value);
    EXPECT_EQ(take_array(1, Array_Use::name), name);
    EXPECT_EQ(take_array(1, Array_Use::value), value);
    give_array(name, Array_Use::name);
    give_array(value, Array_Use::value);
  });
}

TEST(KeptArrays, ServeEitherUseWhenTheOtherPlaceIsEmpty) {
  in_new_thread([] {
    unsigned char* const name = take_array(10, Array_Use::name);
    give_array(name, Array_Use::name);
    EXPECT_EQ(take_array(10, Array_Use::value), name);
    give_array(name, Array_Use::value);
    EXPECT_EQ(take_array(10, Array_Use::name), name);
    give_array(name, Array_Use::name);
  });
}

TEST(KeptArrays, AreTwoAlsoOfOneUse) {
  for (const Array_Use use : {Array_Use::name, Array_Use::value}) {
    in_new_thread([use] {
      unsigned char* const first = take_array(10, use);
      unsigned char* const second = take_array(10, use);
      give_array(first, use);
      give_array(second, use);
      const std::size_t before = kvtest::heap_in_use();
      const std::set<unsigned char*> again = {take_array(10, use), take_array(10, use)};
      EXPECT_LT(kvtest::heap_in_use(), before + usual_array_size);
      EXPECT_EQ(again, (std::set<unsigned char*>{first, second}));
      for (unsigned char* array : again) give_array(array, use);
    });
  }
}

TEST(KeptArrays, AreNeverTheSameForTwoThatAreInUse) {
  in_new_thread([] {
    for (int round = 0; round < 3; ++round) {
      std::set<unsigned char*> arrays;
      for (int i = 0; i < 5; ++i) {
        arrays.insert(take_array(512, i % 2 == 0 ? Array_Use::name : Array_Use::value));
        for (unsigned char* array : arrays) std::memset(array, 'x', 512);
      }
      EXPECT_EQ(arrays.size(), 5u);
      for (unsigned char* array : arrays) give_array(array, Array_Use::value);
    }
  });
}

TEST(KeptArrays, AreNotThoseOfMoreThanTheUsualSize) {
  in_new_thread([] {
    unsigned char* const large = take_array(513, Array_Use::name);
    std::memset(large, 'x', 513);
    give_array(large, Array_Use::name);
    unsigned char* const small = take_array(1, Array_Use::name);
    give_array(small, Array_Use::name);
    unsigned char* const also_large = take_array(100000, Array_Use::name);
    EXPECT_NE(also_large, small);
    std::memset(also_large, 'x', 100000);
    give_array(also_large, Array_Use::name);
  });
}

TEST(KeptArrays, GoWithTheirThread) {
  const auto use_and_end = [] {
    in_new_thread([] {
      const WinCharString name(L"name", -1), other(L"other", -1), third(L"third", -1);
      unsigned char bytes[400] = {};
      unsigned size = sizeof bytes;
      const WinCharBufferValue value(bytes, &size);
    });
  };
  use_and_end();
  const std::size_t before = kvtest::heap_in_use();
  for (int i = 0; i < 200; ++i) use_and_end();
  EXPECT_LT(kvtest::heap_in_use(), before + 50000);
}

TEST(KeptArrays, MayBeGivenBackByAnotherThread) {
  unsigned char* array = nullptr;
  in_new_thread([&] { array = take_array(10, Array_Use::name); });
  in_new_thread([&] {
    std::memset(array, 'x', 512);
    give_array(array, Array_Use::name);
    EXPECT_EQ(take_array(10, Array_Use::name), array);
    give_array(array, Array_Use::name);
  });
}

// An object of a thread's end that converts text when nothing is kept any more.
struct Late_User {
  ~Late_User() {
    const WinCharString name(L"late", -1), other(L"later", -1);
    EXPECT_EQ(name.data[3].low, 'e');
    EXPECT_EQ(other.data[4].low, 'r');
  }
  void begin() {}
};

TEST(KeptArrays, AreDoneWithoutAtTheEndOfAThread) {
  in_new_thread([] {
    static thread_local Late_User late;
    late.begin();
    const WinCharString name(L"early", -1);
  });
}

TEST(KeptArrays, ShowNothingOfAnEarlierCallToTheNext) {
  wchar_t text[5000];
  unsigned char bytes[10000];
  for (unsigned count : {1u, 32u, 33u, 255u, 256u, 257u, 5000u}) {
    {
      unsigned size = sizeof bytes;
      const WinCharBufferValue value(bytes, &size);
      const WinCharString name(L"a secret of some length, which the next call must not see in any of its arrays", -1);
      const WinCharString long_name(std::wstring(5000, L's').c_str(), -1);
      std::memset(value.data, 's', sizeof bytes);
    }
    unsigned names = count, size = 2 * count;
    const WinCharBufferString name(text, &names);
    const WinCharBufferValue value(bytes, &size);
    for (unsigned i = 0; i < count; ++i) {
      ASSERT_TRUE(name.data[i].low == 0 && name.data[i].high == 0) << count << " " << i;
      ASSERT_TRUE(value.data[2 * i] == 0 && value.data[2 * i + 1] == 0) << count << " " << i;
    }
  }
}

}  // namespace
