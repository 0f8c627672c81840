// Wide fronts of a closed registry beyond what every gated front does: those that only report, calls inside
// calls, and temporaries.
#include <new>

#include "tests/registry/fronts.h"
#include "tests/registry/heap_use.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

class Wide_Closed_Registry : public Fronts {
 protected:
  // In a child: the registry closes when this entry answers for the first time; then the call parks.
  void expect_parks_after(const char* entry, const Behaviour& behaviour, LSTATUS (*call)()) {
    const Child_Result child = run_child([&] {
      recording.script(entry, [behaviour](const Call& in) {
        KvRegistryClosed = 1;
        return behaviour(in);
      });
      park_or_tell(call);
    });
    expect_parked(child);
  }

  static void park_or_tell(LSTATUS (*call)()) {
    Parking::print_and_end();
    const LSTATUS result = call();
    printf("returned %d\n", result);
  }

  static void expect_parked(const Child_Result& child) {
    EXPECT_EQ(child.exit_status, Parking::parked_status) << child.err;
    EXPECT_EQ(child.out, "unblock\nsleep 100\nsleep 100\nsleep 100\n");
  }

  static void expect_parks_after_the_report(LSTATUS (*call)()) {
    expect_parked(run_child([call] {
      on_report([] { KvRegistryClosed = 1; });
      park_or_tell(call);
    }));
  }
};

TEST_F(Wide_Closed_Registry, LoadKeyParksAfterItsReport) {
  expect_parks_after_the_report([] { return RegLoadKeyW(HKEY_USERS, L"s", L"f"); });
}

TEST_F(Wide_Closed_Registry, ReplaceKeyParksAfterItsReport) {
  expect_parks_after_the_report([] { return RegReplaceKeyW(HKEY_USERS, L"s", L"n", L"o"); });
}

TEST_F(Wide_Closed_Registry, RestoreKeyParksAfterItsReport) {
  expect_parks_after_the_report([] { return RegRestoreKeyW(HKEY_USERS, L"f", 0); });
}

TEST_F(Wide_Closed_Registry, UnLoadKeyParksAfterItsReport) {
  expect_parks_after_the_report([] { return RegUnLoadKeyW(HKEY_USERS, L"s"); });
}

TEST_F(Wide_Closed_Registry, SetValueParksAfterTheSetAndDoesNotClose) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  recording.script("KvIRegCloseKey", [](const Call&) {
    printf("closed\n");
    return 0;
  });
  expect_parks_after("KvIRegSetValueEx", answer(5), [] { return RegSetValueW(HKEY_USERS, L"s", REG_SZ, L"x", 0); });
  recording.reset();
}

TEST_F(Wide_Closed_Registry, SetValueParksAfterTheClose) {
  recording.script("KvIRegCreateKeyEx", answer_key(key_of(0x99)));
  expect_parks_after("KvIRegCloseKey", answer(0), [] { return RegSetValueW(HKEY_USERS, L"s", REG_SZ, L"x", 0); });
  recording.reset();
}

TEST_F(Wide_Closed_Registry, QueryValueParksAfterTheQueryOfAMissingValue) {
  recording.script("KvIRegOpenKeyEx", answer_key(key_of(0x99)));
  expect_parks_after("KvIRegQueryValueEx", answer(2),
                     [] { return RegQueryValueW(HKEY_USERS, L"s", nullptr, nullptr); });
  recording.reset();
}

TEST_F(Wide_Closed_Registry, OpenKeyParksAlsoWhenItWouldHandTheKeyBack) {
  expect_parked(run_child([] {
    KvRegistryClosed = 1;
    park_or_tell([] {
      HKEY opened = nullptr;
      return RegOpenKeyW(key_of(0x1234), nullptr, &opened);
    });
  }));
}

TEST_F(Wide_Closed_Registry, FrontsThatWouldRefuseTheirArgumentsPark) {
  using Refused_Call = LSTATUS (*)();
  const Refused_Call refused[] = {
      [] { return RegOpenKeyW(HKEY_USERS, L"s", nullptr); },
      [] { return RegEnumKeyW(HKEY_PERFORMANCE_DATA, 0, nullptr, 0); },
      [] { return RegSetValueW(nullptr, nullptr, REG_SZ, nullptr, 0); },
      [] { return RegQueryValueW(nullptr, nullptr, nullptr, nullptr); },
      [] { return RegQueryMultipleValuesW(HKEY_USERS, nullptr, 0, nullptr, nullptr); },
  };
  for (Refused_Call call : refused) {
    expect_parked(run_child([call] {
      KvRegistryClosed = 1;
      park_or_tell(call);
    }));
  }
}

// Large temporaries are in use while the entry runs and not any more when the thread parks.
std::size_t in_use_before;

void expect_released_at_the_gate(kvrecording::Control& recording, const char* entry, bool throwing, void (*call)()) {
  const Child_Result child = run_child([&] {
    recording.script(entry, [throwing](const Call&) -> std::uint64_t {
      KvRegistryClosed = 1;
      if (heap_in_use() < in_use_before + (2u << 20)) printf("nothing is in use\n");
      if (throwing) throw std::bad_alloc();
      return 0;
    });
    Parking::print_and_end(
        [] { return std::string(heap_in_use() < in_use_before + (1u << 20) ? "released" : "still in use"); });
    in_use_before = heap_in_use();
    call();
  });
  EXPECT_EQ(child.exit_status, Parking::parked_status) << child.err;
  EXPECT_EQ(child.out, "unblock\nreleased\nsleep 100\nsleep 100\nsleep 100\n");
}

const std::wstring long_text(3 << 20, L't');
wchar_t long_room[3 << 20];

void set_long_text() {
  RegSetValueExW(HKEY_USERS, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(long_text.c_str()), 12 << 20);
}

void read_into_long_room() {
  DWORD size = 12 << 20;
  RegQueryValueExW(HKEY_USERS, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(long_room), &size);
}

void list_into_long_room() {
  DWORD count = 3 << 20;
  RegEnumKeyExW(HKEY_USERS, 0, long_room, &count, nullptr, nullptr, nullptr, nullptr);
}

TEST_F(Wide_Closed_Registry, TemporariesAreReleasedBeforeTheExitGate) {
  expect_released_at_the_gate(recording, "KvIRegSetValueEx", false, set_long_text);
  expect_released_at_the_gate(recording, "KvIRegQueryValueEx", false, [] {
    DWORD size = 12 << 20, type = REG_BINARY;
    RegQueryValueExW(HKEY_USERS, nullptr, nullptr, &type, reinterpret_cast<BYTE*>(long_room), &size);
  });
}

TEST_F(Wide_Closed_Registry, TemporariesAreReleasedBeforeTheGateOfAnException) {
  expect_released_at_the_gate(recording, "KvIRegSetValueEx", true, set_long_text);
  expect_released_at_the_gate(recording, "KvIRegQueryValueEx", true, read_into_long_room);
  expect_released_at_the_gate(recording, "KvIRegEnumKeyEx", true, list_into_long_room);
}

}  // namespace
}  // namespace kvtest
