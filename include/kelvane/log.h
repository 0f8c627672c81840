/*
 * The layer's loggers. C++ only.
 *
 * A record has a level: 0 for errors that end the process, 1 for ordinary ones, more for details. Records of
 * several threads do not mix. Any thread may log at any time, also while the process ends: when a logger was
 * ended its records go to standard output.
 */
#ifndef KELVANE_LOG_H
#define KELVANE_LOG_H

#include <stdarg.h>

#include "../windef.h"

inline namespace kelvane {

/* A program may derive a logger of its own. The order of the virtual functions is part of the interface. */
class KV_EXPORT KvLog {
 public:
  virtual ~KvLog();

  /* Writes one record. arguments are those of the format and are used up. */
  virtual void OutputV(int level, const char* format, va_list arguments) = 0;
  /* The log's file, or "stdout". The text belongs to the logger. */
  virtual const char* Name() const = 0;
  /* The size in bytes beyond which the file is pruned, and the size of the tail that pruning is to keep. */
  virtual unsigned MaxSize() const = 0;
  virtual unsigned BaseSize() const = 0;
  /* Records of a higher level are dropped; 1 unless the logger says otherwise. */
  virtual int Level() const;

  /* Passes its arguments on to OutputV. */
  void Output(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
};

/*
 * The log of the registry and the event log of the RPC service. They have no owner. Each reads its level and
 * sizes from the registry, at every record:
 *
 *             settings below HKEY_LOCAL_MACHINE   file
 *   RegLog    Software\Tressaly\regss\log         registry modes above 1: $HOME/logs/regss.log
 *   RpcssLog  Software\Tressaly\rpcss\log         $KVRPCSS_DEBUG_LOG; unset, in modes other than 1:
 *                                                 $HOME/logs/kvrpcss_event.log
 *
 * In the remaining modes, and when the file cannot be made, records go to standard output. Without HOME the
 * temporary directory stands for it. The key is created when it is missing.
 */
KV_EXPORT KvLog& RegLog();
KV_EXPORT KvLog& RpcssLog();

/* Standard output: every record of any level, as it is, without a header and without a newline of its own. */
KV_EXPORT KvLog& StdoutLog();

}  // namespace kelvane

#endif
