// What a registry's server says, made of the bytes of a fuzz run: D-Bus messages that fit the question, and such that
// do not.
#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "impl/wire/change_page.h"
#include "impl/wire/message.h"
#include "impl/wire/names.h"
#include "impl/wire/unique_fd.h"

// Numbers of D-Bus: kinds of messages, and fields of their headers.
inline constexpr char method_return = 2, method_error = 3;
inline constexpr char error_field = 4, reply_field = 5, signature_field = 8, descriptors_field = 9;
inline constexpr std::size_t fixed_header = 16;

// Appends values at the places where D-Bus wants them.
class Aligned_Text {
 public:
  void align(std::size_t size) { text_.resize((text_.size() + size - 1) / size * size); }
  void number(std::uint32_t value) {
    align(sizeof value);
    text_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void byte(unsigned value) { text_ += static_cast<char>(value); }
  void bytes(std::string_view text) { text_ += text; }
  void set_number(std::size_t at, std::size_t value) {
    const auto number = static_cast<std::uint32_t>(value);
    std::memcpy(text_.data() + at, &number, sizeof number);
  }
  std::size_t size() const { return text_.size(); }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// A message with its descriptors.
struct Answer_Message {
  std::string bytes;
  std::vector<int> descriptors;
  bool ends_connection = false;

  // False when the connection is over.
  bool send(int socket) const {
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * 16)] = {};
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr all{};
    all.msg_iov = &part;
    all.msg_iovlen = 1;
    const std::size_t size = sizeof(int) * std::min<std::size_t>(descriptors.size(), 16);
    if (size > 0) {
      all.msg_control = control;
      all.msg_controllen = CMSG_SPACE(size);
      cmsghdr* const header = CMSG_FIRSTHDR(&all);
      header->cmsg_level = SOL_SOCKET;
      header->cmsg_type = SCM_RIGHTS;
      header->cmsg_len = CMSG_LEN(size);
      std::memcpy(CMSG_DATA(header), descriptors.data(), size);
    }
    return (bytes.empty() || sendmsg(socket, &all, MSG_NOSIGNAL) >= 0) && !ends_connection;
  }
};

inline std::uint32_t number_at(std::string_view text, std::size_t at) {
  std::uint32_t number = 0;
  std::memcpy(&number, text.data() + at, sizeof number);
  return number;
}

inline std::size_t header_size(std::string_view message) {
  return fixed_header + (number_at(message, 12) + std::size_t{7}) / 8 * 8;
}

// Of the first question in what was heard; 0 while it is not whole.
inline std::size_t question_size(std::string_view heard) {
  if (heard.size() < fixed_header) return 0;
  const std::size_t size = header_size(heard) + number_at(heard, 4);
  return size <= heard.size() ? size : 0;
}

// The call that is asked, as a row of all calls.
struct Asked_Call {
  std::string_view member;
  const char* signature;  // of the answer
};

inline const Asked_Call& call_of(std::string_view question) {
  using namespace impl::wire;
  static constexpr Asked_Call calls[] = {
#define KV_FIELD(type, name)
#define KV_CALL(call, its_member, question, answer) {call::member, fields_signature<call::Answer>.units},
#include "impl/wire/calls.def"
      {"", "u"}};
  const std::string_view header = question.substr(0, header_size(question));
  for (const Asked_Call& each : calls) {
    Aligned_Text member;
    member.number(static_cast<std::uint32_t>(each.member.size()));
    member.bytes(each.member);
    member.byte(0);
    if (header.find(member.text()) != header.npos) return each;
  }
  return calls[std::size(calls) - 1];
}

// A living page of change numbers: of one hive, 16 times the letter h, that stands still under number 2.
class Change_Page_File {
 public:
  Change_Page_File() : file_(memfd_create("page", MFD_CLOEXEC | MFD_ALLOW_SEALING)) {
    impl::wire::Change_Page page{};
    std::copy(std::begin(page.mark_bytes), std::end(page.mark_bytes), page.mark);
    page.layout = page.layout_number;
    page.hive_count = 1;
    page.owner = 4711;
    std::fill_n(page.hives[0].hive, sizeof page.hives[0].hive, 'h');
    page.hives[0].number = 2;
    check(write(file_.get(), &page, sizeof page) == sizeof page);
    check(fcntl(file_.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0);
  }
  int get() const { return file_.get(); }

 private:
  impl::wire::Unique_Fd file_;
};

class Answers {
 public:
  Answers(Fuzz_Input& input, const Change_Page_File& page) : input_(input), page_(page) {}

  // What the input has next:
  //   0  the call's answer, field by field     1  with the call's signature, any body
  //   2  with any signature, any body          3  an error of the protocol
  //   4  any bytes, and the end                5  the end
  Answer_Message next(std::string_view question) {
    files_.clear();
    const unsigned shape = input_.byte() % 6;
    const std::string signature = shape == 2 ? input_.bytes(input_.byte() % 32) : call_of(question).signature;
    if (shape == 3) return error(question);
    if (shape == 4) return {input_.bytes(input_.word() % 4096), {}, true};
    if (shape == 5) return {{}, {}, true};
    Aligned_Text body;
    if (shape == 0) {
      for (const char* type = signature.c_str(); *type != '\0';) field(body, type);
    } else {
      add_descriptor();
      body.bytes(input_.bytes(input_.word() % 4096));
    }
    return message(question, method_return, signature_field, signature, body.text());
  }

  // The answer of a server that begins or joins a session.
  Answer_Message good_session(std::string_view question, bool with_page) {
    Aligned_Text body;
    body.number(0);
    body.number(impl::wire::session_size);
    body.bytes("a session's name");
    body.number(with_page ? sizeof(std::uint32_t) : 0);
    if (with_page) body.number(0);
    descriptors_.clear();
    if (with_page) descriptors_.push_back(page_.get());
    return message(question, method_return, signature_field, "uayah", body.text());
  }

 private:
  Answer_Message error(std::string_view question) {
    static constexpr const char* names[] = {impl::wire::error_malformed, impl::wire::error_no_session,
                                            impl::wire::error_limit, impl::wire::error_version, "org.example.Strange"};
    descriptors_.clear();
    return message(question, method_error, error_field, names[input_.byte() % std::size(names)], {});
  }

  Answer_Message message(std::string_view question, char kind, char field_code, std::string_view text,
                         std::string_view body) {
    Aligned_Text whole;
    for (const unsigned each : {unsigned{'l'}, unsigned(kind), 1u, 1u}) whole.byte(each);
    whole.number(static_cast<std::uint32_t>(body.size()));
    whole.number(++last_serial_);
    whole.number(0);
    number_field(whole, reply_field, number_at(question, 8));
    text_field(whole, field_code, text);
    if (!descriptors_.empty()) number_field(whole, descriptors_field, descriptors_.size());
    whole.set_number(12, whole.size() - fixed_header);
    whole.align(8);
    whole.bytes(body);
    return {whole.text(), std::exchange(descriptors_, {}), false};
  }
  static void number_field(Aligned_Text& header, char code, std::size_t value) {
    header.align(8);
    header.bytes({&code, 1});
    header.bytes({"\1u\0", 3});
    header.number(static_cast<std::uint32_t>(value));
  }
  static void text_field(Aligned_Text& header, char code, std::string_view text) {
    const bool is_signature = code == signature_field;
    header.align(8);
    header.bytes({&code, 1});
    header.bytes({is_signature ? "\1g\0" : "\1s\0", 3});
    if (is_signature) {
      header.byte(static_cast<unsigned>(text.size()));
    } else {
      header.number(static_cast<std::uint32_t>(text.size()));
    }
    header.bytes(text);
    header.byte(0);
  }

  // One field of a signature; the type is moved behind it.
  void field(Aligned_Text& body, const char*& type) {
    switch (*type++) {
      case 'u':
        return body.number(input_.dword());
      case 't':
        body.align(8);
        body.number(input_.dword());
        return body.number(input_.dword());
      case 'y':
        return body.byte(input_.byte());
      case 'h':
        body.number(static_cast<std::uint32_t>(descriptors_.size()));
        return add_descriptor();
      case 'a':
        return list(body, type);
      default:  // a record
        body.align(8);
        while (*type != ')') field(body, type);
        ++type;
    }
  }
  // Its count is 1 byte; of bytes, a second one behind 255.
  void list(Aligned_Text& body, const char*& type) {
    body.number(0);
    const std::size_t length_at = body.size() - sizeof(std::uint32_t);
    if (*type == '(' || *type == 't') body.align(8);
    const std::size_t start = body.size();
    std::size_t count = input_.byte();
    if (*type != 'y') count %= 16;
    if (count == 255) count = input_.word();
    const char* const element = type;
    for (std::size_t i = 0; i < count; ++i) {
      type = element;
      field(body, type);
    }
    body.set_number(length_at, body.size() - start);
    type = element + (*element == '(' ? std::string_view(element).find(')') + 1 : 1);
  }

  void add_descriptor() {
    const unsigned kind = input_.byte();
    if (kind % 8 == 7) return;  // none, where one is named
    descriptors_.push_back(kind % 8 == 6 ? page_.get() : file_of(kind % 8));
  }
  // Sealed memory, memory that can still change, or what is no file to be read.
  int file_of(unsigned kind) {
    static constexpr const char* others[] = {"/dev/zero", "/dev/null", "/"};
    if (kind >= 3) {
      files_.emplace_back(open(others[kind - 3], O_RDONLY | O_CLOEXEC));
    } else {
      impl::wire::Unique_Fd memory(memfd_create("answer", MFD_CLOEXEC | MFD_ALLOW_SEALING));
      const std::string content = input_.bytes(input_.byte());
      check(write(memory.get(), content.data(), content.size()) == static_cast<ssize_t>(content.size()));
      if (kind < 2) fcntl(memory.get(), F_ADD_SEALS, F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
      files_.push_back(std::move(memory));
    }
    return files_.back().get();
  }

  Fuzz_Input& input_;
  const Change_Page_File& page_;
  std::vector<impl::wire::Unique_Fd> files_;  // until the answer behind
  std::vector<int> descriptors_;
  std::uint32_t last_serial_ = 0;
};
