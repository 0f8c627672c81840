/*
 * The layer's loggers. C++ only.
 *
 * A record has a level: 0 for errors that end the process, 1 for ordinary ones. Records of several threads do
 * not mix. Logging may go on until the very end of the process.
 */
#ifndef KELVANE_LOG_H
#define KELVANE_LOG_H

#include <stdarg.h>

#include "../windef.h"

inline namespace kelvane {

class KvLog {
 public:
  virtual ~KvLog();

  /* Writes one record, unless its level is above Level(). */
  virtual void OutputV(int level, const char* format, va_list arguments) = 0;
  virtual const char* Name() const = 0;  /* the log's file, or "stdout" */
  virtual unsigned MaxSize() const = 0;  /* bytes */
  virtual unsigned BaseSize() const = 0; /* bytes */
  virtual int Level() const;

  void Output(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
};

/* The registry's log. */
KvLog& RegLog();

}  // namespace kelvane

#endif
