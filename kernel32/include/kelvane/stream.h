/*
 * Streams of bytes, for profiles, logs and traces.
 *
 * A stream that has failed stays failed: writing to it does nothing, reading gives nothing, and nothing is
 * thrown. Streams on files keep a private descriptor (close-on-exec) and look at its file before each use:
 * when the program has closed the number and opened something else under it, the stream fails and leaves the
 * foreign file alone. A stream belongs to one thread at a time. Streams made with new come from the base
 * library's own heap, whichever library makes or deletes them.
 */
#ifndef KELVANE_STREAM_H
#define KELVANE_STREAM_H

#include <sys/types.h>
#include <windef.h>

inline namespace kelvane {

class Bone;

/* Text output through a buffer of 4 KB. */
class KV_EXPORT kvostream {
 public:
  virtual ~kvostream();
  kvostream(const kvostream&) = delete;
  kvostream& operator=(const kvostream&) = delete;

  static void* operator new(size_t size);
  static void operator delete(void* block);

  kvostream& write(const char* bytes, size_t size);
  kvostream& flush();
  bool failed() const { return failed_; }

  kvostream& operator<<(const char* text); /* null writes nothing */
  kvostream& operator<<(char character);
  kvostream& operator<<(int number);
  kvostream& operator<<(unsigned number);
  /* The shortest decimal text that reads back as this number: digits, a point, digits, and for very large and
   * small numbers "e" with an exponent without plus sign. Independent of the locale. */
  kvostream& operator<<(double number);
  kvostream& operator<<(const Bone* bone); /* as it writes itself; the null marker for null */
  kvostream& operator<<(kvostream& (*manipulator)(kvostream&)) { return manipulator(*this); }

 protected:
  kvostream();
  void fail() { failed_ = true; }

 private:
  /* Writes all the bytes; false when that failed. A derived class calls flush in its destructor. */
  virtual bool put(const char* bytes, size_t size) = 0;

  size_t used_;
  bool failed_;
  char buffer_[4096];
};

/* What a writer prints for an object that is not there. */
extern KV_EXPORT const char null_marker[10];

/* Manipulators: flush; newline and flush. */
KV_EXPORT kvostream& kvflush(kvostream& stream);
KV_EXPORT kvostream& kvendl(kvostream& stream);

/* Input in blocks. */
class KV_EXPORT kvistream {
 public:
  virtual ~kvistream();
  kvistream(const kvistream&) = delete;
  kvistream& operator=(const kvistream&) = delete;

  static void* operator new(size_t size);
  static void operator delete(void* block);

  /* Reads up to size bytes and returns how many came; fewer only at the end of the input or on failure. */
  size_t read(char* block, size_t size);

  /* True from the first read that gave fewer bytes than it was asked for; input that ends exactly with a
   * block is not at its end yet. */
  bool at_end() const { return at_end_; }
  bool failed() const { return failed_; }

 protected:
  kvistream();
  void fail() { failed_ = true; }

 private:
  /* One piece of the input: the number of bytes, 0 at the end, -1 on failure. */
  virtual ssize_t get(char* block, size_t size) = 0;

  bool at_end_;
  bool failed_;
};

/* A descriptor that knows its file: closed at the end only while it is still that file. */
class KV_EXPORT Stream_Descriptor {
 public:
  explicit Stream_Descriptor(int fd); /* takes the descriptor over; -1 is none */
  ~Stream_Descriptor();
  Stream_Descriptor(const Stream_Descriptor&) = delete;
  Stream_Descriptor& operator=(const Stream_Descriptor&) = delete;

  int fd() const { return fd_; }
  bool is_ours() const;

 private:
  int fd_;
  dev_t device_;
  ino_t inode_;
};

class KV_EXPORT kvofstream final : public kvostream {
 public:
  /* Makes the file (mode 0666 under the creation mask) or empties it. */
  explicit kvofstream(const char* name);
  /* Takes the descriptor over and closes it at the end; standard output (1) is never closed. */
  explicit kvofstream(int fd);
  ~kvofstream() override;

 private:
  bool put(const char* bytes, size_t size) override;

  Stream_Descriptor file_;
};

class KV_EXPORT kvifstream final : public kvistream {
 public:
  explicit kvifstream(const char* name);
  ~kvifstream() override;

 private:
  ssize_t get(char* block, size_t size) override;

  Stream_Descriptor file_;
};

/* Input from a text, which stays the caller's and must live as long as the stream. */
class KV_EXPORT kvistrstream final : public kvistream {
 public:
  explicit kvistrstream(const char* text);
  kvistrstream(const char* bytes, size_t size);
  ~kvistrstream() override;

 private:
  ssize_t get(char* block, size_t size) override;

  const char* rest_;
  size_t rest_size_;
};

}  // namespace kelvane

#endif
