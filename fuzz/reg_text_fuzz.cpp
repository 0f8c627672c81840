// Any bytes are a .reg file or have a first wrong line. What a file says, written again, says the same, and has the
// same bytes when that is written.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/tools/statements.h"
#include "tools/kvreg/reg_text/writer.h"

namespace {

using kvreg::Reg_Version;

// Paths that no key has: what begins with "-" is written as a deletion, doubled backslashes are single ones.
bool is_path(const std::u16string& path) { return path[0] != u'-' && path.find(u"\\\\") == path.npos; }

bool is_written(const Statement& each) {
  return each.kind == Statement::Kind::set || (each.kind == Statement::Kind::open && is_path(each.name));
}

std::string written(const std::vector<Statement>& statements, std::vector<Statement>& out_told) {
  std::string bytes;
  kvreg::Reg_Writer writer(Reg_Version::units, [&](std::string_view piece) { bytes += piece; });
  for (const Statement& each : statements) {
    if (!is_written(each) || (out_told.empty() && each.kind != Statement::Kind::open)) continue;
    const bool is_key = each.kind == Statement::Kind::open;
    if (!(is_key ? writer.key(each.name) : writer.value(each.name, each.type, each.data))) __builtin_trap();
    out_told.push_back(each);
  }
  writer.finish();
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Statements first;
  if (kvreg::read_reg_text(kvreg::decode_reg_file(bytes), first)) return 0;
  std::vector<Statement> told, told_again;
  const std::string text = written(first.all, told);
  Statements second;
  if (kvreg::read_reg_text(kvreg::decode_reg_file(text), second) || second.all != told) __builtin_trap();
  if (written(second.all, told_again) != text) __builtin_trap();
  return 0;
}
