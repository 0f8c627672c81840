// The wire form in which a self-relative descriptor lies in the registry. Multi-byte numbers are high byte first:
//
//   wire   = revision(1) pad(1) control(2) owner(4) group(4) sacl(4) dacl(4) parts
//   sid    = revision(1) count(1) authority(6) sub-authority(4)*count
//
// Offsets are those in memory less 20, by which the header is shorter; 0 stays 0. Owner and group are converted;
// of the lists only the offsets are carried, not their bytes.
#pragma once

#include <winnt.h>

inline namespace kelvane {

constexpr DWORD wire_header_size = 20;

// The buffer's size is fixed; no part is written or read outside of it.
constexpr DWORD wire_buffer_size = 4096;

template <class Descriptor>
class ddr_SECURITY_DESCRIPTOR;

template <>
class ddr_SECURITY_DESCRIPTOR<_SECURITY_DESCRIPTOR> {
 public:
  // The wire form of the descriptor. A fault while its SIDs are read ends the conversion; what was not converted
  // is zero.
  void operator=(PSECURITY_DESCRIPTOR descriptor);

  // The descriptor of size bytes from the wire form; what lies outside of them is not written. A fault while its
  // SIDs are written ends the conversion.
  void copyto(PSECURITY_DESCRIPTOR descriptor, DWORD size) const;

  BYTE* data() { return bytes_; }

 private:
  BYTE bytes_[wire_buffer_size] = {};
};

}  // namespace kelvane
