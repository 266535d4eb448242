#include "signal_cleanup.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstring>

namespace ddhost {
namespace {

constexpr int kSlots = 8;
constexpr std::size_t kMaxPath = 4096;

// Plain fixed-size records: the handler may only read memory and call async-signal-safe
// functions (stat, unlink, signal, raise).
struct Slot {
  std::atomic<bool> active{false};
  bool onlyIfChanged = false;
  bool existed = false;
  dev_t device = 0;
  ino_t inode = 0;
  struct timespec modified = {};
  char path[kMaxPath] = {};
};

Slot g_slots[kSlots];

bool SameFile(const Slot& slot, const struct stat& now) {
  return slot.existed && now.st_dev == slot.device && now.st_ino == slot.inode &&
         now.st_mtim.tv_sec == slot.modified.tv_sec && now.st_mtim.tv_nsec == slot.modified.tv_nsec;
}

void RemoveRegistered() {
  for (Slot& slot : g_slots) {
    if (!slot.active.load()) continue;
    if (slot.onlyIfChanged) {
      struct stat now;
      if (stat(slot.path, &now) != 0 || SameFile(slot, now)) continue;
    }
    unlink(slot.path);
  }
}

void OnTerminatingSignal(int sig) {
  RemoveRegistered();
  signal(sig, SIG_DFL);
  raise(sig);
}

}  // namespace

void InstallSignalCleanup() {
  static bool installed = false;
  if (installed) return;
  installed = true;
  struct sigaction action;
  std::memset(&action, 0, sizeof action);
  action.sa_handler = OnTerminatingSignal;
  sigemptyset(&action.sa_mask);
  for (int sig : {SIGINT, SIGTERM, SIGHUP}) sigaction(sig, &action, nullptr);
  signal(SIGXFSZ, SIG_IGN);
}

int RemoveOnSignal(const std::string& path, bool onlyIfChanged) {
  if (path.size() >= kMaxPath) return -1;
  InstallSignalCleanup();
  for (int i = 0; i < kSlots; ++i) {
    Slot& slot = g_slots[i];
    if (slot.active.load()) continue;
    std::memcpy(slot.path, path.c_str(), path.size() + 1);
    slot.onlyIfChanged = onlyIfChanged;
    struct stat now;
    slot.existed = stat(path.c_str(), &now) == 0;
    if (slot.existed) {
      slot.device = now.st_dev;
      slot.inode = now.st_ino;
      slot.modified = now.st_mtim;
    }
    slot.active.store(true);
    return i;
  }
  return -1;
}

void ForgetOnSignal(int slot) {
  if (slot >= 0 && slot < kSlots) g_slots[slot].active.store(false);
}

}  // namespace ddhost
