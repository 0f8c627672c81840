// Feeds any answers to a client of the registry's server: what a wrong server sends, and a hostile one.
//
//   input   = calls, 1 byte: how the session begins, 1 byte of each call, the answers
//   answer  = 1 byte: its shape, then what Answers::next takes
//
// Behind the input's end all bytes are 0, which makes answers that are too short for any call: a client gives up there.
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <winreg.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "fuzz/answer_writer.h"
#include "fuzz/fuzz_input.h"
#include "impl/client/client_service.h"

namespace {

namespace wire = impl::wire;
using impl::client::Client_Service;

constexpr std::string_view greeting = "DATA\r\nOK 00112233445566778899aabbccddeeff\r\nAGREE_UNIX_FD\r\n";
constexpr unsigned begins_by_input = 1, has_page = 2;
// A message that is none is dropped by the D-Bus library, and its answer is waited for.
constexpr std::chrono::milliseconds patience(20);

// The other end: takes one client's connections, and says what the input has.
class Peer {
 public:
  explicit Peer(const std::string& folder) {
    const std::string port = folder + "/port";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    port.copy(address.sun_path, sizeof address.sun_path - 1);
    listening_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    check(bind(listening_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
          listen(listening_, 64) == 0);
    std::ofstream(folder + "/regss") << port;
  }

  // Until the client's end of the line is closed, and then all connections.
  void serve(int line, Fuzz_Input& input, unsigned flags) {
    Answers answers(input, page_);
    answers_ = &answers;
    begins_ = (flags & begins_by_input) != 0;
    gives_page_ = (flags & has_page) != 0;
    for (;;) {
      std::vector<pollfd> ends{{line, POLLIN, 0}, {listening_, POLLIN, 0}};
      for (const auto& each : clients_) ends.push_back({each.socket.get(), POLLIN, 0});
      poll(ends.data(), ends.size(), -1);
      for (std::size_t i = clients_.size(); i-- > 0;) {
        if (ends[i + 2].revents != 0 && !hear(clients_[i])) clients_.erase(clients_.begin() + static_cast<int>(i));
      }
      if (ends[1].revents != 0) admit();
      if (ends[0].revents != 0) break;
    }
    clients_.clear();
    // Those that nobody took in.
    while (wire::Unique_Fd(accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC))) {
    }
  }

 private:
  struct Client {
    wire::Unique_Fd socket;
    std::string heard;
    bool is_greeted = false;
  };

  void admit() {
    wire::Unique_Fd socket(accept4(listening_, nullptr, nullptr, SOCK_CLOEXEC));
    if (socket) clients_.push_back({std::move(socket), {}, false});
  }

  // False when the connection is over.
  bool hear(Client& client) {
    char block[4096];
    iovec part{block, sizeof block};
    msghdr all{};
    all.msg_iov = &part;
    all.msg_iovlen = 1;
    const ssize_t size = recvmsg(client.socket.get(), &all, MSG_DONTWAIT);  // descriptors are dropped by the system
    if (size <= 0) return false;
    client.heard.append(block, static_cast<std::size_t>(size));
    if (!client.is_greeted) {
      const std::size_t end = client.heard.find("BEGIN\r\n");
      if (end == client.heard.npos) return true;
      client.heard.erase(0, end + 7);
      client.is_greeted = true;
      if (send(client.socket.get(), greeting.data(), greeting.size(), MSG_NOSIGNAL) < 0) return false;
    }
    while (const std::size_t whole = question_size(client.heard)) {
      const std::string question = client.heard.substr(0, whole);
      client.heard.erase(0, whole);
      if (!answer(client, question)) return false;
    }
    return true;
  }

  bool answer(const Client& client, const std::string& question) {
    if (call_of(question).member != wire::Begin_Session::member || begins_) {
      begins_ = begins_ && call_of(question).member != wire::Begin_Session::member;
      return answers_->next(question).send(client.socket.get());
    }
    return answers_->good_session(question, gives_page_).send(client.socket.get());
  }

  int listening_ = -1;
  Change_Page_File page_;
  std::vector<Client> clients_;
  Answers* answers_ = nullptr;
  bool begins_ = false;
  bool gives_page_ = false;
};

// A room that nothing is written behind.
class Guarded_Room {
 public:
  explicit Guarded_Room(std::size_t size) : size_(size), bytes_(size + guard, untouched) {}
  ~Guarded_Room() {
    for (std::size_t i = size_; i < bytes_.size(); ++i) check(bytes_[i] == untouched);
  }
  BYTE* data() { return bytes_.data(); }
  char16_t* text() { return reinterpret_cast<char16_t*>(bytes_.data()); }

 private:
  static constexpr std::size_t guard = 64;
  static constexpr BYTE untouched = 0xA5;

  std::size_t size_;
  std::vector<BYTE> bytes_;
};

// What the client asks.
class Caller {
 public:
  Caller(Client_Service& service, const std::string& folder) : service_(service), folder_(folder) {}
  ~Caller() {
    for (const HKEY each : opened_) service_.close_key(each);
  }

  void call(unsigned which) {
    key_ = opened_.empty() || (which & 0x80) != 0 ? HKEY_LOCAL_MACHINE : opened_.back();
    which &= 0x7F;
    if (which < 0x40) return look(which % 8);
    which < 0x60 ? change(which % 8) : ask_of_server(which % 16);
  }

 private:
  void look(unsigned which) {
    switch (which) {
      case 0:
        return open();
      case 1:
        return query(0);
      case 2:
        return query(3);
      case 3:
        return query(5000);
      case 4:
        return list_keys();
      case 5:
        return list_values();
      case 6:
        return tell_facts();
      default:
        return tell_rights();
    }
  }
  void change(unsigned which) {
    const BYTE data[] = {1, 2, 3};
    bool created = false;
    HKEY key = nullptr;
    switch (which) {
      case 0:
        if (service_.create_key(key_, u"a\\b", {u"", 0, KEY_ALL_ACCESS}, &key, &created) == 0) opened_.push_back(key);
        break;
      case 1:
        service_.set_value(key_, u"v", REG_BINARY, data, sizeof data);
        break;
      case 2:
        service_.delete_value(key_, u"v");
        break;
      case 3:
        service_.delete_key(key_, u"b");
        break;
      case 4:
        service_.rename_key(key_, u"b", u"c");
        break;
      case 5:
        service_.begin_batch();
        break;
      case 6:
        commit();
        break;
      default:
        service_.abandon_batch();
        break;
    }
  }
  void ask_of_server(unsigned which) {
    std::vector<BYTE> image;
    std::wstring domain;
    impl::Hive_Report report;
    void* record = nullptr;
    DWORD number = 0;
    switch (which) {
      case 0:
        service_.save_key(key_, fresh("saved").c_str());
        break;
      case 1:
        service_.backup((folder_ + "/backup").c_str());
        break;
      case 2:
        service_.user_image(&image);
        break;
      case 3:
        service_.check_key(key_, &report);
        break;
      case 4:
        service_.policy(3, &record);
        break;
      case 5:
        service_.policy(5, &record);
        break;
      case 6:
        service_.user_domain(L"user", &domain);
        break;
      case 7:
        service_.user_number(L"user", &number);
        break;
      case 8:
        list_connected();
        break;
      case 9:
        service_.flush_key(key_);
        break;
      case 10:
        service_.unload_key(HKEY_LOCAL_MACHINE, u"b");
        break;
      case 11:
        service_.report_notification(1, "data", 4);
        break;
      case 12:
        service_.shut_down();
        break;
      case 13:
        service_.check_file((folder_ + "/regss").c_str(), &report);
        break;
      default:
        close();
        break;
    }
    expect_nothing_planted();
  }

  void open() {
    HKEY key = nullptr;
    if (service_.open_key(key_, u"k", KEY_ALL_ACCESS, &key) == 0) opened_.push_back(key);
  }
  void close() {
    if (opened_.empty()) return;
    check(service_.close_key(opened_.back()) == 0);
    opened_.pop_back();
  }
  void query(DWORD room) {
    Guarded_Room data(room);
    impl::Value_Room value{data.data(), room};
    const DWORD code = service_.query_value(key_, u"v", value);
    check(code != ERROR_SUCCESS || value.size <= room);
    impl::Value_Room size_alone;
    service_.query_value(key_, u"w", size_alone);
  }
  void list_keys() {
    Guarded_Room name(2 * 8), class_name(2 * 8);
    impl::Text_Room name_room{name.text(), 8, 0}, class_room{class_name.text(), 8, 0};
    std::uint64_t time = 0;
    const DWORD code = service_.enumerate_key(key_, 0, name_room, &class_room, &time);
    check(code != ERROR_SUCCESS || (name_room.length < 8 && class_room.length < 8));
  }
  void list_values() {
    Guarded_Room name(2 * 8), data(16);
    impl::Text_Room name_room{name.text(), 8, 0};
    impl::Value_Room value{data.data(), 16};
    const DWORD code = service_.enumerate_value(key_, 0, &name_room, value);
    check(code != ERROR_SUCCESS || (name_room.length < 8 && value.size <= 16));
  }
  void tell_facts() {
    Guarded_Room class_name(2 * 8);
    impl::Text_Room room{class_name.text(), 8, 0};
    impl::Key_Facts facts;
    check(service_.query_info(key_, &room, &facts) != ERROR_SUCCESS || room.length < 8);
  }
  void tell_rights() {
    impl::Rights_Facts facts;
    service_.describe_rights(key_, u"k", &facts);
    service_.change_rights(key_, u"k", {&facts.mode, nullptr, nullptr});
  }
  void commit() {
    std::vector<impl::Batch_Hive> hives;
    service_.commit_batch(&hives);
  }
  void list_connected() {
    RegistryConnection list[2];
    DWORD count = 2;
    const DWORD code = service_.list_connected(list, &count);
    check(code != ERROR_SUCCESS || count <= 2);
    for (DWORD i = 0; code == ERROR_SUCCESS && i < count; ++i) {
      check(memchr(list[i].host, 0, sizeof list[i].host) != nullptr);
      check(memchr(list[i].program, 0, sizeof list[i].program) != nullptr);
    }
  }

  std::string fresh(const char* name) const {
    const std::string file = folder_ + "/" + name;
    unlink(file.c_str());
    return file;
  }
  void expect_nothing_planted() const {
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
      const std::string name = entry.path().filename();
      check(name == "port" || name == "regss" || name == "saved" || name == "backup");
    }
    std::filesystem::remove_all(folder_ + "/backup");
  }

  Client_Service& service_;
  const std::string folder_;
  HKEY key_ = nullptr;
  std::vector<HKEY> opened_;
};

const std::string& work_folder() {
  static const std::string& folder = *new std::string([] {
    std::string made = std::filesystem::temp_directory_path() / "answer_fuzz.XXXXXX";
    check(mkdtemp(made.data()) != nullptr);
    atexit([] { std::filesystem::remove_all(work_folder()); });
    return made;
  }());
  return folder;
}

// As in a program one for all, and never destroyed; its connections end with each run.
Client_Service& client() {
  static Client_Service& made = *new Client_Service([] {
    impl::client::Settings settings;
    settings.endpoint = [] { return work_folder() + "/regss"; };
    settings.search = settings.single_try = settings.answer = settings.long_answer = patience;
    return settings;
  }());
  return made;
}

}  // namespace

// The D-Bus library keeps the list of a dropped message's descriptors.
extern "C" const char* __lsan_default_suppressions() { return "leak:libsystemd.so"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto& peer = *new Peer(work_folder());
  Fuzz_Input input(data, size);
  const std::size_t count = input.byte() % 16;
  const unsigned flags = input.byte();
  const std::string calls = input.bytes(count);
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return 0;
  std::thread other_end([&] { peer.serve(ends[1], input, flags); });
  {
    Caller caller(client(), work_folder());
    for (const char each : calls) caller.call(static_cast<unsigned char>(each));
    client().abandon_batch();
  }
  close(ends[0]);
  other_end.join();
  close(ends[1]);
  return 0;
}
