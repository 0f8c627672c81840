// The temporaries of the wide fronts are released on every path, and what cannot be allocated throws.
#include <sys/resource.h>

#include <new>

#include "tests/registry/fronts.h"
#include "tests/registry/heap_use.h"
#include "tests/registry/wide_text.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

struct Own_Exception {};

constexpr std::size_t one_mebibyte = 1 << 20;

class Wide_Temporaries : public Fronts {
 protected:
  // By how much fifty calls make the heap grow; a first one warms it up.
  template <class Function>
  std::size_t growth(const Function& call) {
    std::size_t before = 0;
    for (int i = 0; i < 51; ++i) {
      call();
      recording.reset();
      if (i == 0) before = heap_in_use();
    }
    const std::size_t after = heap_in_use();
    return after > before ? after - before : 0;
  }

  void script_throw(const char* entry) {
    recording.script(entry, [](const Call&) -> std::uint64_t { throw Own_Exception(); });
  }

  const std::wstring name = std::wstring(60000, L'n');
  std::wstring room = std::wstring(60000, L'#');
  const BYTE* data() const { return reinterpret_cast<const BYTE*>(name.c_str()); }
  BYTE* room_bytes() { return reinterpret_cast<BYTE*>(room.data()); }
};

TEST_F(Wide_Temporaries, OfASetAreReleased) {
  EXPECT_LT(growth([&] {
              RegSetValueExW(key, name.c_str(), 0, REG_SZ, data(), 240004);
              script_throw("KvIRegSetValueEx");
              EXPECT_THROW(RegSetValueExW(key, name.c_str(), 0, REG_SZ, data(), 240004), Own_Exception);
            }),
            one_mebibyte);
}

TEST_F(Wide_Temporaries, OfNamesAreReleased) {
  EXPECT_LT(growth([&] {
              script_throw("KvIRegCreateKeyEx");
              EXPECT_THROW(RegCreateKeyExW(key, name.c_str(), 0, room.data(), 0, 0, nullptr, nullptr, nullptr),
                           Own_Exception);
              script_throw("KvIRegConnectRegistry");
              EXPECT_THROW(RegConnectRegistryW(name.c_str(), key, nullptr), Own_Exception);
              RegLoadKeyW(key, name.c_str(), name.c_str());
              RegSaveKeyW(key, name.c_str(), nullptr);
              RegDeleteKeyW(key, name.c_str());
            }),
            one_mebibyte);
}

TEST_F(Wide_Temporaries, OfAQueryAreReleased) {
  EXPECT_LT(growth([&] {
              DWORD size = 240000, type = 77;
              script_throw("KvIRegQueryValueEx");
              EXPECT_THROW(RegQueryValueExW(key, name.c_str(), nullptr, &type, room_bytes(), &size), Own_Exception);
              EXPECT_EQ(size, 240000u);
              EXPECT_EQ(type, 77u);
              recording.script("KvIRegQueryValueEx", answer_value_size(234, REG_SZ, 300000));
              EXPECT_EQ(RegQueryValueExW(key, name.c_str(), nullptr, &type, room_bytes(), &size), 234);
              EXPECT_EQ(size, 600000u);
            }),
            one_mebibyte);
  EXPECT_EQ(room, std::wstring(60000, L'#'));
}

TEST_F(Wide_Temporaries, OfSeveralValuesAreReleasedOnEveryPath) {
  VALENTW values[2] = {{nullptr, 0, 0, 0}, {nullptr, 0, 0, 0}};
  const auto read = [&] {
    DWORD total = 240000;
    return RegQueryMultipleValuesW(key, values, 2, room.data(), &total);
  };
  EXPECT_LT(growth([&] {
              recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1"));
              script_throw("KvIRegQueryValueEx");
              EXPECT_THROW(read(), Own_Exception);
              recording.script("KvIRegQueryValueEx", answer(2));
              EXPECT_EQ(read(), 2);
              recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "1"));
              recording.script("KvIRegQueryValueEx", answer_value(0, REG_BINARY, "2"));
              EXPECT_EQ(read(), 0);
            }),
            one_mebibyte);
}

TEST_F(Wide_Temporaries, OfListingsAreReleased) {
  std::wstring class_name = room;
  DWORD size = 60000, class_size = 60000;
  EXPECT_LT(growth([&] {
              script_throw("KvIRegEnumKeyEx");
              EXPECT_THROW(RegEnumKeyExW(key, 0, room.data(), &size, nullptr, class_name.data(), &class_size, nullptr),
                           Own_Exception);
              script_throw("KvIRegEnumValue");
              EXPECT_THROW(RegEnumValueW(key, 0, class_name.data(), &size, nullptr, nullptr, room_bytes(), &class_size),
                           Own_Exception);
              script_throw("KvIRegQueryInfoKey");
              EXPECT_THROW(RegQueryInfoKeyW(key, room.data(), &class_size, nullptr, nullptr, nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr),
                           Own_Exception);
            }),
            one_mebibyte);
  EXPECT_EQ(room, class_name);
}

TEST_F(Wide_Temporaries, ThatCannotBeMadeThrowBeforeAnythingIsForwarded) {
#ifdef KVTEST_ADDRESS_SANITIZER
  GTEST_SKIP() << "the address sanitizer cannot run in a bounded address space";
#endif
  const Child_Result child = run_child([this] {
    const rlimit bound = {std::size_t{3} << 30, std::size_t{3} << 30};
    setrlimit(RLIMIT_AS, &bound);
    Wide_Room data;
    DWORD size = 0xFFFFFFFF;
    try {
      RegQueryValueExW(key, L"v", nullptr, nullptr, data.bytes(), &size);
      printf("returned\n");
    } catch (const std::bad_alloc&) {
      printf("bad_alloc, %zu calls, size %x\n", recording.calls().size(), size);
    }
    try {
      RegEnumKeyExW(key, 0, data.text, &size, nullptr, nullptr, nullptr, nullptr);
      printf("returned\n");
    } catch (const std::bad_alloc&) {
      printf("bad_alloc, %zu calls, size %x\n", recording.calls().size(), size);
    }
  });
  EXPECT_EQ(child.out, "bad_alloc, 0 calls, size ffffffff\nbad_alloc, 0 calls, size ffffffff\n");
}

}  // namespace
}  // namespace kvtest
