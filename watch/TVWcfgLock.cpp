// TVWcfg: the lock of the demon's folder table.
//
// The lock is the file "tvwatchd.cfg.LCK" holding its owner's process id. The
// demon takes it with this same code, so its rules are fixed: six tries a
// second apart in all, and a lock whose owner can't be signalled is stale.
//
//   free ----TVWcfg_LockConfiguration: private file linked to the lock name----> held
//   taken ---link finds the name, owner answers signal 0 (or the lock can't
//            be read)--> try failed: wait 100 + 50 n ms, try again
//   taken ---owner gone (no such process, or no permission)--> stale lock
//            removed, the same try again at once
//   taken ---sixth try failed--> private file removed, false
//   held ----TVWcfg_UnlockConfiguration: lock file removed--> free
//
// The private file "<lock>.<pid>" lives only during TVWcfg_LockConfiguration.
#include <cstdlib>
#include <string>

#include "base/DirAcces.h"
#include "base/FileIO.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/Utility.h"
#include "watch/TVWcfg.h"

namespace {

constexpr int kTries = 6;
constexpr std::int64_t kFirstWaitMs = 100, kWaitStepMs = 50;
// Stale locks removed within one try: each needs a process that died holding
// the lock, so more than a few means something else is at work.
constexpr int kTakeoversPerTry = 8;

std::string LockName() {
  char name[kNameCap];
  TVWcfg_GetLockName(name);
  return StrIn(name).Str();
}

// The private file holds our id, readable by every user, since the demon may
// run as another. A leftover of an earlier process with our id goes first:
// it may still be linked to an old lock, whose text must not become ours.
bool WritePrivate(const std::string& path, const std::string& id) {
  Messages_IgnoreErrors(true);
  DirAcces_Remove(path);
  FileIO_File file = FileIO_Create(path);
  bool written = file != FileIO_nil && DirAcces_ChMod(path, 0666) && FileIO_Write(file, id.data(), id.size());
  written = FileIO_Close(file) && written;
  if (!written) DirAcces_Remove(path);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return written;
}

struct Owner {
  bool stale = false;
  DirAcces_Stat seen;  // the lock file that was judged
};

// Whether the lock's owner has gone. Whatever can't be told counts as a
// live owner: better to wait than to break a lock in use.
Owner Examine(const std::string& lock) {
  Owner owner;
  char text[32] = "";
  std::size_t length = 0;
  if (!DirAcces_LFileStatN(lock, owner.seen)) return owner;
  FileIO_File file = FileIO_Open(lock, FileIO_readMode);
  if (file == FileIO_nil) return owner;
  length = FileIO_Read(file, text, sizeof text - 1);
  FileIO_Close(file);
  text[length] = '\0';
  char* end = nullptr;
  const long pid = std::strtol(text, &end, 10);
  if (end == text || pid <= 0 || pid > 0x7fffffff) return owner;
  // A process of another user answers "no permission"; the demon's rule
  // counts that as gone too, and both programs must judge alike.
  owner.stale = !Processe_Kill(static_cast<int>(pid), 0) && (Processe_prError == 4 || Processe_prError == 5);
  return owner;
}

// Removes the stale lock unless it was replaced since it was judged: a
// fresh lock of a process that got in first must stay.
bool RemoveStale(const std::string& lock, const Owner& owner) {
  DirAcces_Stat now;
  if (!DirAcces_LFileStatN(lock, now)) return true;
  if (now.device != owner.seen.device || now.inode != owner.seen.inode || now.modified != owner.seen.modified)
    return true;
  return DirAcces_Remove(lock);
}

// Steps 2 to 4: one try; true when the lock is ours.
bool Try(const std::string& privateName, const std::string& lock) {
  for (int takeover = 0; takeover <= kTakeoversPerTry; ++takeover) {
    if (DirAcces_Link(privateName, lock)) return true;
    if (DirAcces_dirError != 2) return false;
    const Owner owner = Examine(lock);
    if (!owner.stale || !RemoveStale(lock, owner)) return false;
  }
  return false;
}

}  // namespace

bool TVWcfg_LockConfiguration() {
  TVWcfg_Init();
  const std::string lock = LockName();
  const std::string id = std::to_string(Processe_GetPID());
  const std::string privateName = lock + "." + id;
  // 1.
  if (!WritePrivate(privateName, id)) return false;
  // 2. to 5.
  bool held = false;
  for (int n = 0; n < kTries && !held; ++n) {
    if (n > 0) Utility_Delay(kFirstWaitMs + kWaitStepMs * (n - 1));
    held = Messages_Quietly([&] { return Try(privateName, lock); });
  }
  // 6. The lock, if made, is the link: the private name goes either way.
  Messages_Quietly([&] { return DirAcces_Remove(privateName); });
  return held;
}

void TVWcfg_UnlockConfiguration() {
  const std::string lock = LockName();
  Messages_Quietly([&] { return DirAcces_Remove(lock); });
}
