#include "base/SLock.h"

#include <algorithm>
#include <chrono>
#include <compare>
#include <ctime>
#include <map>
#include <set>
#include <string>

#include "base/BConvert.h"
#include "base/DirAcces.h"
#include "base/FileIO.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/Utility.h"

// The life of a lock
// ------------------
//   free --SLock_Lock: private file linked to the lock name--> held
//   free --SLock_Lock: name taken, owner alive--> wait a slice, try again;
//          after the time-out: free (error 3)
//   free --SLock_Lock: name taken, owner gone--> stale lock removed, try
//          again at once
//   held --SLock_Unlock / SLock_Destroy: our file removed--> free
// The private file "<lock>.<pid>" lives only during SLock_Lock.

namespace {

struct Identity {
  std::uint64_t device = 0, inode = 0;
  auto operator<=>(const Identity&) const = default;
};

Identity IdentityOf(const DirAcces_Stat& stat) { return {stat.device, stat.inode}; }

}  // namespace

struct SLock_Rec {
  std::string name;
  bool held = false;
  Identity identity;  // of the lock file while held
};

std::uint8_t SLock_error = 0;

namespace {

char section[kSectionCap] = "SLock";

constexpr std::uint32_t kSliceMs = 100;
// A lock without a readable process id is left alone this long: a writer
// that makes the file before it fills it in may be at work.
constexpr std::int64_t kGraceSeconds = 10;

// The locks held by handles of this process, to tell them from a lock that
// an earlier process with our id left behind.
std::set<Identity> heldHere;

void Fail(std::uint8_t code, const std::string& name) {
  SLock_error = code;
  Messages_SupplyAdditionalInfo(name);
  Messages_Error(section, code);  // messages: SLock 1-2
}

std::string OwnId() { return std::to_string(Processe_GetPID()); }

// The private file holds our id, readable by everyone so that other users can
// tell whether we live. A leftover of ours goes first: it may still be linked
// to an old lock, whose text must not change under its name.
bool WritePrivate(const std::string& path) {
  Messages_Quietly([&] { return DirAcces_Remove(path); });
  const std::string text = OwnId() + "\n";
  Messages_IgnoreErrors(true);
  FileIO_File file = FileIO_Create(path);
  bool written = file != FileIO_nil && FileIO_Write(file, text.data(), text.size());
  written = FileIO_Close(file) && written && DirAcces_ChMod(path, 0666);
  Messages_IgnoreErrors(false);
  if (!written) Fail(1, path);
  return written;
}

enum class Link { Made, Taken, Refused };

// Links the private file to the lock name. A network file system may answer
// a link it made with a failure (a repeated request finds the name taken),
// so the private file's link count has the last word.
Link TryLink(const std::string& privateName, const std::string& lockName, Identity& made) {
  Messages_IgnoreErrors(true);
  const bool linked = DirAcces_Link(privateName, lockName);
  const std::uint8_t why = DirAcces_dirError;
  DirAcces_Stat stat;
  const bool counted = DirAcces_FileStatN(privateName, stat);
  Messages_IgnoreErrors(false);
  if (counted) made = IdentityOf(stat);
  if (linked || (counted && stat.links == 2)) {
    Messages_ForgetErrorReasons();
    return Link::Made;
  }
  if (why != 2) {
    Fail(2, lockName);
    return Link::Refused;
  }
  Messages_ForgetErrorReasons();
  return Link::Taken;
}

// What stands at a lock's name: the file and its text.
struct Look {
  Identity identity;
  std::int64_t modified = 0;
  std::string text;
};

enum class Seen { Missing, Unreadable, Read };

// Looks at the lock `name`. A name that can't be followed (a dangling link)
// reads as an empty text.
Seen LookAt(const std::string& name, Look& look) {
  DirAcces_Stat stat;
  if (!DirAcces_LFileStatN(name, stat)) return Seen::Missing;
  look.identity = IdentityOf(stat);
  look.modified = stat.modified;
  look.text.clear();
  FileIO_File file = FileIO_Open(name, FileIO_readMode);
  if (file == FileIO_nil) return FileIO_ioError == 3 ? Seen::Read : Seen::Unreadable;
  char text[32];
  look.text.assign(text, FileIO_Read(file, text, sizeof text - 1));
  FileIO_Close(file);
  return Seen::Read;
}

// The process id in a lock's text, or 0 when the text is anything else.
int ProcessId(const std::string& text) {
  char digits[32];
  Strings_Assign(text, digits);
  std::int32_t pid = 0;
  if (!BConvert_StrToInt(digits, pid)) return 0;
  for (char c : StrIn(digits).View())
    if (c != '\n' && c != '\r' && c != ' ' && c != '\t') return 0;
  return pid;
}

enum class Verdict { Valid, Stale, Gone };

// Whether the lock `name` still has an owner; `seen` is what was looked at.
Verdict Examine(const std::string& name, Look& seen) {
  const Seen result = LookAt(name, seen);
  if (result == Seen::Missing) return Verdict::Gone;
  // A lock we may not read belongs to someone we can't judge: it stays.
  if (result == Seen::Unreadable) return Verdict::Valid;
  const int pid = ProcessId(seen.text);
  if (pid <= 0) return std::time(nullptr) - seen.modified > kGraceSeconds ? Verdict::Stale : Verdict::Valid;
  if (pid == Processe_GetPID()) return heldHere.count(seen.identity) != 0 ? Verdict::Valid : Verdict::Stale;
  return Processe_IsAlive(pid) ? Verdict::Valid : Verdict::Stale;
}

enum class Removal { Removed, Other, Refused };

std::map<std::string, SLock> named;  // the locks taken by name

// Removes the lock `name` if it is still the file `before` with the same
// text: between a look and the removal another process may have made a fresh
// lock, which must stay, and a freed inode is soon given to a new file.
Removal RemoveIfSame(const std::string& name, const Look& before) {
  Look now;
  if (LookAt(name, now) != Seen::Read || now.identity != before.identity || now.text != before.text)
    return Removal::Other;
  return DirAcces_Remove(name) ? Removal::Removed : Removal::Refused;
}

}  // namespace

void SLock_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  FileIO_Init();
  DirAcces_Init();
  Processe_Init();
}

SLock SLock_Create(StrIn name) { return new SLock_Rec{name.Str(), false, {}}; }

void SLock_Destroy(SLock& lock) {
  SLock_Unlock(lock);
  delete lock;
  lock = nullptr;
}

SLock SLock_Nil() { return nullptr; }

bool SLock_Lock(SLock lock, std::uint32_t timeoutMs) {
  using Clock = std::chrono::steady_clock;
  SLock_error = 0;
  if (lock == nullptr) {
    SLock_error = 4;
    return false;
  }
  if (lock->held) return true;
  const std::string privateName = lock->name + "." + OwnId();
  if (!WritePrivate(privateName)) return false;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    // 1. The link either makes the lock or finds it taken.
    const Link link = TryLink(privateName, lock->name, lock->identity);
    if (link == Link::Made) {
      lock->held = true;
      heldHere.insert(lock->identity);
      break;
    }
    if (link == Link::Refused) break;
    // 2. A lock that was given up meanwhile, or whose owner has gone and
    //    could be removed, is tried again at once.
    Look seen;
    const Verdict verdict = Messages_Quietly([&] { return Examine(lock->name, seen); });
    if (verdict == Verdict::Gone) continue;
    if (verdict == Verdict::Stale &&
        Messages_Quietly([&] { return RemoveIfSame(lock->name, seen); }) != Removal::Refused)
      continue;
    // 3. A live owner: wait a slice unless the time is up.
    const Clock::time_point now = Clock::now();
    if (now >= deadline) {
      SLock_error = 3;
      break;
    }
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count();
    Utility_Delay(static_cast<std::uint32_t>(std::min<long long>(kSliceMs, left + 1)));
  }
  Messages_Quietly([&] { return DirAcces_Remove(privateName); });
  return lock->held;
}

void SLock_Unlock(SLock lock) {
  if (lock == nullptr || !lock->held) return;
  lock->held = false;
  heldHere.erase(lock->identity);
  const Look ours{lock->identity, 0, OwnId() + "\n"};
  Messages_Quietly([&] { return RemoveIfSame(lock->name, ours); });
}

bool SLock_IsHeld(SLock lock) { return lock != nullptr && lock->held; }

bool SLock_LockNamed(StrIn name, std::uint32_t timeoutMs) {
  SLock& lock = named[name.Str()];
  if (lock == nullptr) lock = SLock_Create(name);
  if (Messages_Quietly([&] { return SLock_Lock(lock, timeoutMs); })) return true;
  SLock_Destroy(lock);
  named.erase(name.Str());
  return false;
}

void SLock_UnlockNamed(StrIn name) {
  const auto at = named.find(name.Str());
  if (at == named.end()) return;
  Messages_Quietly([&] { SLock_Destroy(at->second); });
  named.erase(at);
}
