// read_frame and read_list: one run of a generated parser each, and what is said about a failure.

#include <kelvane/frames.h>

#include <cstdio>
#include <new>

#include "parselib/null_reference.h"
#include "parselib/read_state.h"

inline namespace kelvane {
namespace {

void complain(const char* message) {
  std::puts(message);
  std::puts("Please confirm that your env variable KVREGISTRY points to a correct registry file.");
}

using Parser = int (*)(Read_State& read);

void parse(Read_State& read, const kvistream& in, Parser parser, const char* prefix, const char* complaint) {
  try {
    // QUIRK overflow-is-no-failure: a full stack brings its own report only.
    if (parser(read) != ABANDONED) return;
  } catch (const std::bad_alloc&) {
    end_without_memory(prefix, "parse");
  }
  read.abandon();
  if (!in.at_end()) complain(complaint);
}

}  // namespace

KV_MAY_BE_NULL Sequence* read_frame(kvistream& in, const Slot_Machine& machine, clAtom*& out_name) {
  constexpr char prefix[] = "yyframeio";
  out_name = nullptr;
  if (unproven(&in) == nullptr) {
    complain("Parselib Error: stream for read_frame not good.");
    return nullptr;
  }
  Read_State read(in, machine, prefix);
  parse(read, in, yyframeioparse, prefix, "Parselib Error: read_frame failed.");
  out_name = read.name;
  return read.sequence;
}

KV_MAY_BE_NULL Sequence* read_list(kvistream& in) {
  constexpr char prefix[] = "yylistio";
  if (unproven(&in) == nullptr) {
    complain("Parselib Error: stream in read_list not good.");
    return nullptr;
  }
  const One_Arm_Bandit machine;
  Read_State read(in, machine, prefix);
  parse(read, in, yylistioparse, prefix, "Parselib Error: read_list failed.");
  return read.sequence;
}

}  // namespace kelvane
