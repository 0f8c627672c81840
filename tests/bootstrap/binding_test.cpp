// Which libraries each registry mode loads, binds and calls, and what happens when one is not whole.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <kelvane/registry_ops.h>

#include <filesystem>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

const char* const missing_client =
    "TIME  [# 1] ->\n"
    "Could not load library advapi32client.dll. There is a problem with your Kelvane installation.\n";

struct Binding {
  Child_Result child;
  std::string record;  // what the libraries were asked
};

// The file of the library that an entry lies in, without its folder.
std::string library_of(const void* entry) {
  Dl_info library;
  if (entry == nullptr) return "nothing";
  return dladdr(entry, &library) != 0 ? std::filesystem::path(library.dli_fname).filename().string() : "unknown";
}

// The library that all 42 entries lie in, or "several".
std::string bound_library() {
  const std::string first = library_of(KvIRegFunctions[0].entry);
  for (int i = 1; i < KV_SLOT_COUNT; ++i)
    if (library_of(KvIRegFunctions[i].entry) != first) return "several";
  return first;
}

// Binds in a child, which tells what is loaded, in order, and what the table then holds.
Binding binding_in(const char* mode, const std::string& folders) {
  Temp_Folder folder;
  Binding binding;
  binding.child = run_child([&] {
    setenv("KVTEST_RECORD", (folder / "record").c_str(), 1);
    choose_registry(mode, folders);
    tell_loads();
    KelvaneInitializeRegistry();
    say("bound to %s\n", bound_library().c_str());
    say("%s, initialized %d, alive %d\n", registry_ops != nullptr ? "operations" : "no operations",
        KvRegistryIsInitialized, KvRegistryIsAlive());
  });
  binding.record = content_of(folder / "record");
  return binding;
}

const std::string whole = KVTEST_WITNESS_FOLDER "/whole";

TEST(Binding, Mode0BindsTheClient) {
  const Binding binding = binding_in("0", whole);
  EXPECT_EQ(binding.child.exit_status, 0) << binding.child.err;
  EXPECT_EQ(binding.child.out,
            "load advapi32client.dll\nbound to advapi32client.dll\noperations, initialized 1, alive 1\n");
  EXPECT_EQ(binding.record, "advapi32client.dll KvIOnLoadDll\n");
}

TEST(Binding, Mode1BindsTheOneInProcess) {
  const Binding binding = binding_in("1", whole);
  EXPECT_EQ(binding.child.exit_status, 0) << binding.child.err;
  EXPECT_EQ(binding.child.out,
            "load advapi32impl.dll\nbound to advapi32impl.dll\noperations, initialized 1, alive 1\n");
  EXPECT_EQ(binding.record, "advapi32impl.dll KvIOnLoadDll\n");
}

TEST(Binding, Mode2BindsTheOneInProcessAndLoadsTheServerToo) {
  const Binding binding = binding_in("2", whole);
  EXPECT_EQ(binding.child.exit_status, 0) << binding.child.err;
  EXPECT_EQ(binding.child.out,
            "load advapi32impl.dll\nload advapi32server.dll\nbound to advapi32impl.dll\n"
            "operations, initialized 1, alive 1\n");
  EXPECT_EQ(binding.record, "advapi32impl.dll KvIOnLoadDll\n");
}

TEST(Binding, Mode3CallsTheServerAndThenBindsTheClient) {
  const Binding binding = binding_in("3", whole);
  EXPECT_EQ(binding.child.exit_status, 0) << binding.child.err;
  EXPECT_EQ(binding.child.out,
            "load advapi32server.dll\nload advapi32client.dll\nbound to advapi32client.dll\n"
            "operations, initialized 1, alive 1\n");
  EXPECT_EQ(binding.record, "advapi32server.dll KvIOnLoadDll\nadvapi32client.dll KvIOnLoadDll\n");
}

TEST(Binding, OtherModesBindNothingAndAreAliveAllTheSame) {
  for (const char* mode : {"4", "7", "4294967295"}) {
    const Binding binding = binding_in(mode, whole);
    EXPECT_EQ(binding.child.exit_status, 0) << binding.child.err;
    EXPECT_EQ(binding.child.out, "bound to nothing\noperations, initialized 1, alive 1\n") << mode;
    EXPECT_EQ(binding.record, "") << mode;
  }
}

// A folder with files of the libraries' names that are no libraries.
class Broken_Libraries {
 public:
  Broken_Libraries(std::initializer_list<const char*> sides) {
    for (const char* side : sides) write_file(folder_ / ("advapi32" + std::string(side) + ".dll"), "no library\n");
  }
  // To be searched before another folder.
  std::string before(const std::string& other) const { return folder_.path() + ":" + other; }

 private:
  Temp_Folder folder_;
};

TEST(MissingLibrary, Mode0SaysSoInTheLogAndEndsWithStatus1) {
  const Broken_Libraries broken({"client"});
  const Binding binding = binding_in("0", broken.before(whole));
  EXPECT_EQ(binding.child.exit_status, 1);
  EXPECT_EQ(without_times(binding.child.out), std::string("load advapi32client.dll\n") + missing_client);
  EXPECT_EQ(binding.child.err, "");
  EXPECT_EQ(binding.record, "");
}

TEST(MissingLibrary, Mode1SaysSoInTheLogAndEndsWithStatus1) {
  const Broken_Libraries broken({"impl"});
  const Binding binding = binding_in("1", broken.before(whole));
  EXPECT_EQ(binding.child.exit_status, 1);
  EXPECT_EQ(without_times(binding.child.out),
            "load advapi32impl.dll\nTIME  [# 1] ->\n"
            "Could not load library advapi32impl.dll. There is a problem with your Kelvane installation.\n");
  EXPECT_EQ(binding.child.err, "");
}

TEST(MissingLibrary, Mode2EndsWithStatus1WithoutTheOneInProcess) {
  const Broken_Libraries broken({"impl"});
  EXPECT_EQ(binding_in("2", broken.before(whole)).child.exit_status, 1);
}

TEST(MissingLibrary, Mode2GoesOnWithoutTheServer) {
  const Broken_Libraries broken({"server"});
  const Binding binding = binding_in("2", broken.before(whole));
  EXPECT_EQ(binding.child.exit_status, 0) << binding.child.err;
  EXPECT_EQ(binding.child.out,
            "load advapi32impl.dll\nload advapi32server.dll\nbound to advapi32impl.dll\n"
            "operations, initialized 1, alive 1\n");
  EXPECT_EQ(binding.child.err, "");
}

TEST(MissingLibrary, Mode3EndsWithStatus1WithoutTheServer) {
  const Broken_Libraries broken({"server"});
  const Binding binding = binding_in("3", broken.before(whole));
  EXPECT_EQ(binding.child.exit_status, 1);
  EXPECT_EQ(binding.record, "");
}

TEST(MissingLibrary, Mode3EndsWithStatus1WithoutTheClientThoughTheServerWasBound) {
  const Broken_Libraries broken({"client"});
  const Binding binding = binding_in("3", broken.before(whole));
  EXPECT_EQ(binding.child.exit_status, 1);
  EXPECT_EQ(binding.record, "advapi32server.dll KvIOnLoadDll\n");
}

TEST(MissingLibrary, TheTableStaysUntouchedWhenTheExitReturns) {
  const Child_Result child = run_child([] {
    choose_witness("0");
    KvRegInitializeWrappers(LoadLibraryA("advapi32impl.dll"), "advapi32impl.dll");
    make_exit_return();
    KvRegInitializeWrappers(nullptr, "advapi32client.dll");
    say("bound to %s\n", bound_library().c_str());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(without_times(child.out), std::string(missing_client) + "KvExit 1\nbound to advapi32impl.dll\n");
}

TEST(MissingLibrary, IsNotCalledWhenTheExitReturns) {
  const Broken_Libraries broken({"impl"});
  const Child_Result child = run_child([&] {
    choose_registry("1", broken.before(whole));
    make_exit_return();
    KelvaneInitializeRegistry();
    say("bound to %s\n", bound_library().c_str());
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(without_times(child.out),
            "TIME  [# 1] ->\n"
            "Could not load library advapi32impl.dll. There is a problem with your Kelvane installation.\n"
            "KvExit 1\nbound to nothing\n");
}

Binding witness_binding(const char* mode, const char* folder) {
  return binding_in(mode, std::string(KVTEST_WITNESS_FOLDER "/") + folder);
}

TEST(MissingSymbol, TheFirstOneEndsTheProcessWithStatus1) {
  const Binding binding = witness_binding("1", "without_first");
  EXPECT_EQ(binding.child.exit_status, 1);
  EXPECT_EQ(without_times(binding.child.out),
            "load advapi32impl.dll\nTIME  [# 1] ->\n"
            "The symbol KvIRegCreateKeyEx is not defined in library advapi32impl.dll.\n"
            "There is a problem with your installation of Kelvane.\n");
  EXPECT_EQ(binding.child.err, "");
  EXPECT_EQ(binding.record, "");
}

TEST(MissingSymbol, TheLastOneEndsTheProcessWithStatus1) {
  const Binding binding = witness_binding("1", "without_last");
  EXPECT_EQ(binding.child.exit_status, 1);
  EXPECT_EQ(without_times(binding.child.out),
            "load advapi32impl.dll\nTIME  [# 1] ->\n"
            "The symbol KvIAutoReportNotification is not defined in library advapi32impl.dll.\n"
            "There is a problem with your installation of Kelvane.\n");
}

TEST(MissingSymbol, OnlyTheFirstOfTwoIsToldBeforeTheEnd) {
  const Binding binding = witness_binding("0", "without_two");
  EXPECT_EQ(binding.child.exit_status, 1);
  EXPECT_EQ(without_times(binding.child.out),
            "load advapi32client.dll\nTIME  [# 1] ->\n"
            "The symbol KvIRegFlushKey is not defined in library advapi32client.dll.\n"
            "There is a problem with your installation of Kelvane.\n");
}

TEST(MissingSymbol, TheOthersAreBoundWhenTheExitReturns) {
  const Child_Result child = run_child([] {
    make_exit_return();
    choose_witness("0", "without_two");
    KvRegInitializeWrappers(LoadLibraryA("advapi32client.dll"), "a name of the caller's");
    for (int i = 0; i < KV_SLOT_COUNT; ++i)
      if (KvIRegFunctions[i].entry == nullptr) say("%d\n", i);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_EQ(without_times(child.out),
            "TIME  [# 1] ->\n"
            "The symbol KvIRegFlushKey is not defined in library a name of the caller's.\n"
            "There is a problem with your installation of Kelvane.\n"
            "KvExit 1\n"
            "TIME  [# 2] ->\n"
            "The symbol KvILsaInit is not defined in library a name of the caller's.\n"
            "There is a problem with your installation of Kelvane.\n"
            "KvExit 1\n"
            "14\n33\n");
}

TEST(MissingSymbol, AnEntryThatWasBoundIsNullAfterwards) {
  const Child_Result child = run_child([] {
    choose_witness("0");
    KvRegInitializeWrappers(LoadLibraryA("advapi32impl.dll"), "advapi32impl.dll");
    make_exit_return();
    HMODULE without_two = LoadLibraryA(KVTEST_WITNESS_FOLDER "/without_two/advapi32client.dll");
    KvRegInitializeWrappers(without_two, "advapi32client.dll");
    for (int i = 0; i < KV_SLOT_COUNT; ++i)
      if (KvIRegFunctions[i].entry == nullptr) say("slot %d\n", i);
  });
  EXPECT_EQ(child.exit_status, 0) << child.err;
  EXPECT_NE(child.out.find("slot 14\nslot 33\n"), std::string::npos) << child.out;
}

}  // namespace
}  // namespace kvtest
