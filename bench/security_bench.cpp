// The eleventh entry of an access-control list, and packing a descriptor of 600 bytes, each beside its floor in the
// same run: the same walk and copies written by hand. The goals are 1.5 times and twice the floor.
#include <benchmark/benchmark.h>
#include <windows.h>

#include <cstddef>
#include <cstring>

namespace {

struct System_Sid {
  BYTE revision = SID_REVISION;
  BYTE count = 2;
  BYTE authority[6] = SECURITY_NT_AUTHORITY;
  DWORD sub_authorities[2] = {SECURITY_BUILTIN_DOMAIN_RID, DOMAIN_ALIAS_RID_ADMINS};
};
static_assert(sizeof(System_Sid) == 16 && offsetof(System_Sid, sub_authorities) == 8, "a SID");

constexpr DWORD entry_size = 24;
constexpr DWORD eleven_entries = 8 + 11 * entry_size;

// A list of ten entries with room for one more.
struct Ten_Entries {
  alignas(8) BYTE bytes[eleven_entries];
  System_Sid sid;

  Ten_Entries() {
    InitializeAcl(list(), sizeof bytes, ACL_REVISION);
    for (int i = 0; i < 10; ++i) AddAccessAllowedAce(list(), ACL_REVISION, GENERIC_READ, &sid);
  }
  ACL* list() { return reinterpret_cast<ACL*>(bytes); }
};

void append_with_sid(benchmark::State& state) {
  Ten_Entries ten;
  for (auto _ : state) {
    ten.list()->AceCount = 10;
    benchmark::DoNotOptimize(AddAccessAllowedAce(ten.list(), ACL_REVISION, GENERIC_READ, &ten.sid));
    benchmark::ClobberMemory();
  }
}

void append_entry(benchmark::State& state) {
  Ten_Entries ten;
  BYTE entry[entry_size];
  std::memcpy(entry, ten.bytes + 8, sizeof entry);
  for (auto _ : state) {
    ten.list()->AceCount = 10;
    benchmark::DoNotOptimize(AddAce(ten.list(), ACL_REVISION, 0xFFFFFFFF, entry, sizeof entry));
    benchmark::ClobberMemory();
  }
}

// Whatever is not inlined, as the calls into the library are not.
__attribute__((noinline)) BOOL walk_and_copy(ACL* list, const void* entry, DWORD size) {
  DWORD end = sizeof(ACL);
  for (unsigned i = 0; i < list->AceCount; ++i) {
    end += reinterpret_cast<const ACE_HEADER*>(reinterpret_cast<const BYTE*>(list) + end)->AceSize;
  }
  std::memcpy(reinterpret_cast<BYTE*>(list) + end, entry, size);
  ++list->AceCount;
  return TRUE;
}

void floor_of_append(benchmark::State& state) {
  Ten_Entries ten;
  BYTE entry[entry_size];
  std::memcpy(entry, ten.bytes + 8, sizeof entry);
  for (auto _ : state) {
    ten.list()->AceCount = 10;
    DWORD size = sizeof entry;
    benchmark::DoNotOptimize(size);
    benchmark::DoNotOptimize(walk_and_copy(ten.list(), entry, size));
    benchmark::ClobberMemory();
  }
}

// 40 bytes of header, two SIDs of 16, a SACL of 128 and a DACL of 400.
constexpr DWORD descriptor_size = 600, sacl_size = 128, dacl_size = 400;

struct Parts {
  System_Sid owner, group;
  alignas(8) BYTE sacl[sacl_size];
  alignas(8) BYTE dacl[dacl_size];
  SECURITY_DESCRIPTOR descriptor;

  Parts() {
    InitializeAcl(reinterpret_cast<ACL*>(sacl), sizeof sacl, ACL_REVISION);
    InitializeAcl(reinterpret_cast<ACL*>(dacl), sizeof dacl, ACL_REVISION);
    InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorOwner(&descriptor, &owner, FALSE);
    SetSecurityDescriptorGroup(&descriptor, &group, FALSE);
    SetSecurityDescriptorSacl(&descriptor, TRUE, reinterpret_cast<ACL*>(sacl), FALSE);
    SetSecurityDescriptorDacl(&descriptor, TRUE, reinterpret_cast<ACL*>(dacl), FALSE);
  }
};

void make_self_relative(benchmark::State& state) {
  Parts parts;
  alignas(8) BYTE packed[descriptor_size];
  for (auto _ : state) {
    DWORD size = sizeof packed;
    if (!MakeSelfRelativeSD(&parts.descriptor, packed, &size)) state.SkipWithError("not packed");
    benchmark::ClobberMemory();
  }
}

__attribute__((noinline)) void copy_parts(const SECURITY_DESCRIPTOR* from, BYTE* to, const DWORD* sizes) {
  SECURITY_DESCRIPTOR header = *from;
  const void* const parts[] = {from->Owner, from->Group, from->Sacl, from->Dacl};
  ULONG_PTR offsets[4], offset = sizeof header;
  for (int i = 0; i < 4; ++i) {
    std::memcpy(to + offset, parts[i], sizes[i]);
    offsets[i] = offset;
    offset += sizes[i];
  }
  std::memcpy(&header.Owner, offsets, sizeof offsets);
  header.Control |= SE_SELF_RELATIVE;
  std::memcpy(to, &header, sizeof header);
}

void floor_of_packing(benchmark::State& state) {
  Parts parts;
  alignas(8) BYTE packed[descriptor_size];
  for (auto _ : state) {
    DWORD sizes[4] = {16, 16, sacl_size, dacl_size};
    benchmark::DoNotOptimize(sizes);
    copy_parts(&parts.descriptor, packed, sizes);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(floor_of_append)->Name("acl/walk_and_copy");
BENCHMARK(append_with_sid)->Name("acl/eleventh_allowed");
BENCHMARK(append_entry)->Name("acl/eleventh_entry");
BENCHMARK(floor_of_packing)->Name("descriptor/memcpy");
BENCHMARK(make_self_relative)->Name("descriptor/make_self_relative");

}  // namespace
