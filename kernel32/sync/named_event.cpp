// Named events. Opening, making and closing happen with the folder of events locked. Who has the FIFO alone when it
// opens it is the first: what the file was before means nothing.
#include <errno.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "kernel32/sync/event.h"
#include "kernel32/sync/event_folder.h"
#include "kernel32/sync/sync_error.h"

namespace {

// The sticky bit keeps cleaners of temporary directories away.
constexpr mode_t auto_reset_mode = S_ISVTX | 0600;
constexpr mode_t manual_reset_bit = S_IXUSR;

class Named_Event final : public Event {
 public:
  Named_Event(Own_Descriptor descriptor, bool manual_reset, std::string folder, std::string path)
      : Event(std::move(descriptor), manual_reset), folder_(std::move(folder)), path_(std::move(path)) {}

  // Only a descriptor opened anew tells whether anybody is left: our own shares its lock with copies in our parent and
  // our children, which count as handles.
  ~Named_Event() override {
    try {
      const Event_Folder_Lock lock(folder_);
      descriptor_.reset();
      if (lock.error() == 0) remove_unused_event(folder_, path_);
    } catch (const std::bad_alloc&) {
      // The file stays until the next sweep.
    }
  }

 private:
  std::string folder_;
  std::string path_;
};

bool share(int fifo) { return flock(fifo, LOCK_SH | LOCK_NB) == 0; }

bool is_manual_reset(int fifo) {
  struct stat status;
  return fstat(fifo, &status) == 0 && (status.st_mode & manual_reset_bit) != 0;
}

// Once in a process, before it makes its first event.
void sweep_once(const std::string& folder) {
  static bool swept = false;
  if (swept) return;
  swept = true;
  sweep_events(folder);
}

Own_Descriptor make_fifo(const std::string& folder, const std::string& path) {
  if (!make_folders_of(folder, path)) return Own_Descriptor();
  // The creation mask may have taken bits away.
  const bool made = mkfifo(path.c_str(), auto_reset_mode) == 0 && chmod(path.c_str(), auto_reset_mode) == 0;
  if (!made && errno != EEXIST) return Own_Descriptor();
  return Own_Descriptor(open_event_fifo(path));
}

// Gives a FIFO that nobody else has its kind and state, or takes over those that it has.
Found_Event settle(Own_Descriptor fifo, Event_Start start, const std::string& folder, const std::string& path) {
  const bool first = is_alone_with(fifo.get());
  if (first) fchmod(fifo.get(), start.manual_reset ? auto_reset_mode | manual_reset_bit : auto_reset_mode);
  if (!share(fifo.get())) return {nullptr, code_of_errno(errno)};
  const bool manual_reset = first ? start.manual_reset : is_manual_reset(fifo.get());
  auto event = std::make_unique<Named_Event>(std::move(fifo), manual_reset, folder, path);
  if (first && start.signalled) event->set();
  return {std::move(event), static_cast<DWORD>(first ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS)};
}

}  // namespace

inline namespace kelvane {

Found_Event create_named_event(const std::string& relative_path, Event_Start start) {
  const std::string folder = event_folder();
  const std::string path = folder + "/" + relative_path;
  const Event_Folder_Lock lock(folder);
  if (lock.error() == ENOENT) return {nullptr, ERROR_PATH_NOT_FOUND};
  if (lock.error() != 0) return {nullptr, code_of_errno(lock.error())};
  sweep_once(folder);
  Own_Descriptor fifo = make_fifo(folder, path);
  if (fifo.get() < 0) return {nullptr, code_of_errno(errno)};
  return settle(std::move(fifo), start, folder, path);
}

Found_Event open_named_event(const std::string& relative_path) {
  const std::string folder = event_folder();
  const std::string path = folder + "/" + relative_path;
  const Event_Folder_Lock lock(folder);
  if (lock.error() != 0) return {nullptr, code_of_errno(lock.error())};
  Own_Descriptor fifo(open_event_fifo(path));
  if (fifo.get() < 0) return {nullptr, code_of_errno(errno)};
  if (is_alone_with(fifo.get())) {
    fifo.reset();
    remove_unused_event(folder, path);
    return {nullptr, ERROR_FILE_NOT_FOUND};
  }
  return settle(std::move(fifo), {}, folder, path);
}

}  // namespace kelvane
