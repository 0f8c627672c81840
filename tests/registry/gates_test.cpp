// Fronts of a closed registry: the gated ones park their thread on the way in and on the way out, the others
// answer as always. Whatever parks runs in a child.
#include <kelvane/critical.h>
#include <pthread.h>
#include <semaphore.h>

#include <new>
#include <thread>

#include "tests/registry/front_calls.h"
#include "tests/registry/heap_use.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

const char* const parked_output = "unblock\nsleep 100\nsleep 100\nsleep 100\n";

class Closed_Registry : public Fronts {};
class Gated_Front : public Fronts, public testing::WithParamInterface<Front_Call> {};
class Forwarding_Front : public Fronts, public testing::WithParamInterface<Front_Call> {};

INSTANTIATE_TEST_SUITE_P(All, Gated_Front, testing::ValuesIn(front_calls), front_name);
INSTANTIATE_TEST_SUITE_P(All, Forwarding_Front, testing::ValuesIn(forwarding_calls()), front_name);

// In a child: makes the call and tells that it came back.
void call_and_tell(LSTATUS (*call)()) {
  const LSTATUS result = call();
  printf("returned %d\n", result);
}

Behaviour close_and_answer(std::uint64_t code) {
  return [code](const Call& call) {
    KvRegistryClosed = 1;
    return answer_empty(code)(call);
  };
}

void expect_parked(const Child_Result& child) {
  EXPECT_EQ(child.exit_status, Parking::parked_status) << child.err;
  EXPECT_EQ(child.out, parked_output);
}

TEST_P(Gated_Front, ParksBeforeAnyArgumentIsLookedAt) {
  expect_parked(run_child([] {
    KvRegistryClosed = 1;
    Parking::print_and_end();
    call_and_tell(GetParam().unreadable);
  }));
}

TEST_P(Gated_Front, ParksBeforeAnythingIsReportedOrForwarded) {
  EXPECT_EQ(
      run_child([this] {
        KvRegistryClosed = 1;
        static kvrecording::Control* log = &recording;
        Parking::instead_of_sleep([](unsigned) { _exit(log->calls().empty() && reported_names().empty() ? 3 : 4); });
        call_and_tell(GetParam().good);
      }).exit_status,
      3);
}

TEST_P(Forwarding_Front, ParksOnTheWayOutWhenTheRegistryWasClosedMeanwhile) {
  expect_parked(run_child([this] {
    recording.script(GetParam().entry, close_and_answer(0));
    Parking::print_and_end();
    call_and_tell(GetParam().good);
  }));
}

TEST_P(Forwarding_Front, ParksOnTheWayOutAlsoWhenTheCallFailed) {
  expect_parked(run_child([this] {
    recording.script(GetParam().entry, close_and_answer(5));
    Parking::print_and_end();
    call_and_tell(GetParam().good);
  }));
}

TEST_P(Forwarding_Front, ParksInsteadOfPassingAnExceptionOn) {
  expect_parked(run_child([this] {
    recording.script(GetParam().entry, [](const Call&) -> std::uint64_t {
      KvRegistryClosed = 1;
      throw std::bad_alloc();
    });
    Parking::print_and_end();
    try {
      call_and_tell(GetParam().good);
    } catch (...) {
      printf("caught\n");
    }
  }));
}

TEST_P(Forwarding_Front, ReadsTheFlagAfreshAtEveryCall) {
  expect_parked(run_child([this] {
    recording.script(GetParam().entry, answer_empty(0));
    GetParam().good();
    KvRegistryClosed = 1;
    Parking::print_and_end();
    call_and_tell(GetParam().good);
  }));
}

TEST_F(Closed_Registry, AnyValueButZeroIsClosed) {
  for (int closed : {2, -1, 0x100, 1 << 31}) {
    expect_parked(run_child([closed] {
      KvRegistryClosed = closed;
      Parking::print_and_end();
      call_and_tell([] { return RegCloseKey(HKEY_USERS); });
    }));
  }
}

TEST_F(Closed_Registry, ReplaceKeyParksAfterItsReport) {
  expect_parked(run_child([] {
    on_report([] { KvRegistryClosed = 1; });
    Parking::print_and_end();
    call_and_tell([] { return RegReplaceKeyA(HKEY_USERS, "s", "n", "o"); });
  }));
}

TEST_F(Closed_Registry, UnLoadKeyParksAfterItsReport) {
  expect_parked(run_child([] {
    on_report([] { KvRegistryClosed = 1; });
    Parking::print_and_end();
    call_and_tell([] { return RegUnLoadKeyA(HKEY_USERS, "s"); });
  }));
}

TEST_F(Closed_Registry, FrontsWithoutGateStillAnswer) {
  const Child_Result child = run_child([] {
    KvRegistryClosed = 1;
    Parking::print_and_end();
    call_and_tell([] { return RegLoadKeyA(HKEY_USERS, "s", "f"); });
    call_and_tell([] { return RegSetKeySecurity(HKEY_USERS, 0, nullptr); });
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "returned 0\nreturned 0\n");
}

// In a child that sleeps: whether another thread gets the kernel critical section.
std::string try_critical_section() {
  alarm(60);
  std::thread([] {
    KvEnterKernelCritical();
    KvLeaveKernelCritical();
  }).join();
  return "the section is free";
}

TEST_F(Closed_Registry, AllHoldsOnTheCriticalSectionAreReleasedBeforeTheSleep) {
  const Child_Result child = run_child([] {
    for (int i = 0; i < 3; ++i) KvEnterKernelCritical();
    KvRegistryClosed = 1;
    Parking::print_and_end(try_critical_section);
    call_and_tell([] { return RegOpenKeyExA(HKEY_USERS, "s", 0, 0, nullptr); });
  });
  EXPECT_EQ(child.exit_status, Parking::parked_status);
  EXPECT_EQ(child.out, "unblock\nthe section is free\nsleep 100\nsleep 100\nsleep 100\n");
}

TEST_F(Closed_Registry, HoldsTakenDuringTheCallAreReleasedBeforeTheSleep) {
  const Child_Result child = run_child([this] {
    recording.script("KvIRegOpenKeyEx", [](const Call&) {
      KvEnterKernelCritical();
      KvRegistryClosed = 1;
      return 0;
    });
    Parking::print_and_end(try_critical_section);
    call_and_tell([] { return RegOpenKeyExA(HKEY_USERS, "s", 0, 0, nullptr); });
  });
  EXPECT_EQ(child.exit_status, Parking::parked_status);
  EXPECT_EQ(child.out, "unblock\nthe section is free\nsleep 100\nsleep 100\nsleep 100\n");
}

TEST_F(Closed_Registry, AParkedThreadDoesNotStopTheOthers) {
  const Child_Result child = run_child([] {
    static sem_t parked;
    sem_init(&parked, 0, 0);
    Parking::instead_of_sleep([](unsigned) {
      sem_post(&parked);
      for (;;) pause();
    });
    KvRegistryClosed = 1;
    std::thread([] { RegCloseKey(HKEY_USERS); }).detach();
    alarm(60);
    sem_wait(&parked);
    printf("the others run\n");
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "the others run\n");
}

// Two mebibytes of converted text are in use while the entry runs and not any more when the thread parks.
std::size_t in_use_before;

void store_a_large_text(kvrecording::Control& recording, bool throwing) {
  static const std::string text(1 << 20, 't');
  recording.script("KvIRegSetValueEx", [throwing](const Call&) -> std::uint64_t {
    KvRegistryClosed = 1;
    if (heap_in_use() < in_use_before + (2u << 20)) printf("nothing is in use\n");
    if (throwing) throw std::bad_alloc();
    return 0;
  });
  Parking::print_and_end(
      [] { return std::string(heap_in_use() < in_use_before + (1u << 20) ? "released" : "still in use"); });
  in_use_before = heap_in_use();
  RegSetValueExA(HKEY_USERS, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), 1 << 20);
}

TEST_F(Closed_Registry, TemporariesAreReleasedBeforeTheExitGate) {
  const Child_Result child = run_child([this] { store_a_large_text(recording, false); });
  EXPECT_EQ(child.exit_status, Parking::parked_status);
  EXPECT_EQ(child.out, "unblock\nreleased\nsleep 100\nsleep 100\nsleep 100\n");
}

TEST_F(Closed_Registry, TemporariesAreReleasedBeforeTheGateOfAnException) {
  const Child_Result child = run_child([this] { store_a_large_text(recording, true); });
  EXPECT_EQ(child.exit_status, Parking::parked_status);
  EXPECT_EQ(child.out, "unblock\nreleased\nsleep 100\nsleep 100\nsleep 100\n");
}

#ifdef KVTEST_ADDRESS_SANITIZER
#define KVTEST_SKIP_CANCELLATION \
  GTEST_SKIP() << "the address sanitizer takes the stack of a cancelled thread for damaged"
#else
#define KVTEST_SKIP_CANCELLATION static_cast<void>(0)
#endif

// In a child: a thread that parks in the call is cancelled.
void cancel_parked_thread(void* (*body)(void*)) {
  static sem_t parked;
  sem_init(&parked, 0, 0);
  Parking::instead_of_sleep([](unsigned) {
    sem_post(&parked);
    for (;;) pause();
  });
  alarm(60);
  pthread_t thread;
  pthread_create(&thread, nullptr, body, nullptr);
  sem_wait(&parked);
  pthread_cancel(thread);
  void* result = nullptr;
  pthread_join(thread, &result);
  printf(result == PTHREAD_CANCELED ? "cancelled\n" : "ended\n");
}

TEST_F(Closed_Registry, AThreadParkedOnTheWayInCanBeCancelled) {
  KVTEST_SKIP_CANCELLATION;
  const Child_Result child = run_child([] {
    KvRegistryClosed = 1;
    cancel_parked_thread([](void*) -> void* {
      RegCloseKey(HKEY_USERS);
      return nullptr;
    });
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "cancelled\n");
}

TEST_F(Closed_Registry, AThreadParkedOnTheWayOutCanBeCancelled) {
  KVTEST_SKIP_CANCELLATION;
  const Child_Result child = run_child([this] {
    recording.script("KvIRegCloseKey", close_and_answer(0));
    cancel_parked_thread([](void*) -> void* {
      RegCloseKey(HKEY_USERS);
      return nullptr;
    });
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(child.out, "cancelled\n");
}

TEST_F(Closed_Registry, AThreadParkedInsideAnExceptionHasCancellationDisabled) {
  const Child_Result child = run_child([this] {
    recording.script("KvIRegCloseKey", [](const Call&) -> std::uint64_t {
      KvRegistryClosed = 1;
      throw std::bad_alloc();
    });
    Parking::instead_of_sleep([](unsigned) {
      int before = -1;
      pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before);
      _exit(before == PTHREAD_CANCEL_DISABLE ? 3 : 4);
    });
    RegCloseKey(HKEY_USERS);
  });
  EXPECT_EQ(child.exit_status, 3);
}

}  // namespace
}  // namespace kvtest
