/*
 * Where the registry's server and its clients meet: a pid file that names the running server and whose first
 * byte is the lock of start-up, an endpoint file that holds the name of the server's port, and that port.
 *
 *   mode              pid file                   endpoint file          port name
 *   client (0)        <tmp>/kv/regss.pid         <tmp>/kv/regss         a name not in use, <tmp>/kv/rgs...
 *   every other       <tmp>/regss<id>.pid        <tmp>/regss<id>        a name not in use, <tmp>/rgs...
 *
 * <tmp> is the temporary directory, <id> the core data directory's device (hexadecimal) and inode, with a colon
 * between. The pid file holds the server's process id in digits, the endpoint file the port's name; neither has
 * a newline.
 *
 * A process has one endpoint, made by KvCreateRegConnectData; the others must not be called before it. The
 * order of calls is the caller's, and within a process nothing guards the endpoint. What goes wrong is told on
 * standard error. The lock belongs to the process: closing any other descriptor of the pid file gives it up,
 * and a forked child does not have it.
 */
#ifndef KELVANE_REGISTRY_SERVER_H
#define KELVANE_REGISTRY_SERVER_H

#include "../windef.h"

KV_BEGIN_C

/*
 * Makes the endpoint of this process: for the server when is_server is not 0, else for a client. Names the
 * files, makes their folder, and opens the pid file, which a client in mode 0 only reads and does not make. A
 * server that finds no living one makes a port name and writes the endpoint file. 0, or 1 when the core data
 * directory or the pid file cannot be had; the endpoint is there all the same. A second call makes another
 * endpoint in place of the first, which is not released.
 */
KV_EXPORT int KvCreateRegConnectData(int is_server);

/*
 * Releases the endpoint, if there is one, and removes the pid file and the endpoint file: a client's does that
 * as well.
 */
KV_EXPORT void KvDestroyRegConnectData(void);

/*
 * 1 when the process that the pid file names is there, whoever its user is, else 0. A file with anything but a
 * process id reads as 1, an empty one as 0.
 */
KV_EXPORT int KvIsRegssAlive(void);

/*
 * Takes the lock, waiting for it. When the pid file was removed or replaced meanwhile it goes on with the new
 * one, made when it is missing. 0, or -1 when the file cannot be opened or locked, or a signal ends the wait. A
 * client in mode 0 that found a pid file has it for reading only and always gets -1. Administration utilities
 * (KvIsAdmUtility) take no lock and get 0.
 */
KV_EXPORT int KvLockRegServerFile(void);

/*
 * Releases the lock: 0, or -1 when no pid file is open or the release fails. With verify not 0 also -1 when the
 * pid file is gone or has been replaced; a replaced one is closed, too. Administration utilities get 0.
 */
KV_EXPORT int KvUnlockRegServerFile(int verify);

/*
 * Records this process as the server in the pid file and removes a port that an earlier server left under the
 * same name. 0; ends the process with status 1 when the pid file cannot be written.
 */
KV_EXPORT int KvRegisterRegss(void);

/* Removes the pid file; what unlink answers. */
KV_EXPORT int KvUnlinkRegServerFile(void);

/*
 * The port's name, from the endpoint file unless this process made it; null while there is none. The text
 * belongs to the endpoint and is the same at every call.
 */
KV_EXPORT const char* getPortName(void);

KV_END_C

#endif
