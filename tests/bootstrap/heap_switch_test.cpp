// The library's two heaps, as seen from a program that is linked with it. KvGetRegistryFileNames hands out
// memory of the library's operator new.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

char* machine_file_name() {
  char* user = nullptr;
  char* machine = nullptr;
  KvGetRegistryFileNames(&user, &machine);
  return machine;
}

void use_registry(const char* value) {
  setenv("KVREGISTRY_MODE", "0", 1);
  setenv("KVREGISTRY", value, 1);
}

TEST(HeapSwitch, TheSystemsHeapIsInUseAtFirst) {
  EXPECT_EQ(KvDllUseMalloc, 1);
  EXPECT_EQ(KvSafeToUseMalloc(), 1);
}

TEST(HeapSwitch, SafeToUseMallocTellsTheFlagAsItStands) {
  const Child_Result child = run_child([] {
    KvDllUseMalloc = -5;
    say("%d\n", KvSafeToUseMalloc());
    KvDllUseMalloc = 0;
    say("%d\n", KvSafeToUseMalloc());
  });
  EXPECT_EQ(child.out, "-5\n0\n");
}

TEST(HeapSwitch, PassesItsArgumentsOnAndGivesTheResultBack) {
  const Child_Result child = run_child([] {
    answer_heap_init(0xFEDCBA9876543210);
    const uintptr_t result = KvDllNoMoreMalloc(0x8877665544332211, 0xFFFFFFFF00000001);
    say("%zx %d %d\n", result, KvDllUseMalloc, KvSafeToUseMalloc());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out,
            "KvKernelMallocInit 8877665544332211 ffffffff00000001 while 1\n"
            "fedcba9876543210 0 0\n");
}

TEST(HeapSwitch, BeforeItMemoryComesFromTheSystemsHeap) {
  const Child_Result child = run_child([] {
    use_registry("/a:/b");
    tell_kernel_blocks();
    char* const name = machine_file_name();
    say("%s\n", name);
    free(name);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "/a\n");
}

TEST(HeapSwitch, AfterItMemoryComesFromTheKernelHeap) {
  const Child_Result child = run_child([] {
    use_registry("/machine:/user");
    KvDllNoMoreMalloc(0, 0);
    tell_kernel_blocks();
    say("%s\n", machine_file_name());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out.find("KvKernelCalloc "), 0u) << child.out;
  EXPECT_NE(child.out.find("\n/machine\n"), std::string::npos) << child.out;
}

// A conversion of this many characters is too long for the front's own room and uses the heap.
constexpr int long_name = 3000;

TEST(HeapSwitch, BlocksFromBeforeItAreNotReleasedAfterIt) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    init_advapi32();
    static void* name = nullptr;
    recording.script("KvIRegOpenKeyEx", [](const kvrecording::Call& call) {
      name = call.pointer<void>("sub_key");
      KvDllNoMoreMalloc(0, 0);
      return 2;
    });
    HKEY key = nullptr;
    RegOpenKeyExA(HKEY_USERS, std::string(long_name, 'n').c_str(), 0, KEY_READ, &key);
    say("%02x%02x\n", static_cast<unsigned char*>(name)[0], static_cast<unsigned char*>(name)[2 * long_name - 1]);
    free(name);
    say("released by us\n");
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "006e\nreleased by us\n");
}

}  // namespace
}  // namespace kvtest
