// The folder of this user's named events, "kv-events-<uid>" of the temporary directory.
#ifndef KELVANE_KERNEL32_SYNC_EVENT_FOLDER_H
#define KELVANE_KERNEL32_SYNC_EVENT_FOLDER_H

#include <string>

inline namespace kelvane {

// While one of these lives no other thread or process opens, makes or closes a named event, and no thread of this
// process forks. A process that is killed leaves the folder free.
class Event_Folder_Lock {
 public:
  // Makes the folder when it is missing. It is refused unless it is the user's own and closed to everybody else.
  explicit Event_Folder_Lock(const std::string& folder);
  ~Event_Folder_Lock();
  Event_Folder_Lock(const Event_Folder_Lock&) = delete;
  Event_Folder_Lock& operator=(const Event_Folder_Lock&) = delete;

  // Why the folder is not locked, an errno; 0 when it is.
  int error() const { return error_; }

 private:
  bool lock_file(const std::string& file);

  int fd_ = -1;
  int error_ = 0;
};

// The folder's path for the effective user.
std::string event_folder();

// Opens the FIFO at a path: readable and writable at once, never waiting. A descriptor, or -1 with errno.
int open_event_fifo(const std::string& path);

// Below, the folder is locked.

// Whether nobody else has the FIFO open; the lock that tells it is then exclusive.
bool is_alone_with(int fifo);

// Makes the folders between the folder of events and a path in it. False with errno.
bool make_folders_of(const std::string& folder, const std::string& path);

// Removes the FIFO at a path, and folders that it leaves empty, unless somebody has it open.
void remove_unused_event(const std::string& folder, const std::string& path);

// Removes every event that nobody has open: what killed processes have left.
void sweep_events(const std::string& folder);

}  // namespace kelvane

#endif
