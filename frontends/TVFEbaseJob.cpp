// TVFEbase: the numbered shell job.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "base/DirAcces.h"
#include "base/SFilMisc.h"
#include "frontends/TVFEbase.h"

struct TVFEbase_SHRec {
  int fd = -1;
  char path[kPathCap] = "";
};

namespace {

constexpr std::size_t kJobNameChars = 6;
constexpr int kMaxNumber = 999;
constexpr mode_t kJobMode = 0760;

// messages: TVFEbase 1 2
constexpr std::uint8_t kNilJob = 1;
constexpr std::uint8_t kNotCreated = 2;

bool WriteLine(int fd, const std::string& line) {
  const std::string text = line + "\n";
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t wrote = ::write(fd, text.data() + done, text.size() - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    done += static_cast<std::size_t>(wrote);
  }
  return true;
}

std::string Quoted(StrIn text) {
  TextStr escaped;
  SFilMisc_EscapeShMetaChars(text, escaped);
  return StrIn(escaped).Str();
}

void Free(TVFEbase_SH& sh) {
  if (sh->fd >= 0) ::close(sh->fd);
  delete sh;
  sh = nullptr;
}

}  // namespace

TVFEbase_SH TVFEbase_CreateSH(StrIn directory, StrIn jobName) {
  const std::string base = jobName.Str().substr(0, kJobNameChars);
  auto* sh = new TVFEbase_SHRec;
  // The job changes into its directory before it removes itself by this
  // name, so the name must not depend on where the program runs.
  PathStr where;
  if (directory.View().starts_with('/')) {
    Strings_Assign(directory, where);
  } else {
    PathStr current;
    DirAcces_LogicalCurrentDir(current);
    DirAcces_IncludePath(current, directory, where);
  }
  // The first free number. O_EXCL with O_NOFOLLOW: whatever stands under a
  // name, a planted link too, makes us go on to the next one.
  for (int number = 1; number <= kMaxNumber && sh->fd < 0; ++number) {
    char name[kNameCap];
    std::snprintf(name, sizeof name, "%s_%03d.bat", base.c_str(), number);
    DirAcces_IncludePath(where, StrIn::C(name), sh->path);
    sh->fd = ::open(sh->path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (sh->fd < 0 && errno != EEXIST) break;
  }
  if (sh->fd < 0 || !WriteLine(sh->fd, "cd " + Quoted(directory)) ||
      !WriteLine(sh->fd, "TERMLINE=null ; export TERMLINE")) {
    if (sh->fd >= 0) ::unlink(sh->path);
    Free(sh);
    TVFEbase_Error(kNotCreated);
    return nullptr;
  }
  return sh;
}

void TVFEbase_GetSHName(TVFEbase_SH sh, StrOut path) { Strings_Assign(sh != nullptr ? StrIn(sh->path) : StrIn(""), path); }

bool TVFEbase_AppendCommand(TVFEbase_SH sh, StrIn command) {
  if (sh == nullptr) {
    TVFEbase_Error(kNilJob);
    return false;
  }
  return WriteLine(sh->fd, command.Str());
}

bool TVFEbase_StartAndDestroySH(TVFEbase_SH& sh) {
  if (sh == nullptr) {
    TVFEbase_Error(kNilJob);
    return false;
  }
  const std::string path = Quoted(sh->path);
  const bool ok = WriteLine(sh->fd, "rm -f " + path) && ::fchmod(sh->fd, kJobMode) == 0;
  // A job that can't run as written is not left behind.
  if (!ok) ::unlink(sh->path);
  Free(sh);
  return ok && TVFEbase_StartACommand(path, false);
}

void TVFEbase_DestroySH(TVFEbase_SH& sh) {
  if (sh == nullptr) {
    TVFEbase_Error(kNilJob);
    return;
  }
  ::unlink(sh->path);
  Free(sh);
}
