// What the fields of a message are, and how each is written and read.
//
// Reading is total: whatever the peer sent, the answer is a field or a negative errno. Bytes that were read point into
// the message and last as long as it; those to be written are the caller's.
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <tuple>
#include <vector>

namespace impl::wire {

using Number = std::uint32_t;
using Long_Number = std::uint64_t;
using Bytes = std::span<const unsigned char>;
using Numbers = std::vector<Number>;

// A file descriptor in a message. One that was read belongs to the message; who keeps it duplicates it.
struct Descriptor {
  int fd = -1;
};

// Data that is too long for a message, in a sealed memory file; or none, with fd -1.
struct Memory {
  int fd = -1;
};

struct Sub_Key {
  Bytes name;
  Bytes class_name;
  Long_Number last_write_time = 0;
};

// `data` is empty when there is more of it than the asker has room for.
struct Value {
  Bytes name;
  Number type = 0;
  Number size = 0;
  Bytes data;
};

struct Hive_File {
  Bytes name;
  Descriptor file;
};

// How a batch ended in a hive: root is a root handle, file its path or empty.
struct Batch_Hive {
  Number root = 0;
  Bytes file;
  Number code = 0;
};

// `has` tells which texts there are: bit 0 for the key, bit 1 for the value.
inline constexpr Number fault_has_key = 1;
inline constexpr Number fault_has_value = 2;

struct Hive_Fault {
  Number kind = 0;
  Number has = 0;
  Bytes key;
  Bytes value;
  Bytes text;
};

struct Connected_Client {
  Number process = 0;
  Number user = 0;
  Bytes host;
  Bytes program;
  Long_Number since = 0;  // seconds since 1970
};

// A record's fields in their order.
inline auto fields_of(Sub_Key& r) { return std::tie(r.name, r.class_name, r.last_write_time); }
inline auto fields_of(Value& r) { return std::tie(r.name, r.type, r.size, r.data); }
inline auto fields_of(Hive_File& r) { return std::tie(r.name, r.file); }
inline auto fields_of(Batch_Hive& r) { return std::tie(r.root, r.file, r.code); }
inline auto fields_of(Hive_Fault& r) { return std::tie(r.kind, r.has, r.key, r.value, r.text); }
inline auto fields_of(Connected_Client& r) { return std::tie(r.process, r.user, r.host, r.program, r.since); }

using Sub_Keys = std::vector<Sub_Key>;
using Values = std::vector<Value>;
using Hive_Files = std::vector<Hive_File>;
using Batch_Hives = std::vector<Batch_Hive>;
using Hive_Faults = std::vector<Hive_Fault>;
using Connected_Clients = std::vector<Connected_Client>;

// The bytes of a record's fields, about as many as they take in a message.
inline std::size_t size_of(Number) { return sizeof(Number); }
inline std::size_t size_of(Long_Number) { return sizeof(Long_Number); }
inline std::size_t size_of(Bytes field) { return sizeof(Number) + field.size(); }
inline std::size_t size_of(Numbers& field) { return sizeof(Number) * (1 + field.size()); }
inline std::size_t size_of(Descriptor) { return sizeof(Number); }
inline std::size_t size_of(Memory) { return 2 * sizeof(Number); }
template <class Record>
std::size_t size_of(std::vector<Record>& records) {
  std::size_t size = sizeof(Number);
  for (Record& record : records) size += size_of_fields(record);
  return size;
}
template <class Record>
std::size_t size_of_fields(Record& record) {
  return std::apply([](auto&... field) { return (std::size_t{0} + ... + size_of(field)); }, fields_of(record));
}

// The units of a text as bytes.
inline Bytes bytes_of(std::u16string_view text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size() * sizeof(char16_t)};
}

// The text of such bytes, which lie at an even address in every message; an odd last byte is left out.
inline std::u16string_view text_of(Bytes bytes) {
  return {reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / sizeof(char16_t)};
}

}  // namespace impl::wire
