// How a front uses its row of the table: the address only, and nothing is caught that happens behind it.
#include <signal.h>

#include <utility>

#include "tests/registry/fronts.h"
#include "tests/registry/heap_use.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

class Table_Use : public Fronts {
 protected:
  // In a child: ends with 41 when the first fault is at this address and the guarded regions were these.
  static void end_at_fault(const void* address, const char* regions) {
    static const void* expected_address;
    static const char* expected_regions;
    expected_address = address;
    expected_regions = regions;
    struct sigaction action = {};
    action.sa_flags = SA_SIGINFO;
    action.sa_sigaction = [](int, siginfo_t* info, void*) {
      _exit(info->si_addr == expected_address && guarded_regions() == expected_regions ? 41 : 42);
    };
    sigaction(SIGSEGV, &action, nullptr);
  }
};

TEST_F(Table_Use, NeverLooksAtTheName) {
  KvIRegFunction& row = KvIRegFunctions[9];
  const char* const name = row.name;
  row.name = unreadable<char>(0x10);
  recording.script("KvIRegCloseKey", answer(6));
  EXPECT_EQ(RegCloseKey(key), 6);
  row.name = name;
  EXPECT_EQ(entries(), "KvIRegCloseKey ");
}

TEST_F(Table_Use, DoesNotTestForAMissingEntry) {
  const Child_Result child = run_child([] {
    KvIRegFunctions[9].entry = nullptr;
    end_at_fault(nullptr, "");
    RegCloseKey(HKEY_USERS);
  });
  EXPECT_EQ(child.exit_status, 41);
}

TEST_F(Table_Use, AFaultInsideTheEntryIsNotBorne) {
  Guarded_Page page;
  const Child_Result child = run_child([&] {
    recording.script("KvIRegSetValueEx", [&page](const Call&) -> std::uint64_t {
      return static_cast<std::uint64_t>(*static_cast<volatile char*>(page.end()));
    });
    end_at_fault(page.end(), "begin end ");
    RegSetValueExA(HKEY_USERS, "n", 0, REG_SZ, reinterpret_cast<const BYTE*>("abc"), 3);
  });
  EXPECT_EQ(child.exit_status, 41);
}

std::size_t in_use_inside;

DWORD measure_query(HKEY, const WinChar*, DWORD*, DWORD* type, BYTE*, DWORD* size, void*) {
  in_use_inside = heap_in_use();
  *type = REG_SZ;
  *size = 2;
  return 0;
}

DWORD measure_set(HKEY, const WinChar*, DWORD, DWORD, const BYTE*, DWORD, void*) {
  in_use_inside = heap_in_use();
  return 0;
}

// 2,047 characters with the terminator are 4,094 bytes of units.
TEST_F(Table_Use, TextOfUpTo2047CharactersTakesNoHeap) {
  const std::string text(2046, 't');
  std::string room(2047, '#');
  DWORD size = 2047;
  void* const query = std::exchange(KvIRegFunctions[7].entry, reinterpret_cast<void*>(measure_query));
  void* const set = std::exchange(KvIRegFunctions[8].entry, reinterpret_cast<void*>(measure_set));
  const std::size_t before = heap_in_use();
  RegQueryValueExA(key, text.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(room.data()), &size);
  const std::size_t inside_query = in_use_inside;
  RegSetValueExA(key, text.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), 2047);
  const std::size_t inside_set = in_use_inside;
  KvIRegFunctions[7].entry = query;
  KvIRegFunctions[8].entry = set;
  EXPECT_EQ(inside_query, before);
  EXPECT_EQ(inside_set, before);
  EXPECT_EQ(size, 1u);
}

}  // namespace
}  // namespace kvtest
