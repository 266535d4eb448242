// Files that must not survive an interrupted run. When SIGINT, SIGTERM or SIGHUP ends ddhost,
// the handler removes every path registered here before the process dies of the signal, so
// a half-written file never stays behind looking finished.
#ifndef DDHOST_SIGNAL_CLEANUP_H
#define DDHOST_SIGNAL_CLEANUP_H

#include <string>

namespace ddhost {

// Installs the handlers (once). SIGXFSZ is ignored so that exceeding a file-size limit is a
// failed write that ddhost reports and cleans up, not a silent kill.
void InstallSignalCleanup();

// Registers `path` for removal on a signal; returns a slot to pass to ForgetOnSignal, or -1
// when no slot is free or the path is too long (the caller then goes on without the guard).
// With `onlyIfChanged`, a file that already exists is removed only if it is no longer the
// very file seen now (another inode or a newer modification time): a run interrupted before
// it touched the file leaves the user's old file alone.
int RemoveOnSignal(const std::string& path, bool onlyIfChanged = false);
void ForgetOnSignal(int slot);

}  // namespace ddhost

#endif  // DDHOST_SIGNAL_CLEANUP_H
