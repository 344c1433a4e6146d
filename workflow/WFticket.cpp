// WFticket: job ticket files, read and written line by line.
#include "workflow/WFticket.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "image/SIsuffix.h"
#include "workflow/WFmodule.h"

namespace {

constexpr std::size_t kLineCap = kTextCap;
// The kind of the start folders, whose root may hold workflows by link.
constexpr WFmodule_Kind kStartKind = 1;

bool initialised = false;

// The name beside `path` that an atomic save writes first.
std::string TemporaryName(const std::string& path) {
  NameStr host;
  DirAcces_GetMachineName(host);
  return path + "." + std::string(StrIn(host).View()) + "-" + std::to_string(::getpid()) + ".tmp";
}

// `path` cut at its last "/"; empty when it has none.
std::string Parent(const std::string& path) {
  const std::size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

// Rebuilds `image` through the link that stands for its workflow directory
// below the start root; leaves it alone when there is none or it can't be read.
void ResolveThroughRoot(StrOut image) {
  PathStr rootText;
  WFmodule_GetRootDir(kStartKind, rootText);
  const std::string root(StrIn(rootText).View());
  const std::string reference(StrIn(image).View());
  if (root.empty() || reference == root || !DirAcces_PathStartsWith(reference, root)) return;
  // 1. Take elements off until the parent is the root: that is the workflow's
  //    directory. Every step shortens the path, so the walk ends.
  std::string directory = reference;
  for (std::string parent = Parent(directory); parent != root; parent = Parent(directory)) {
    if (parent.size() <= root.size()) return;
    directory = parent;
  }
  // 2. Only a link is followed; its target replaces the directory.
  char target[kPathCap];
  if (!Messages_Quietly([&] { return DirAcces_ReadLink(directory, target); }) || target[0] == '\0') return;
  std::string rebuilt(target);
  if (!rebuilt.empty() && rebuilt[0] != '/') rebuilt = root + "/" + rebuilt;  // relative to the link's place
  Strings_Assign(rebuilt + reference.substr(directory.size()), image);
}

}  // namespace

void WFticket_Init() {
  if (initialised) return;
  initialised = true;
  DirAcces_Init();
  SFilMisc_Init();
  WFmodule_Init();
}

// --- Names ---------------------------------------------------------------------------

bool WFticket_IsTicketFile(StrIn path) {
  NameStr suffix;
  SFilMisc_SuffixOf(path, suffix);
  if (Strings_Equal(suffix, ".jtpd")) return true;
  return Strings_Length(suffix) == 4 && Strings_Pos(".jt", suffix) == 0;
}

void WFticket_TicketFilename(StrIn path, StrOut ticket) {
  NameStr suffix, infSuffix;
  SFilMisc_SuffixOf(path, suffix);
  const bool replace = !WFticket_IsTicketFile(path) && SIsuffix_InfSuffix(suffix, infSuffix);
  Strings_Assign(path, ticket);
  if (!replace) return;
  SFilMisc_StripExtension(ticket);
  Strings_Concat(ticket, infSuffix, ticket);
}

// --- Reading --------------------------------------------------------------------------

bool WFticket_Lookup(StrIn path, StrIn key, StrOut value) {
  value.Clear();
  std::ifstream file(path.Str());
  std::string line;
  while (file && std::getline(file, line)) {
    if (line.size() > kLineCap) line.resize(kLineCap);
    const std::size_t first = line.find_first_not_of(" \t");
    if (first == std::string::npos || line[first] == '#') continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || std::string_view(line).substr(0, equals) != key.View()) continue;
    Strings_Assign(line.substr(equals + 1), value);
    return true;
  }
  return false;
}

bool WFticket_LoadImageReference(StrIn path, bool resolve, StrOut image) {
  if (!WFticket_Lookup(path, WFticket_imageReferenceKey, image)) return false;
  if (resolve) ResolveThroughRoot(image);
  return true;
}

// --- Writing --------------------------------------------------------------------------

bool WFticket_Save(StrIn ticketName, StrIn image) {
  if (image.Empty()) return false;
  TextStr ticket;
  WFticket_TicketFilename(ticketName.Empty() ? image : ticketName, ticket);
  const std::string target(StrIn(ticket).View());
  // An image whose name has no ticket form must never be overwritten.
  if (target == image.View()) return false;
  const std::string temporary = TemporaryName(target);
  bool written = false;
  if (std::FILE* file = std::fopen(temporary.c_str(), "w")) {
    written = std::fprintf(file, "%s\n%s=%s\n", WFticket_header, WFticket_imageReferenceKey, image.Str().c_str()) > 0;
    written = std::fclose(file) == 0 && written;
  }
  written = written && Messages_Quietly([&] {
              return DirAcces_ChMod(temporary, 0666) && DirAcces_AtomicRename(temporary, target);
            });
  if (!written) std::remove(temporary.c_str());
  return written;
}

bool WFticket_SaveInDir(StrIn directory, StrIn image) {
  TextStr head, name, ticketName;
  DirAcces_ExcludePath(image, head, name);
  if (StrIn(name).Empty()) return false;
  DirAcces_IncludePath(directory, name, ticketName);
  return WFticket_Save(ticketName, image);
}
