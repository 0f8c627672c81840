// What the built library shows to the dynamic linker.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/bootstrap/in_child.h"

namespace kvtest {
namespace {

struct Symbol {
  char kind;
  std::string name;
};

std::vector<Symbol> dynamic_symbols() {
  const Child_Result listing = run_program({"/usr/bin/nm", "-D", "-f", "posix", KVTEST_ADVAPI32});
  EXPECT_EQ(listing.exit_status, 0) << listing.err;
  std::vector<Symbol> symbols;
  std::istringstream lines(listing.out);
  for (std::string line; std::getline(lines, line);) {
    const size_t blank = line.find(' ');
    symbols.push_back({line.at(blank + 1), line.substr(0, line.find_first_of(" @"))});
  }
  return symbols;
}

// new, new[], delete, delete[] in all their forms.
bool is_allocation(const std::string& name) {
  for (const char* start : {"_Znw", "_Zna", "_Zdl", "_Zda"})
    if (name.rfind(start, 0) == 0) return true;
  return false;
}

TEST(Exports, NoFormOfNewOrDeleteCrossesTheLibrarysBorder) {
  const std::vector<Symbol> symbols = dynamic_symbols();
  ASSERT_GT(symbols.size(), 50u);
  for (const Symbol& symbol : symbols) EXPECT_FALSE(is_allocation(symbol.name)) << symbol.kind << " " << symbol.name;
}

TEST(Exports, FiveDataObjectsAreExported) {
  std::vector<std::string> data;
  for (const Symbol& symbol : dynamic_symbols())
    if (std::string("BDGRSV").find(symbol.kind) != std::string::npos && symbol.name.rfind("_Z", 0) != 0)
      data.push_back(symbol.name);
  std::sort(data.begin(), data.end());
  EXPECT_EQ(data, std::vector<std::string>({"HKEY_ROOT", "KvDllUseMalloc", "KvIRegFunctions", "KvRegistryClosed",
                                            "KvRegistryIsInitialized"}));
}

// Debug help for addresses of 32 bits: overloads of published functions.
bool is_debug_help_form(const std::string& name) {
  for (const char* form :
       {"_Z24SymFunctionTableAccess64Pvj", "_Z18SymGetModuleBase64Pvj", "_Z18SymGetModuleInfo64PvjP16_IMAGEHLP_MODULE",
        "_Z19SymGetSymFromAddr64PvjPjP16_IMAGEHLP_SYMBOL"})
    if (name == form) return true;
  return false;
}

// The published classes, loggers, readers and overloads and nothing else: a program may have classes of any other name.
bool is_published_cxx(const std::string& name) {
  if (is_debug_help_form(name)) return true;
  for (const char* published : {"KvProxyFile", "HKCUDataReader", "KvLog", "NotifOp", "RegLog", "RpcssLog", "StdoutLog",
                                "Basic_Ddr", "To_Ddr", "From_Ddr", "read_frame", "read_list", "Frame", "Frame_Of_File",
                                "Frame_Of_String", "Frame_Association", "Slot_Machine", "One_Arm_Bandit"}) {
    const std::string compiled = "7kelvane" + std::to_string(std::string(published).size()) + published;
    if (name.find(compiled) != std::string::npos) return true;
  }
  return false;
}

TEST(Exports, OnlyPublishedClassesOfCxxAreExported) {
  for (const Symbol& symbol : dynamic_symbols()) {
    const bool is_cxx = symbol.kind != 'U' && symbol.kind != 'w' && symbol.name.rfind("_Z", 0) == 0;
    EXPECT_TRUE(!is_cxx || is_published_cxx(symbol.name)) << symbol.name;
  }
}

TEST(Exports, TheProgramAndTheLibraryShareTheFlagsAndTheTable) {
  const Child_Result child = run_child([] {
    KvRegistryClosed = 1;
    end_at_sleep();
    RegCloseKey(HKEY_USERS);
  });
  EXPECT_EQ(child.out, "sleep 100\n");
}

}  // namespace
}  // namespace kvtest
