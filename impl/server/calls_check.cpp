// Looking whole hives through, by the worker.
#include <winnt.h>

#include <cerrno>
#include <limits>
#include <vector>

#include "impl/inproc/status_code.h"
#include "impl/server/access.h"
#include "impl/server/held.h"
#include "impl/server/later.h"
#include "impl/server/passing_file.h"
#include "impl/server/perform.h"
#include "impl/wire/sealed_memory.h"

namespace impl::server {
namespace {

constexpr const char* hive_name = "hive";

wire::Hive_Fault told(const hive::Found_Fault& fault, Scratch& scratch) {
  wire::Hive_Fault record;
  record.kind = static_cast<wire::Number>(fault.fault);
  if (fault.path) {
    record.has |= wire::fault_has_key;
    record.key = scratch.copy(wire::bytes_of(*fault.path));
  }
  if (fault.value) {
    record.has |= wire::fault_has_value;
    record.value = scratch.copy(wire::bytes_of(*fault.value));
  }
  const auto* const text = reinterpret_cast<const unsigned char*>(fault.text.data());
  record.text = scratch.copy({text, fault.text.size()});
  return record;
}

// What a look through a hive found: look(&faults, &counts) gives the status.
template <class Answer, class Look>
DWORD check(Answer* out, Scratch& scratch, Look look) {
  std::vector<hive::Found_Fault> faults;
  hive::Hive_Counts counts;
  const hive::Status status = look(&faults, &counts);
  out->keys = counts.keys;
  out->volatile_keys = counts.volatile_keys;
  out->values = counts.values;
  out->data_size = counts.data_size;
  std::size_t size = 0;
  for (const hive::Found_Fault& fault : faults) {
    wire::Hive_Fault record = told(fault, scratch);
    size += wire::size_of_fields(record);
    if (size > wire::max_message) break;
    out->faults.push_back(record);
  }
  return code_of(status);
}

}  // namespace

// A check tells of everybody's keys, so not everybody may ask for one.
DWORD perform(Caller& caller, wire::Check_Key::Question& question, wire::Check_Key::Answer* out) {
  hive::Key key;
  const DWORD code = held_key(caller, question.key, KEY_QUERY_VALUE, &key);
  if (code != ERROR_SUCCESS) return code;
  if (!is_administrator(caller.peer())) return ERROR_ACCESS_DENIED;
  return do_later(
      caller, out, [&registry = caller.core.registry(), key](wire::Check_Key::Answer* out, Scratch& scratch) {
        return check(out, scratch, [&](auto* faults, auto* counts) { return registry.check(key, faults, counts); });
      });
}

DWORD perform(Caller& caller, wire::Check_File::Question& question, wire::Check_File::Answer* out) {
  if (!is_administrator(caller.peer())) return ERROR_ACCESS_DENIED;
  const auto hive = std::make_shared<wire::Sealed_Bytes>(question.hive.fd, std::numeric_limits<std::size_t>::max());
  if (hive->error() != 0) return ERROR_INVALID_PARAMETER;
  return do_later(caller, out, [&core = caller.core, hive](wire::Check_File::Answer* out, Scratch& scratch) {
    const Passing_Folder folder(core.settings().data_folder);
    if (!folder.is_made()) return code_of_errno(errno);
    if (const int error = folder.put(hive_name, hive->bytes()); error != 0) return code_of_errno(error);
    return check(out, scratch, [&](auto* faults, auto* counts) {
      return core.registry().check_file(folder.file(hive_name), faults, counts);
    });
  });
}

}  // namespace impl::server
