#include "base/DirAcces.h"

#include <unistd.h>
#include <sys/utsname.h>

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "base/BConvert.h"

std::uint8_t DirAcces_dirError = 0;
char DirAcces_effName[kTextCap] = "";

namespace {

char section[kSectionCap] = "DirAcces";

std::string EnvValue(StrIn name) {
  char value[kTextCap];
  DirAcces_EnvVar(name, value);
  return std::string(StrIn(value).View());
}

std::string FirstElement(const std::string& list) {
  const std::size_t colon = list.find(':');
  return colon == std::string::npos ? list : list.substr(0, colon);
}

bool Usable(const char* path, DirAcces_Mode mode) { return DirAcces_Access(StrIn::C(path), mode); }

// Ends the process: the program can't work without knowing where it lives.
[[noreturn]] void FatalEnvironment(const std::string& line) {
  std::fprintf(stderr, "%s\n", line.c_str());
  Processe_SetExitStatus(1);
  Processe_Exit();
  std::exit(1);  // only reached when already exiting
}

// The program's own path: argument 0, or the kernel's word for it when the
// argument vector was never handed over.
std::string ProgramPath() {
  char arg0[kPathCap];
  if (Argument_Seek(0, arg0) && arg0[0] != '\0') return arg0;
  char buffer[PATH_MAX];
  const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  return n > 0 ? std::string(buffer, static_cast<std::size_t>(n)) : std::string();
}

std::string SearchAlongPath(const std::string& program) {
  std::string list = EnvValue("PATH");
  std::size_t start = 0;
  while (start <= list.size()) {
    std::size_t colon = list.find(':', start);
    if (colon == std::string::npos) colon = list.size();
    const std::string dir = list.substr(start, colon - start);
    const std::string candidate = (dir.empty() ? "." : dir) + "/" + program;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
    start = colon + 1;
  }
  return {};
}

std::string ComputeDistLocation() {
  // 1. An instance file is announced but deliberately not read.
  const std::string instance =
      EnvValue("TAVRIN_INSTANCE_HOME") + "/instance." + EnvValue("TAVRIN_INSTANCE");
  if (::access(instance.c_str(), F_OK) == 0)
    std::fprintf(stderr, "Warning: instance file available but ignored: %s\n", instance.c_str());

  // 2. The program as given, else along PATH.
  std::string program = ProgramPath();
  if (program.empty() || ::access(program.c_str(), X_OK) != 0) {
    const std::size_t slash = program.rfind('/');
    program = SearchAlongPath(slash == std::string::npos ? program : program.substr(slash + 1));
    if (program.empty()) FatalEnvironment("Cant't find program along $PATH. Aborting");
  }

  // 3. The directory of the program's real file, absolute; a "PSimage"
  // directory counts one level up. Links are resolved, the program's own as
  // well as its directory's: a link to the program in a directory on PATH,
  // or a link to the installation's bin/, leads to the installation itself.
  char real[PATH_MAX];
  if (::realpath(program.c_str(), real) != nullptr) program = real;
  std::string dir = program.substr(0, program.rfind('/') == std::string::npos ? 0 : program.rfind('/'));
  if (dir.empty()) dir = program.find('/') == 0 ? "/" : ".";
  if (::realpath(dir.c_str(), real) != nullptr) dir = real;
  if (dir.size() >= 8 && dir.compare(dir.size() - 8, 8, "/PSimage") == 0) dir.resize(dir.size() - 8);
  const std::string path = EnvValue("PATH");
  if (("." + std::string(":") + path + ":").find(":" + dir + ":") == std::string::npos)
    DirAcces_PutEnvVar("PATH", path.empty() ? dir : path + ":" + dir);

  // 4. The parent is the distribution; a build tree finds the installed library.
  std::string dist = dir.substr(0, dir.rfind('/'));
  if (dist.empty()) dist = "/";
  const std::size_t build = dist.find("/marlbuild/");
  if (build != std::string::npos) {
    const std::string installed = dist.substr(0, build) + "/marllib";
    if (::access(installed.c_str(), F_OK) == 0) dist = installed;
  }

  // 5. Published for the tools the program starts.
  DirAcces_PutEnvVar("TAVRIN_DISTRIBUTION", dist);
  return dist;
}

// The first element of `list` below which `name` passes the test.
bool SearchList(StrIn listText, StrIn name, DirAcces_Mode mode, StrOut path) {
  char list[kTextCap], element[kPathCap], candidate[kTextCap];
  Strings_Assign(listText, list);
  while (DirAcces_GetPath(list, element)) {
    if (element[0] == '\0') continue;
    DirAcces_IncludePath(element, name, candidate);
    if (DirAcces_Access(candidate, mode)) {
      Strings_Assign(candidate, path);
      return true;
    }
  }
  return false;
}


std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

// The computed default of `name`; false for a variable that has none.
bool ComputeDefault(const std::string& name, std::string& value) {
  if (name == "TV_PROJECTS") {
    value = Usable("/projects", DirAcces_Mode::Execute) ? "/projects" : "/opt/tavrin/projects";
  } else if (name == "TV_CUSTOMER") {
    value = Usable("/etc/opt/tavrin", DirAcces_Mode::Write)        ? "/etc/opt/tavrin"
            : Usable("/opt/tavrin/customer", DirAcces_Mode::Write) ? "/opt/tavrin/customer"
                                                                   : "/customer";
  } else if (name == "TV_NODE") {
    value = EnvValue("TV_CUSTOMER");
  } else if (name == "MARLENV") {
    value = EnvValue("TV_CUSTOMER") + ":" + EnvValue("MARLLIB") + "/env";
  } else if (name == "MARLLIB") {
    value = ComputeDistLocation();
  } else if (name == "MARLDAT") {
    value = Usable("/opt/tavrin/var", DirAcces_Mode::Write)   ? "/opt/tavrin/var"
            : Usable("/var/opt/tavrin", DirAcces_Mode::Write) ? "/var/opt/tavrin"
                                                              : EnvValue("MARLLIB") + "/dat";
  } else if (name == "TMP") {
    const std::string tmp = FirstElement(EnvValue("TV_PROJECTS")) + "/tmp";
    value = Usable(tmp.c_str(), DirAcces_Mode::Execute) ? tmp : "/tmp";
  } else if (name == "TAVRIN_INSTANCE_HOME") {
    value = "/etc/opt/tavrin";
  } else if (name == "TAVRIN_INSTANCE") {
    value = "default";
  } else if (name == "ZTSC") {
    value = EnvValue("MARLLIB") + "/postscript";
  } else if (name == "HOST") {
    char node[kNameCap];
    DirAcces_GetNodeName(node);
    value = node;
  } else if (name == "ICONS") {
    value = FirstElement(EnvValue("TV_PROJECTS")) + "/icons:" + EnvValue("MARLLIB") + "/icons";
  } else {
    return false;
  }
  return true;
}

}  // namespace

void DirAcces_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
}

bool DirAcces_EnvVar(StrIn name, StrOut value) {
  const std::string key(name.View());
  std::string result;
  if (const char* set = std::getenv(key.c_str()); set != nullptr) {
    result = set;
  } else if (ComputeDefault(key, result)) {
    DirAcces_PutEnvVar(name, result);
  }
  if (key == "MARLDAT" && !Usable(FirstElement(result).c_str(), DirAcces_Mode::Write))
    FatalEnvironment("*** Fatal: Can't write to directory $MARLDAT==" + result);
  Strings_Assign(result, value);
  return !result.empty();
}

void DirAcces_PutEnvVar(StrIn name, StrIn value) {
  ::setenv(name.Str().c_str(), value.Str().c_str(), 1);
}

void DirAcces_GetSpecialPath(int number, StrOut list) {
  static constexpr const char* kNames[] = {"TV_PROJECTS", "TV_CUSTOMER", "TV_NODE", "MARLENV",
                                           "MARLLIB",     "MARLDAT",     "TMP"};
  if (number < 0 || number > 6) {
    Strings_Assign("/", list);
    return;
  }
  DirAcces_EnvVar(StrIn::C(kNames[number]), list);
}

void DirAcces_IncludeSpecialPath(int number, StrIn name, StrOut path) {
  char list[kTextCap], first[kPathCap];
  DirAcces_GetSpecialPath(number, list);
  if (!DirAcces_GetPath(list, first)) Strings_Assign("/", first);
  // An empty name asks for the element itself, not for a directory below it.
  if (name.Empty()) Strings_Assign(first, path);
  else DirAcces_IncludePath(first, name, path);
}

bool DirAcces_GetPath(StrOut list, StrOut element) {
  element.Clear();
  const std::string text(StrIn(list).View());
  if (text.empty()) return false;
  const std::size_t colon = text.find(':');
  Strings_Assign(text.substr(0, colon), element);
  Strings_Assign(colon == std::string::npos ? std::string() : text.substr(colon + 1), list);
  return true;
}

void DirAcces_IncludePath(StrIn head, StrIn tail, StrOut result) {
  std::string h(head.View());
  const std::string t(tail.View());
  while (!h.empty() && h.back() == ' ') h.pop_back();
  if (h.empty()) {
    Strings_Assign(t, result);
    return;
  }
  const bool headSlash = h.back() == '/';
  const bool tailSlash = !t.empty() && t.front() == '/';
  if (headSlash && tailSlash) h.pop_back();
  else if (!headSlash && !tailSlash) h.push_back('/');
  Strings_Assign(h + t, result);
}

bool DirAcces_Access(StrIn path, DirAcces_Mode mode) {
  static constexpr int kModes[] = {R_OK, W_OK, X_OK, F_OK};
  DirAcces_dirError = 0;
  const std::string p(path.View());
  return !p.empty() && ::access(p.c_str(), kModes[static_cast<int>(mode)]) == 0;
}

bool DirAcces_PathLookup(StrIn variable, StrIn name, DirAcces_Mode mode) {
  DirAcces_dirError = 0;
  if (DirAcces_Access(name, mode)) {
    Strings_Assign(name, DirAcces_effName);
    return true;
  }
  char list[kTextCap];
  DirAcces_EnvVar(variable, list);
  if (SearchList(list, name, mode, DirAcces_effName)) return true;
  // messages: DirAcces 1
  char reason[kTextCap];
  Messages_GetMsg(section, 1, reason);
  SPrintf_String(reason, variable);
  SPrintf_String(reason, name);
  Messages_SupplyAdditionalInfo(reason);
  DirAcces_Error(7);
  return false;
}

void DirAcces_GetMachineName(StrOut name) { DirAcces_EnvVar("HOST", name); }

void DirAcces_GetNodeName(StrOut name) {
  struct utsname info;
  Strings_Assign(::uname(&info) == 0 ? StrIn::C(info.nodename) : StrIn("NONAME"), name);
}

void DirAcces_DetermineDistLocation(StrOut directory) { Strings_Assign(ComputeDistLocation(), directory); }

std::uint8_t DirAcces_MapSystemError(int systemError) {
  switch (systemError) {
    case EPERM: case EACCES: case EROFS: return 6;
    case ENOENT: return 1;
    case ENXIO: case E2BIG: case EBADF: return 7;
    case EEXIST: return 2;
    case EXDEV: return 11;
    case ENOTDIR: return 3;
    default: return 9;
  }
}

void DirAcces_Error(std::uint8_t code) {
  // messages: DirAcces 1-4 6-9 11
  DirAcces_dirError = code;
  char reason[kNameCap] = "DirAcces.Error : code = ";
  BConvert_CardToStr(reason, code, 0);
  Messages_SupplyAdditionalInfo(reason);
  Messages_Error(section, code);
}

// --- Flags -------------------------------------------------------------------

namespace {

std::string FlagVariable(StrIn name) { return "TV_" + name.Str(); }

std::string FlagFile(StrIn name) {
  char file[kTextCap];
  DirAcces_IncludeSpecialPath(DirAcces_TV_CUSTOMER, name, file);
  return file;
}

// The flag's text: the variable's value, else the first word of the flag
// file. False when neither is there (a missing or unreadable file).
bool FlagText(StrIn name, std::string& text) {
  if (const char* value = std::getenv(FlagVariable(name).c_str()); value != nullptr && *value != '\0') {
    text = value;
    return true;
  }
  std::FILE* file = std::fopen(FlagFile(name).c_str(), "r");
  if (file == nullptr) return false;
  char word[kTextCap];
  const bool read = std::fscanf(file, "%5119s", word) == 1;
  std::fclose(file);
  text = read ? word : "";
  return read;
}

}  // namespace

bool DirAcces_CheckFlag(StrIn name) {
  const char* value = std::getenv(FlagVariable(name).c_str());
  if (value != nullptr && *value != '\0') {
    const std::string lower = Lower(value);
    return lower != "false" && lower != "no" && lower != "off";
  }
  return ::access(FlagFile(name).c_str(), F_OK) == 0;
}

void DirAcces_SetFlag(StrIn name, bool value) {
  const std::string variable = FlagVariable(name);
  if (const char* set = std::getenv(variable.c_str()); set != nullptr && *set != '\0') {
    DirAcces_PutEnvVar(variable, value ? StrIn("on") : StrIn("off"));
  } else if (value) {
    DirAcces_Touch(FlagFile(name));
  } else {
    ::unlink(FlagFile(name).c_str());
  }
}

bool DirAcces_CheckIntFlag(StrIn name, std::int32_t fallback, std::int32_t& value) {
  std::string text;
  char digits[kNameCap];
  value = fallback;
  if (!FlagText(name, text)) return false;
  Strings_Assign(text, digits);
  BConvert_StrToInt(digits, value);
  return true;
}

bool DirAcces_CheckRealFlag(StrIn name, double fallback, double& value) {
  std::string text;
  char digits[kNameCap];
  value = fallback;
  if (!FlagText(name, text)) return false;
  Strings_Assign(text, digits);
  BConvert_StrToReal(digits, value);
  return true;
}

bool DirAcces_CheckStringFlag(StrIn name, StrIn fallback, StrOut value) {
  std::string text;
  const bool there = FlagText(name, text);
  Strings_Assign(there ? StrIn(text) : fallback, value);
  return there;
}

// --- Path arithmetic -----------------------------------------------------------

void DirAcces_ExcludePath(StrIn path, StrOut head, StrOut tail) {
  const std::string p(path.View());
  const std::size_t slash = p.rfind('/');
  if (slash == std::string::npos) {
    head.Clear();
    Strings_Assign(p, tail);
    return;
  }
  std::string h = p.substr(0, slash);
  while (!h.empty() && h.back() == ' ') h.pop_back();
  if (slash == 0) h = "/";
  Strings_Assign(p.substr(slash + 1), tail);
  Strings_Assign(h, head);
}

void DirAcces_GetPathHead(StrIn path, StrOut head) {
  const std::string p(path.View());
  Strings_Assign(p.substr(0, p.find('/')), head);
}

void DirAcces_CutPathHead(StrOut path) {
  std::string p(StrIn(path).View());
  const std::size_t slash = p.find('/');
  if (slash == std::string::npos) {
    path.Clear();
    return;
  }
  const std::size_t rest = p.find_first_not_of('/', slash);
  Strings_Assign(rest == std::string::npos ? std::string() : p.substr(rest), path);
}

bool DirAcces_PathStartsWith(StrIn path, StrIn head) {
  const std::string_view p = path.View(), h = head.View();
  if (!p.starts_with(h)) return false;
  return p.size() == h.size() || p[h.size()] == '/' || (!h.empty() && h.back() == '/');
}

bool DirAcces_ReplacePathHead(StrOut path, StrIn oldHead, StrIn newHead) {
  if (!DirAcces_PathStartsWith(path, oldHead)) return false;
  const std::string rest(StrIn(path).View().substr(oldHead.Length()));
  Strings_Assign(newHead.Str() + rest, path);
  return true;
}

bool DirAcces_ContainsPath(StrIn variable, StrIn element) {
  char list[kTextCap], item[kPathCap];
  DirAcces_EnvVar(variable, list);
  while (DirAcces_GetPath(list, item))
    if (Strings_Equal(item, element)) return true;
  return false;
}

// --- Look-ups ------------------------------------------------------------------


bool DirAcces_Lookup(StrIn variable, StrIn fallbackList, StrIn name, DirAcces_Mode mode, StrOut path) {
  char list[kTextCap];
  if (!DirAcces_EnvVar(variable, list)) Strings_Assign(fallbackList, list);
  path.Clear();
  return SearchList(list, name, mode, path);
}

bool DirAcces_AccessSpecial(int number, StrIn name, DirAcces_Mode mode, StrOut path) {
  char list[kTextCap];
  DirAcces_GetSpecialPath(number, list);
  path.Clear();
  return SearchList(list, name, mode, path);
}

bool DirAcces_AccessICASE(StrIn path, DirAcces_Mode mode, StrOut found) {
  Strings_Assign(path, found);
  if (DirAcces_Access(path, mode)) return true;
  char dir[kPathCap], wanted[kNameCap], entry[kNameCap];
  DirAcces_ExcludePath(path, dir, wanted);
  const std::string directory = dir[0] != '\0' ? std::string(dir) : ".";
  const std::string lowerWanted = Lower(StrIn(wanted).View());
  DirAcces_DirHandle handle = Messages_Quietly([&] { return DirAcces_OpenDir(directory); });
  bool hit = false;
  while (!hit && DirAcces_GetDirEntry(handle, entry)) {
    if (Lower(StrIn(entry).View()) != lowerWanted) continue;
    char candidate[kTextCap];
    DirAcces_IncludePath(dir, entry, candidate);
    if ((hit = DirAcces_Access(candidate, mode))) Strings_Assign(candidate, found);
  }
  DirAcces_CloseDir(handle);
  return hit;
}
