// WFdesc: checking a description against the module kinds and making a
// workflow in memory match it.
#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <string>

#include "base/BConvert.h"
#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SPrintf.h"
#include "frontends/FEautost.h"
#include "tools/WFdesc.h"
#include "workflow/AutoMisc.h"

extern char WFdesc_section[kSectionCap];

namespace {

// messages: WFdesc 1 4 10-15 17-19 22
constexpr unsigned kUnknownKind = 1;     // with the kind
constexpr unsigned kUnknownOut = 4;      // with the name
constexpr unsigned kNoStart = 10;
constexpr unsigned kSecondStart = 11;
constexpr unsigned kOutCount = 12;       // with the name, the outs given and those taken
constexpr unsigned kLoop = 13;           // with the name
constexpr unsigned kUnreached = 14;      // with the name
constexpr unsigned kStartAsOut = 15;     // with the name
constexpr unsigned kSharedTwice = 17;    // with the kind
constexpr unsigned kUnexpected = 18;     // with the word
constexpr unsigned kStartDirInUse = 19;  // with the directory
constexpr unsigned kBadTransfer = 22;    // with the value

constexpr WFfolder_FolderKind kDeleteKind = 46;
constexpr std::uint32_t kMaxTransferMode = 3;

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

// One folder of the description with what it has become.
struct Node {
  const WFdesc_Folder* line;
  WFfolder_FolderKind kind;
  WFconfig_Entry component{};
  bool isEnd = false;          // another name of "outdir"
  WFfolder folder = nullptr;
};

struct Applier {
  const WFdesc_Description& description;
  WFbase workflow;
  std::vector<WFfolder>& removed;
  WFdesc_Error& error;
  std::vector<Node> nodes{};
  std::map<std::string, std::size_t> byName{};  // folder name -> node
  std::size_t start = 0;
  WFfolder outdir = nullptr;

  bool Fail(std::uint32_t line, unsigned number, StrIn first = "", std::int64_t a = -1,
            std::int64_t b = -1) {
    error.line = line;
    Messages_GetMsg(WFdesc_section, number, error.text);
    if (!first.Empty()) SPrintf_String(error.text, first);
    if (a >= 0) SPrintf_Int64(error.text, a);
    if (b >= 0) SPrintf_Int64(error.text, b);
    return false;
  }

  bool FailText(std::uint32_t line, StrIn text) {
    error.line = line;
    Strings_Assign(text, error.text);
    return false;
  }

  // --- The meaning ---------------------------------------------------------------------

  WFfolder_FolderKind KindOf(StrIn text, WFconfig_Entry& component) {
    const std::string wanted = Lower(text.View());
    for (WFfolder_FolderKind kind = 1; kind <= kWFfolderMaxKind; ++kind) {
      NameStr name;
      WFfolder_GetNameByKind(kind, name);
      if (!StrIn(name).Empty() && Lower(StrIn(name).View()) == wanted) return kind;
    }
    return WFfolder_KindByName(text, component);
  }

  bool Kinds() {
    bool haveStart = false, haveDelete = false;
    for (const WFdesc_Folder& line : description.folders) {
      Node node{&line, 0};
      node.kind = KindOf(line.kind, node.component);
      if (node.kind == 0) return Fail(line.line, kUnknownKind, line.kind);
      node.isEnd = node.kind == kWFfolderEnd;
      if (node.isEnd && !line.outs.empty()) {
        return Fail(line.line, kOutCount, line.name, static_cast<std::int64_t>(line.outs.size()), 0);
      }
      if (node.isEnd && !line.params.empty()) return Fail(line.line, kUnexpected, line.params[0].key);
      if (node.kind == kWFfolderStart) {
        if (haveStart) return Fail(line.line, kSecondStart);
        haveStart = true;
        start = nodes.size();
      }
      if (node.kind == kDeleteKind) {
        if (haveDelete) return Fail(line.line, kSharedTwice, line.kind);
        haveDelete = true;
      }
      byName.emplace(StrIn(line.name).Str(), nodes.size());
      nodes.push_back(node);
    }
    if (!haveStart) return Fail(description.lines, kNoStart);
    return true;
  }

  // The node an out name stands for; nodes.size() for "outdir".
  bool Out(const WFdesc_Folder& line, const WFdesc_Name& out, std::size_t& index) {
    if (Strings_Equal(out.text, WFdesc_outdir)) {
      index = nodes.size();
      return true;
    }
    const auto found = byName.find(StrIn(out.text).Str());
    if (found == byName.end()) return Fail(line.line, kUnknownOut, out.text);
    index = nodes[found->second].isEnd ? nodes.size() : found->second;
    if (index == start) return Fail(line.line, kStartAsOut, line.name);
    return true;
  }

  // Depth first from the start: a folder met again on its own road closes a
  // loop; a folder never met is not reached.
  bool Walk(std::size_t index, std::vector<int>& state) {
    const WFdesc_Folder& line = *nodes[index].line;
    state[index] = 1;
    for (const WFdesc_Name& out : line.outs) {
      std::size_t next = 0;
      if (!Out(line, out, next)) return false;
      if (next == nodes.size() || state[next] == 2) continue;
      if (state[next] == 1) return Fail(line.line, kLoop, line.name);
      if (!Walk(next, state)) return false;
    }
    state[index] = 2;
    return true;
  }

  bool Graph() {
    std::vector<int> state(nodes.size(), 0);
    if (!Walk(start, state)) return false;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      if (state[i] == 0 && !nodes[i].isEnd) return Fail(nodes[i].line->line, kUnreached, nodes[i].line->name);
    }
    return true;
  }

  // --- The folders -----------------------------------------------------------------------

  static bool HasRcFile(WFfolder folder) {
    NameStr name;
    WFfolder_GetRcFileName(folder, name);
    return !StrIn(name).Empty();
  }

  static bool Labelled(WFfolder folder, StrIn label) {
    NameStr own;
    return SAutoRcF_GetDescription(WFfolder_RcFile(folder), own) && Strings_Equal(own, label);
  }

  // A folder of the workflow of the same kind (and component) and name; a
  // kind without rc has one fixed directory and needs no name.
  WFfolder Existing(const Node& node, const std::vector<WFfolder>& old, std::set<WFfolder>& taken) {
    for (WFfolder folder : old) {
      if (taken.count(folder) != 0 || WFfolder_Kind(folder) != node.kind) continue;
      NameStr name;
      WFfolder_GetName(folder, name);
      if (!Strings_Equal(StrIn(name), node.line->kind) && WFfolder_UserDefKind(node.kind)) continue;
      if (HasRcFile(folder) && !Labelled(folder, node.line->name)) continue;
      taken.insert(folder);
      return folder;
    }
    return nullptr;
  }

  // Whether `path` is free for a new folder: not there, or a directory that
  // a failed install left behind without files.
  static bool Free(StrIn path) {
    DirAcces_Stat stat;
    if (!Messages_Quietly([&] { return DirAcces_LFileStatN(path, stat); })) return true;
    return stat.isDirectory && !AutoMisc_HoldsFiles(path, false);
  }

  // A new folder in a directory nobody uses.
  WFfolder Create(const Node& node) {
    const WFconfig_Entry* entry = WFfolder_UserDefKind(node.kind) ? &node.component : nullptr;
    PathStr path;
    WFbase_BuildFolderPath(workflow, node.kind, entry, path);
    std::uint32_t number = 0;
    NameStr name;
    WFbase_GetName(workflow, name);
    WFbase_SplitFolderPath(name, path, number);
    while (node.kind != kDeleteKind && !Free(path)) {
      WFbase_BuildFolderPathExt(workflow, node.kind, entry, ++number, path);
    }
    return WFbase_CreateFolder(workflow, node.kind, SAutoRcF_Create(), path, false);
  }

  void Label(WFfolder folder, StrIn label) {
    if (!HasRcFile(folder) || Labelled(folder, label)) return;
    SAutoRcF_SetDescription(WFfolder_RcFile(folder), label);
    WFfolder_SetModified(folder, true);
  }

  // The start folder's transfer mode and start directory go through the
  // workflow: without a parameter they are 0 and the default directory.
  bool StartParams(WFfolder folder, const WFdesc_Folder& line) {
    std::uint32_t mode = 0;
    PathStr startDir;
    WFfolder_GetPath(folder, startDir);
    for (const WFdesc_Param& param : line.params) {
      if (Strings_Equal(param.key, WFbase_optStartDir)) Strings_Assign(param.value, startDir);
      if (!Strings_Equal(param.key, WFbase_optMode)) continue;
      NameStr text;
      Strings_Assign(param.value, text);
      if (!BConvert_StrToCard(text, mode) || !StrIn(text).Empty() || mode > kMaxTransferMode) {
        return Fail(line.line, kBadTransfer, param.value);
      }
    }
    if (WFbase_GetStartTransferMode(workflow) != mode) {
      WFbase_SetStartTransferMode(workflow, static_cast<std::uint8_t>(mode));
    }
    PathStr current;
    WFfolder_GetStringOptDef(folder, WFbase_optStartDir, "", current);
    if (Strings_Equal(current, startDir) || WFbase_SetStartDir(workflow, startDir, false)) return true;
    return Fail(line.line, kStartDirInUse, startDir);
  }

  // The start's parameters as the dialog's OK would take them: a file mode
  // given without AUTOMODE is the operator's choice, not the graph's; then
  // the front end's checks, and the values that follow (FILESREGEXP, the
  // remote starts). A refusal is the description's fault at the start's line.
  bool StartModel(WFfolder model, const WFdesc_Folder& line) {
    const auto given = [&](StrIn key) {
      return std::any_of(line.params.begin(), line.params.end(),
                         [&](const WFdesc_Param& param) { return Strings_Equal(param.key, key); });
    };
    if (given(WFbase_optFileMode) && !given(WFbase_optAutoMode)) {
      WFfolder_SetBoolOpt(model, WFbase_optAutoMode, false);
    }
    NameStr name;
    WFbase_GetName(workflow, name);
    PathStr path;
    WFfolder_GetPath(model, path);
    TextStr message;
    if (FEautost_ApplyParams(name, WFfolder_RcFile(model), path, message)) return true;
    return FailText(line.line, message);
  }

  // The first command follows transfer and file mode as they stand now.
  static void StartCommand(WFfolder folder) {
    SAutoRcF rc = WFfolder_RcFile(folder);
    PathStr path;
    WFfolder_GetPath(folder, path);
    TextStr wanted, current;
    std::int32_t fileMode = kFEautostAnyFile;
    if (!SAutoRcF_GetIntOpt(rc, WFbase_optFileMode, fileMode)) fileMode = kFEautostAnyFile;
    FEautost_BuildCmd(FEautost_GetTransferMode(rc), static_cast<std::uint32_t>(fileMode), path, wanted);
    SAutoRcF_GetFirstCmd(rc, current);
    if (Strings_Equal(current, wanted)) return;
    FEautost_SetFolderPath(rc, path);
    WFfolder_SetModified(folder, true);
  }

  // What the workflow keeps itself, whatever a description says: the
  // reserved keys, and the start folder's options of the whole workflow.
  static bool Kept(bool start, const std::string& key) {
    if (key.empty() || key[0] == '_') return true;
    if (!start) return false;
    for (const char* own : {WFbase_optStartDir, WFbase_optMode, WFbase_optDoSync, WFbase_optSyncSlaves,
                            WFbase_optLocked}) {
      if (key == own) return true;
    }
    return key.starts_with(WFbase_optOverwriteInEnd);
  }

  static std::vector<std::pair<std::string, std::string>> Options(WFfolder folder) {
    std::vector<std::pair<std::string, std::string>> all;
    NameStr key;
    TextStr value;
    SAutoRcF rc = WFfolder_RcFile(folder);
    for (bool more = SAutoRcF_GetFirstOpt(rc, key, value); more; more = SAutoRcF_GetNextOpt(rc, key, value)) {
      all.emplace_back(StrIn(key).Str(), StrIn(value).Str());
    }
    return all;
  }

  // The rc becomes what a new folder of the kind would hold with the
  // description's parameters and outs (a model made on the side tells, also
  // the out keys that some kinds keep under names of their own); anything
  // else goes, except what the workflow keeps.
  bool Params(const Node& node) {
    const bool start = node.kind == kWFfolderStart;
    PathStr path;
    WFfolder_GetPath(node.folder, path);
    WFfolder model = WFfolder_Create(node.kind, path, SAutoRcF_Create());
    WFfolder_SetDefaultParams(model);
    for (const WFdesc_Param& param : node.line->params) WFfolder_SetStringOpt(model, param.key, param.value);
    if (start && !(StartModel(model, *node.line) && StartParams(node.folder, *node.line))) {
      WFfolder_Destroy(model);
      return false;
    }
    for (std::size_t index = 1; index <= node.line->outs.size() && index <= kWFfolderMaxOuts; ++index) {
      std::size_t target = nodes.size();
      Out(*node.line, node.line->outs[index - 1], target);
      WFfolder_SetOutFolder(model, static_cast<std::uint32_t>(index), FolderOf(target));
    }
    // With the automatic file mode the workflow chooses the start's file
    // mode (WFbase_SetFolderMode): it stays as the last install chose it.
    const bool autoFileMode = start && WFfolder_GetBoolOptDef(model, WFbase_optAutoMode, false);
    const auto kept = [&](const std::string& key) {
      return Kept(start, key) || (autoFileMode && key == WFbase_optFileMode);
    };
    std::map<std::string, std::string> wanted;
    for (const auto& [key, value] : Options(model)) {
      if (!kept(key)) wanted.emplace(key, value);
    }
    WFfolder_Destroy(model);
    for (const auto& [key, value] : wanted) {
      TextStr current;
      if (!SAutoRcF_GetOpt(WFfolder_RcFile(node.folder), key, current) || current != value) {
        WFfolder_SetStringOpt(node.folder, key, value);
      }
    }
    for (const auto& [key, value] : Options(node.folder)) {
      if (wanted.count(key) == 0 && !kept(key)) WFfolder_UnsetOpt(node.folder, key);
    }
    if (start) StartCommand(node.folder);
    return true;
  }

  WFfolder FolderOf(std::size_t index) const { return index == nodes.size() ? outdir : nodes[index].folder; }

  bool Outs(const Node& node) {
    const WFdesc_Folder& line = *node.line;
    const std::uint32_t count = WFfolder_OutdirCount(node.folder);
    if (count != line.outs.size()) {
      return Fail(line.line, kOutCount, line.name, static_cast<std::int64_t>(line.outs.size()), count);
    }
    for (std::uint32_t index = 1; index <= kWFfolderMaxOuts; ++index) {
      std::size_t target = nodes.size();
      if (index <= count && !Out(line, line.outs[index - 1], target)) return false;
      WFfolder wanted = index <= count ? FolderOf(target) : nullptr;
      // Linked in memory, and named so in the rc.
      PathStr stored, path;
      WFfolder_GetPath(wanted, path);
      const bool same = WFfolder_OutFolder(node.folder, index) == wanted &&
                        (wanted == nullptr || (WFfolder_GetOutdir(WFfolder_RcFile(node.folder), node.kind, index,
                                                                  stored) &&
                                               Strings_Equal(stored, path)));
      if (!same) WFfolder_SetOutFolder(node.folder, index, wanted);
    }
    return true;
  }

  bool Build() {
    // The folders there are now, before anything changes.
    std::vector<WFfolder> old;
    WFbase_FolderList list = WFbase_GetAllFolders(workflow);
    for (WFbase_FolderList entry = list; entry != nullptr; entry = entry->next) old.push_back(entry->folder);
    WFbase_DestroyFolderList(list);
    std::set<WFfolder> taken;
    // The end directory as a rebuild reads it back: an end folder. A new
    // workflow's invisible end there makes way for it; it is no folder of
    // the description's, and its directory stays.
    PathStr outdirPath;
    WFbase_GetDefaultOutdir(workflow, outdirPath);
    outdir = WFbase_FindFolder(workflow, outdirPath);
    if (WFfolder_Kind(outdir) != kWFfolderEnd) {
      taken.insert(outdir);
      WFbase_AddFolderToRemove(workflow, outdir);
      outdir = WFbase_CreateFolder(workflow, kWFfolderEnd, SAutoRcF_Nil(), outdirPath, false);
    }
    taken.insert(outdir);
    // Each folder found again or made; then, with all of them there, the
    // parameters and outs of each.
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      Node& node = nodes[i];
      if (node.isEnd) continue;
      if (i == start) {
        node.folder = WFbase_StartFolder(workflow);
        taken.insert(node.folder);
      } else {
        node.folder = Existing(node, old, taken);
        if (node.folder == nullptr) node.folder = Create(node);
        Label(node.folder, node.line->name);
      }
    }
    for (const Node& node : nodes) {
      if (!node.isEnd && !(Params(node) && Outs(node))) return false;
    }
    // What the description no longer has goes at the install.
    for (WFfolder folder : old) {
      if (taken.count(folder) != 0) continue;
      WFbase_AddFolderToRemove(workflow, folder);
      removed.push_back(folder);
    }
    WFbase_SetFolderMode(workflow);
    bool changed = !removed.empty();
    WFbase_FolderList now = WFbase_GetAllFolders(workflow);
    for (WFbase_FolderList entry = now; entry != nullptr; entry = entry->next) {
      changed = changed || WFfolder_Modified(entry->folder);
    }
    WFbase_DestroyFolderList(now);
    if (changed) WFbase_SetModified(workflow, true);
    return true;
  }
};

}  // namespace

bool WFdesc_Apply(const WFdesc_Description& description, WFbase workflow,
                  std::vector<WFfolder>& removed, WFdesc_Error& error, std::vector<WFdesc_Made>* made) {
  error = WFdesc_Error{};
  Applier applier{description, workflow, removed, error};
  if (!(applier.Kinds() && applier.Graph() && applier.Build())) return false;
  if (made != nullptr) {
    made->clear();
    for (const Node& node : applier.nodes) made->push_back({node.isEnd ? applier.outdir : node.folder, node.line});
  }
  return true;
}
