// Administration fronts of a closed registry: which park and which still answer. Whatever parks runs in a child.
#include <kelvane/registry_admin.h>

#include <new>

#include "tests/registry/fronts.h"
#include "tests/support/child.h"

namespace kvtest {
namespace {

const char* const parked_output = "unblock\nsleep 100\nsleep 100\nsleep 100\n";

struct Gated {
  const char* name;
  const char* entry;
  void (*call)();
};

inline void PrintTo(const Gated& front, std::ostream* out) { *out << front.name; }

char* nowhere() { return unreadable<char>(0x10); }

// Each with arguments that would fault when they are followed, and a name that is good.
const Gated gated_fronts[] = {
    {"RegUxChmod", "KvIRegUxChmod", [] { RegUxChmod(HKEY_USERS, "s", 1); }},
    {"RegUxChown", "KvIRegUxChown", [] { RegUxChown(HKEY_USERS, "s", 1); }},
    {"RegUxChgrp", "KvIRegUxChgrp", [] { RegUxChgrp(HKEY_USERS, "s", 1); }},
    {"RegUxChmodRec", "KvIRegUxChmod", [] { RegUxChmodRec(HKEY_USERS, "s", 1); }},
    {"RegUxChownRec", "KvIRegUxChown", [] { RegUxChownRec(HKEY_USERS, "s", 1); }},
    {"RegUxChgrpRec", "KvIRegUxChgrp", [] { RegUxChgrpRec(HKEY_USERS, "s", 1); }},
    {"RegShutDown", "KvIRegShutDown", [] { RegShutDown(); }},
    {"RegGetHKCU", "KvIRegGetHKCU",
     [] {
       unsigned size = 0;
       RegGetHKCU(nullptr, &size);
     }},
    {"RegSaveHKCU", "KvIRegGetHKCU", [] { RegSaveHKCU("f"); }},
};

class Gated_Admin_Front : public Fronts, public testing::WithParamInterface<Gated> {};
class Closed_Registry : public Fronts {};

INSTANTIATE_TEST_SUITE_P(All, Gated_Admin_Front, testing::ValuesIn(gated_fronts),
                         [](const auto& info) { return std::string(info.param.name); });

void expect_parked(const Child_Result& child) {
  EXPECT_EQ(child.exit_status, Parking::parked_status) << child.err;
  EXPECT_EQ(child.out, parked_output);
}

TEST_P(Gated_Admin_Front, ParksBeforeAnythingIsForwarded) {
  expect_parked(run_child([this] {
    KvRegistryClosed = 1;
    recording.script(GetParam().entry, [](const Call&) -> std::uint64_t {
      printf("forwarded\n");
      return 0;
    });
    Parking::print_and_end();
    GetParam().call();
    printf("returned\n");
  }));
}

TEST_P(Gated_Admin_Front, ParksOnTheWayOutAlsoWhenTheCallFailed) {
  expect_parked(run_child([this] {
    recording.script(GetParam().entry, [](const Call&) {
      KvRegistryClosed = 1;
      return 5;
    });
    Parking::print_and_end();
    GetParam().call();
    printf("returned\n");
  }));
}

TEST_P(Gated_Admin_Front, ParksInsteadOfPassingAnExceptionOn) {
  expect_parked(run_child([this] {
    recording.script(GetParam().entry, [](const Call&) -> std::uint64_t {
      KvRegistryClosed = 1;
      throw std::bad_alloc();
    });
    Parking::print_and_end();
    try {
      GetParam().call();
    } catch (...) {
    }
    printf("returned\n");
  }));
}

TEST_P(Gated_Admin_Front, PassesAnExceptionOnWhileTheRegistryIsOpen) {
  recording.script(GetParam().entry, [](const Call&) -> std::uint64_t { throw std::bad_alloc(); });
  EXPECT_THROW(GetParam().call(), std::bad_alloc);
}

TEST_F(Closed_Registry, AdminNamesAreNotLookedAtBeforeTheGate) {
  expect_parked(run_child([] {
    KvRegistryClosed = 1;
    Parking::print_and_end();
    RegSaveHKCU(nowhere());
  }));
  expect_parked(run_child([] {
    KvRegistryClosed = 1;
    Parking::print_and_end();
    RegUxChownRec(HKEY_USERS, nowhere(), 0);
  }));
}

TEST_F(Closed_Registry, AdminFrontsWithoutGateStillAnswer) {
  const Child_Result child = run_child([this] {
    KvRegistryClosed = 1;
    Parking::print_and_end();
    for (const char* entry : {"KvIRegUxDescribeKey", "KvIRegUxGetLogSettings", "KvIRegBackup", "KvIRegListConnected",
                              "KvISetServiceData", "KvIGetServiceData"})
      recording.script(entry, answer(7));
    unsigned count = 0;
    printf("%d ", RegUxDescribeKey(HKEY_USERS, "s", nullptr, nullptr, nullptr));
    printf("%d ", static_cast<int>(RegUxGetLogSettings(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)));
    printf("%d ", static_cast<int>(RegBackup("p", nullptr)));
    printf("%d ", RegListConnected(nullptr, &count));
    printf("%d ", static_cast<int>(KvSetServiceData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)));
    printf("%d ", static_cast<int>(KvGetServiceData(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)));
  });
  EXPECT_EQ(child.exit_status, 0);
  EXPECT_EQ(child.out, "7 7 7 7 7 7 ");
}

}  // namespace
}  // namespace kvtest
