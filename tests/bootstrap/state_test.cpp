// The state of the registry, and the object through which the base library closes it.
#include <gtest/gtest.h>

#include <kelvane/process.h>
#include <kelvane/registry_ops.h>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

TEST(RegistryState, IsUnboundAtFirst) {
  EXPECT_EQ(KvRegistryIsInitialized, 0);
  EXPECT_EQ(KvRegistryClosed, 0);
  EXPECT_EQ(registry_ops, nullptr);
  EXPECT_EQ(KvRegistryIsAlive(), 0);
}

TEST(RegistryState, IsAliveWhenBound) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    say("%d %d %d\n", KvRegistryIsInitialized, KvRegistryClosed, KvRegistryIsAlive());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "1 0 1\n");
}

TEST(RegistryState, IsNotAliveAfterTheClose) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    RegUxClose(0, 0);
    say("%d %d %d\n", KvRegistryIsInitialized, KvRegistryClosed, KvRegistryIsAlive());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "0 1 0\n");
}

TEST(RegistryState, IsNotAliveWithoutOperations) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    registry_ops = nullptr;
    say("%d\n", KvRegistryIsAlive());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "0\n");
}

TEST(RegistryState, EachFlagAloneKillsIt) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    KvRegistryIsInitialized = 0;
    say("%d\n", KvRegistryIsAlive());
    KvRegistryIsInitialized = 2;
    say("%d\n", KvRegistryIsAlive());
    KvRegistryClosed = -1;
    say("%d\n", KvRegistryIsAlive());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "0\n1\n0\n");
}

TEST(RegistryState, AStartAfterTheCloseDoesNotBringItBack) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    RegUxClose(0, 0);
    init_advapi32();
    say("%d %d %d\n", KvRegistryIsInitialized, KvRegistryClosed, KvRegistryIsAlive());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "1 1 0\n");
}

TEST(RegistryOperations, CloseClosesTheRegistryWithTwoZeros) {
  const Child_Result child = run_child([] {
    choose_witness("1");
    init_advapi32();
    answer_heap_init(1);
    const int result = registry_ops->Close();
    say("%d %d %d\n", result, KvRegistryClosed, KvDllUseMalloc);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "KvKernelMallocInit 0 0 while 1\n0 1 0\n");
}

TEST(RegistryOperations, CloseKeyGivesTheResultOfRegCloseKey) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    init_advapi32();
    recording.script("KvIRegCloseKey", [](const kvrecording::Call& call) {
      say("close %llx\n", static_cast<unsigned long long>(call.raw("key")));
      return 6;
    });
    say("%d\n", registry_ops->CloseKey(reinterpret_cast<void*>(uintptr_t{0x1122334455667788})));
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "close 1122334455667788\n6\n");
}

TEST(RegistryOperations, CloseComesBeforeCloseKeyInTheClass) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    init_advapi32();
    recording.script("KvIRegCloseKey", [](const kvrecording::Call&) { return 1018; });
    void** const operations = *reinterpret_cast<void***>(registry_ops);
    const auto close = reinterpret_cast<int (*)(RegistryOps*)>(operations[0]);
    const auto close_key = reinterpret_cast<int (*)(RegistryOps*, void*)>(operations[1]);
    say("%d\n", close_key(registry_ops, HKEY_USERS));
    close(registry_ops);
    say("%d\n", KvRegistryClosed);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "1018\n1\n");
}

TEST(CloseAtTheEnd, HappensOnceHoweverOftenItIsAskedFor) {
  const Child_Result child = run_child([] {
    kvrecording::Control& recording = choose_recording();
    init_advapi32();
    recording.reset();
    KvCloseRegistryAtEnd();
    KvCloseRegistryAtEnd();
    say("%zu\n", recording.calls().size());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "1\n");
}

TEST(CloseAtTheEnd, HasNothingToDoWithoutAStart) {
  const Child_Result child = run_child([] {
    KvCloseRegistryAtEnd();
    say("%d %d\n", KvRegistryClosed, KvDllUseMalloc);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "0 1\n");
}

}  // namespace
}  // namespace kvtest
