// IFileSel: the file and folder boxes over one folder's list.
#include "toolkit/IFileSel.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "base/SRegExpr.h"
#include "base/SWilCard.h"
#include "toolkit/CWShell.h"
#include "toolkit/I.h"

namespace {

namespace fs = std::filesystem;

constexpr char section[] = "IFileSel";
constexpr std::int32_t kButtons = 1, kHeading = 2, kFolder = 3, kEntries = 4, kShown = 5, kName = 6,
                       kNote = 7, kUp = 8, kKeys = 9;
constexpr std::int32_t kOK = 1;
// The two titles, then why a choice is refused.
// messages: IFileSel 1-5
constexpr unsigned kFileTitle = 1, kDirTitle = 2, kNotAFolder = 3, kMissing = 4, kNoName = 5;

struct Entry {
  std::string name;
  bool folder;
};

// One showing of the box.
struct Box {
  I_Context context = nullptr;
  bool folders = false;      // the folder box
  SRegExpr filter = nullptr;  // the program's; nil: every file
  IFileSel_CheckProc check = nullptr;
  std::string folder;        // shown
  std::vector<Entry> entries;
  std::int32_t clicked = -1;  // the entry reported last
  std::string chosen;
  bool confirmed = false;
};

bool IsFolder(const std::string& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

bool Exists(const std::string& path) {
  std::error_code error;
  return fs::exists(path, error);
}

// The names shown: any of the blank-separated wildcards.
bool Shown(const std::string& patterns, const std::string& name) {
  bool any = false;
  std::size_t at = 0;
  while (at < patterns.size()) {
    const std::size_t end = std::min(patterns.find(' ', at), patterns.size());
    const std::string pattern = patterns.substr(at, end - at);
    if (!pattern.empty()) {
      any = true;
      if (SWilCard_Match(pattern, name)) return true;
    }
    at = end + 1;
  }
  return !any;
}

std::string Text(I_Context c, std::int32_t number) {
  TextStr text;
  I_GetSTRING(c, number, text);
  return StrIn(text).Str();
}

void Note(Box& b, unsigned number, const std::string& path) {
  TextStr text;
  Messages_GetMsg(section, number, text);
  SPrintf_String(text, path);
  I_PutSTRING(b.context, kNote, text);
}

void Fill(Box& b) {
  std::vector<Entry> folders, files;
  const std::string patterns = Text(b.context, kShown);
  std::error_code error;
  for (fs::directory_iterator it(b.folder, error), end; !error && it != end; it.increment(error)) {
    const std::string name = it->path().filename().string();
    if (name.empty() || name[0] == '.') continue;
    if (IsFolder(it->path().string())) {
      folders.push_back({name, true});
    } else if (!b.folders && (b.filter == nullptr || SRegExpr_Match(b.filter, name)) && Shown(patterns, name)) {
      files.push_back({name, false});
    }
  }
  const auto byName = [](const Entry& x, const Entry& y) { return x.name < y.name; };
  std::sort(folders.begin(), folders.end(), byName);
  std::sort(files.begin(), files.end(), byName);
  b.entries.clear();
  if (b.folder != "/") b.entries.push_back({"..", true});
  b.entries.insert(b.entries.end(), folders.begin(), folders.end());
  b.entries.insert(b.entries.end(), files.begin(), files.end());
  std::string text;
  for (const Entry& e : b.entries) text += (text.empty() ? "" : "\n") + e.name + (e.folder ? "/" : "");
  I_SetReprAttr(b.context, kEntries, SIdPool_EnterId("dynStr"), text.c_str(),
                static_cast<std::uint32_t>(text.size() + 1));
  I_PutINTEGER(b.context, kEntries, -1);
  b.clicked = -1;
}

// Shows the folder `path` (made absolute and plain) with no name chosen.
void Open(Box& b, const std::string& path) {
  b.folder = fs::absolute(fs::path(path)).lexically_normal().string();
  while (b.folder.size() > 1 && b.folder.back() == '/') b.folder.pop_back();
  I_PutSTRING(b.context, kFolder, b.folder);
  I_PutSTRING(b.context, kName, "");
  I_PutSTRING(b.context, kNote, " ");
  Fill(b);
}

std::string Resolve(const Box& b, const std::string& name) {
  const fs::path path = !name.empty() && name[0] == '/' ? fs::path(name) : fs::path(b.folder) / name;
  std::string plain = path.lexically_normal().string();
  while (plain.size() > 1 && plain.back() == '/') plain.pop_back();
  return plain;
}

void Finish(Box& b, const std::string& chosen) {
  if (!b.folders && b.check != nullptr) {
    const std::string why = b.check(chosen);
    if (!why.empty()) {
      I_PutSTRING(b.context, kNote, why);
      return;
    }
  }
  b.chosen = chosen;
  b.confirmed = true;
  I_Deactivate(b.context);
}

// OK: takes the named file or folder, or opens a folder of the file box.
void Take(Box& b) {
  const std::string name = Text(b.context, kName);
  if (name.empty()) {
    if (b.folders) Finish(b, b.folder);
    else Note(b, kNoName, "");
    return;
  }
  const std::string path = Resolve(b, name);
  if (IsFolder(path)) {
    if (b.folders) Finish(b, path);
    else Open(b, path);
  } else if (!Exists(path)) {
    Note(b, kMissing, path);
  } else if (b.folders) {
    Note(b, kNotAFolder, path);
  } else {
    Finish(b, path);
  }
}

Box& Of(std::uintptr_t data) { return *reinterpret_cast<Box*>(data); }

void ButtonsCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  Box& b = Of(data);
  if (value == kOK) {
    Take(b);
  } else {
    b.confirmed = false;
    I_Deactivate(b.context);
  }
}

// Return in the folder field or the names shown has done its work there;
// elsewhere it is OK. Escape is Cancel.
void KeysCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  Box& b = Of(data);
  const Widget focus = static_cast<CWShell>(I_AccessWidget(b.context, -1))->focusWidget;
  if (value == kOK && (focus == I_AccessWidget(b.context, kFolder) || focus == I_AccessWidget(b.context, kShown))) return;
  ButtonsCB(b.context, kButtons, value, data);
}

void EntriesCB(I_Context, std::int32_t, std::int32_t value, std::uintptr_t data) {
  Box& b = Of(data);
  if (value < 0 || static_cast<std::size_t>(value) >= b.entries.size()) return;
  const Entry e = b.entries[static_cast<std::size_t>(value)];
  // A double click counts on the entry clicked first only.
  const bool twice = I_WasDoubleClick() && value == b.clicked;
  b.clicked = value;
  if (twice) {
    if (e.folder) Open(b, Resolve(b, e.name));
    else Finish(b, Resolve(b, e.name));
    return;
  }
  I_PutSTRING(b.context, kName, e.name);
  I_PutSTRING(b.context, kNote, " ");
}

void FolderCB(I_Context, std::int32_t, StrIn value, std::uintptr_t data) {
  Box& b = Of(data);
  const std::string path = Resolve(b, value.Str());
  if (IsFolder(path)) {
    Open(b, path);
  } else {
    I_PutSTRING(b.context, kFolder, b.folder);
    Note(b, kNotAFolder, path);
  }
}

void ShownCB(I_Context, std::int32_t, StrIn, std::uintptr_t data) { Fill(Of(data)); }

void UpCB(I_Context, std::int32_t, std::int32_t, std::uintptr_t data) {
  Box& b = Of(data);
  Open(b, Resolve(b, ".."));
}

// Where the box opens: the folder of `start` (and its file's name), or the
// nearest folder above that exists.
void Begin(Box& b, StrIn start) {
  std::string path = start.Str();
  if (path.empty()) {
    PathStr projects;
    DirAcces_IncludeSpecialPath(DirAcces_TV_PROJECTS, "", projects);
    path = StrIn(projects).Str();
  }
  path = fs::absolute(fs::path(path)).lexically_normal().string();
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  std::string name;
  if (!IsFolder(path)) {
    name = fs::path(path).filename().string();
    path = fs::path(path).parent_path().string();
    while (!path.empty() && path != "/" && !IsFolder(path)) path = fs::path(path).parent_path().string();
    if (path.empty()) path = "/";
  }
  Open(b, path);
  if (b.folders || !Exists(Resolve(b, name))) return;
  I_PutSTRING(b.context, kName, name);
  for (std::size_t i = 0; i < b.entries.size(); ++i) {
    if (!b.entries[i].folder && b.entries[i].name == name) I_PutINTEGER(b.context, kEntries, static_cast<std::int32_t>(i));
  }
}

bool Run(StrIn title, StrIn filter, bool folders, StrIn start, IFileSel_CheckProc check, StrOut chosen) {
  const std::string startValue = start.Str();
  Strings_Assign(startValue, chosen);
  Box b;
  b.context = Messages_Quietly([] {
    Messages_UseMsgCat("IFILESELmsg");
    I_UseContextCat("IFILESELdlg");
    return I_Create("IFileSel_Box", false);
  });
  if (b.context == nullptr) return false;
  b.folders = folders;
  b.check = check;
  if (!filter.Empty()) b.filter = SRegExpr_Create(filter);
  TextStr heading;
  if (title.Empty()) Messages_GetMsg(section, folders ? kDirTitle : kFileTitle, heading);
  else Strings_Assign(title, heading);
  I_SetReprAttr(b.context, -1, SIdPool_EnterId("title"), heading, static_cast<std::uint32_t>(std::strlen(heading) + 1));
  I_PutSTRING(b.context, kHeading, heading);
  Begin(b, startValue);
  const auto data = reinterpret_cast<std::uintptr_t>(&b);
  I_SetINTEGERcallback(b.context, kButtons, ButtonsCB, data);
  I_SetINTEGERcallback(b.context, kKeys, KeysCB, data);
  I_SetINTEGERcallback(b.context, kEntries, EntriesCB, data);
  I_SetSTRINGcallback(b.context, kFolder, FolderCB, data);
  I_SetSTRINGcallback(b.context, kShown, ShownCB, data);
  I_SetINTEGERcallback(b.context, kUp, UpCB, data);
  I_Activate(b.context);
  I_Dialog(b.context);
  I_Destroy(b.context);
  SRegExpr_Destroy(b.filter);
  if (b.confirmed) Strings_Assign(b.chosen, chosen);
  return b.confirmed;
}

}  // namespace

bool IFileSel_SelectAFile(StrIn title, StrIn filter, StrIn start, StrOut file) {
  return Run(title, filter, false, start, nullptr, file);
}

bool IFileSel_SelectACheckedFile(StrIn title, StrIn filter, StrIn start, IFileSel_CheckProc check, StrOut file) {
  return Run(title, filter, false, start, check, file);
}

bool IFileSel_SelectADir(StrIn title, StrIn start, StrOut directory) {
  return Run(title, "", true, start, nullptr, directory);
}
