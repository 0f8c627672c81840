// The client's operations on whole hives. They travel as descriptors: files are opened here, with the rights of this
// process, and the server sees none of their names.
#include <winnt.h>

#include "impl/client/client_service.h"
#include "impl/client/hive_files.h"

namespace impl::client {
namespace {

// A file's name in a backup, which is no path; "" for any other.
std::string file_name(wire::Bytes bytes) {
  const std::string name(bytes.begin(), bytes.end());
  const bool is_plain =
      !name.empty() && name.front() != '.' && name.find('/') == name.npos && name.find('\0') == name.npos;
  return is_plain ? name : "";
}

DWORD put_image(DWORD code, wire::Memory memory, std::vector<BYTE>* out) {
  out->clear();
  if (code != ERROR_SUCCESS || memory.fd < 0) return code;
  return is_whole_file(memory.fd) && read_all(memory.fd, out) ? ERROR_SUCCESS : wrong_answer;
}

}  // namespace

DWORD Client_Service::save_key(HKEY key, const char* file) {
  return ask<wire::Save_Key>(
      key, 0, {},
      [&](const auto& answer) -> DWORD {
        if (answer.code != ERROR_SUCCESS) return answer.code;
        return is_whole_file(answer.hive.fd) ? write_new_file(file, answer.hive.fd) : wrong_answer;
      },
      Rights::of_handle, Length::whole_hives);
}

// Everything below the key may change.
DWORD Client_Service::load_key(HKEY key, std::u16string_view path, const char* file) {
  if (!fits_message(path)) return ERROR_INVALID_PARAMETER;
  wire::Unique_Fd hive;
  if (const DWORD code = read_hive_file(file, &hive); code != ERROR_SUCCESS) return code;
  return ask<wire::Load_Key>(
      key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY, {0, wire::bytes_of(path), {hive.get()}},
      [](const auto& answer) { return DWORD{answer.code}; }, Rights::of_thread, Length::whole_hives);
}

DWORD Client_Service::unload_key(HKEY key, std::u16string_view path) {
  if (!fits_message(path)) return ERROR_INVALID_PARAMETER;
  return remove<wire::Unload_Key>(key, KEY_SET_VALUE | KEY_CREATE_SUB_KEY, {0, wire::bytes_of(path)}, Rights::of_thread,
                                  Length::whole_hives);
}

DWORD Client_Service::backup(const char* path) {
  const std::string folder = path;
  return ask_server<wire::Backup>(
      {},
      [&](const auto& answer) -> DWORD {
        DWORD code = answer.code;
        if (code == ERROR_SUCCESS) code = make_backup_folder(folder);
        for (const wire::Hive_File& each : answer.files) {
          const std::string name = file_name(each.name);
          if (name.empty() || !is_whole_file(each.file.fd)) return wrong_answer;
          if (code == ERROR_SUCCESS) code = replace_file(folder + "/" + name, each.file.fd);
        }
        return code;
      },
      Length::whole_hives);
}

DWORD Client_Service::user_image(std::vector<BYTE>* out_image) {
  if (carrier_.batches().of_thread() != nullptr) return ERROR_TRANSACTION_REQUEST_NOT_VALID;
  return ask_server<wire::User_Image>(
      {}, [&](const auto& answer) { return put_image(answer.code, answer.image, out_image); }, Length::whole_hives);
}

// The server has the hive, and it outlives every client.
DWORD Client_Service::closing_user_image(std::vector<BYTE>* out_image) {
  out_image->clear();
  return ERROR_SUCCESS;
}

}  // namespace impl::client
