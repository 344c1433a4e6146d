// WFstatusContent: the content window of a folder.
//
// The window's life: made at the first WFstatus_ShowFolderContent, shown
// with one folder at a time (another folder replaces it), hidden by Close,
// the window manager, or a change of the workflow or the mode; refreshed by
// WFstatus_UpdateFolderContent while shown.
#include "manager/WFstatusContent.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SwitchBd.h"
#include "manager/WFstatusContentPrivate.h"
#include "manager/WFstatusView.h"
#include "toolkit/ITreeSel.h"
#include "toolkit/Imisc.h"
#include "watch/WFjobStat.h"
#include "workflow/WFticket.h"
#include "workflow/WFtvwCfg.h"

namespace {

constexpr WFfolder_FolderKind kNoContent = 33;  // the log folder
constexpr WFfolder_FolderKind kSortFolder = 44;
constexpr unsigned kAskDelete = 50, kAskDeleteAll = 51, kChooseTarget = 54, kInfo = 57, kTicketImage = 58,
                   kTitle = 60, kOptionsNotSaved = 61, kNameHeader = 62, kStateHeader = 63, kModifiedHeader = 64;
constexpr std::int32_t kLampOff = 0, kLampWatched = 1, kLampDiscFull = 2, kLampRemote = 3;
constexpr std::uint32_t kOnlyImagesOff = WFstatus_AllFiles;

struct Content {
  I_Context context = nullptr;
  WtTableD_Table tables[2] = {nullptr, nullptr};
  SwitchBd_Inlet inlet = nullptr;
  WFfolder folder = nullptr;   // the window's own copy of the folder shown
  std::string folderDir;       // its directory
  std::string outputDir;       // where an end puts its files; empty when none
  std::string directory;       // the directory listed
  WFstatus_DirStamp stamp;     // of the directory when listed
  std::uint32_t listedMode = kOnlyImagesOff;
  bool listed = false;
  bool twoLists = false;       // a check folder: colour and line work apart
  WFstatus_FileList files, partners;
  ITreeSel_DirTree dirs = nullptr;
  WFstatus_DirStamp dirsStamp;
};
Content c;

std::uint32_t OnlyImagesMode() {
  if (!I_GetBOOLEAN(c.context, WFstatus_kCntOnlyImages)) return kOnlyImagesOff;
  return WFfolder_JobticketMode(c.folder) ? WFstatus_ImagesAndTickets : WFstatus_OnlyImages;
}

// --- The lists -------------------------------------------------------------------------------

std::vector<std::string> SelectedNames() {
  std::vector<std::string> names;
  for (const WFstatus_FileList* list : {&c.files, &c.partners})
    for (const WFstatus_File& f : *list)
      if (f.link.selected) names.emplace_back(f.name);
  return names;
}

std::vector<std::string> AllNames() {
  std::vector<std::string> names;
  for (const WFstatus_FileList* list : {&c.files, &c.partners})
    for (const WFstatus_File& f : *list) names.emplace_back(f.name);
  std::sort(names.begin(), names.end());
  return names;
}

void PutList(std::int32_t number, WFstatus_FileList& list) {
  WtTableD_Record* first = WFstatus_LinkFileList(list);
  I_PutGeneric(c.context, number, &first);
}

// Puts both lists; a check folder's line work goes to the second.
void PutLists() {
  PutList(WFstatus_kCntFiles, c.files);
  PutList(WFstatus_kCntPartners, c.partners);
}

// Shows new lists. The tables read the rows they showed while they take
// the new ones, so the old rows go only after that.
void ShowLists(WFstatus_FileList files, WFstatus_FileList partners) {
  std::swap(c.files, files);
  std::swap(c.partners, partners);
  PutLists();
}

// Empties the directory pane before its tree goes.
void DropDirs() {
  CWTree_Node* none = nullptr;
  I_PutGeneric(c.context, WFstatus_kCntDirs, &none);
  ITreeSel_DestroyDirTree(c.dirs);
}

// The commands the files and the selection allow.
void EnableCommands() {
  const bool any = !c.files.empty() || !c.partners.empty();
  const bool chosen = !SelectedNames().empty();
  const bool startable = WFfolder_Startable(c.folder);
  const bool stopped = WFstatus_FolderStopped(c.folder);
  bool handled = false;
  for (const WFstatus_FileList* list : {&c.files, &c.partners})
    for (const WFstatus_File& f : *list) handled = handled || f.listedReady;
  std::uint32_t mask = 1u << WFstatus_cntClose | 1u << WFstatus_cntLog;
  const auto allow = [&mask](std::int32_t command, bool on) {
    if (on) mask |= 1u << command;
  };
  for (const std::int32_t command : {WFstatus_cntRedo, WFstatus_cntDelete, WFstatus_cntView, WFstatus_cntInfo,
                                     WFstatus_cntStartFiles, WFstatus_cntMove})
    allow(command, chosen);
  allow(WFstatus_cntDeleteAll, any);
  allow(WFstatus_cntRedoAll, handled);
  allow(WFstatus_cntStartFolder, startable && stopped);
  allow(WFstatus_cntStopFolder, startable && !stopped);
  I_SetEnabledState(c.context, WFstatus_kCntCommand, mask);
}

void PutLamp() {
  NameStr host = "";
  std::int32_t lamp = kLampOff;
  if (!WFbase_LocalFolder(c.folderDir)) {
    lamp = kLampRemote;
    WFbase_GetInstallerHost(c.folderDir, host);
  } else if (WFstatus_TargetDiscFull(c.folder)) {
    lamp = kLampDiscFull;
  } else if (WFtvwCfg_GetEntry(c.folderDir) != nullptr) {
    lamp = kLampWatched;
  }
  I_PutINTEGER(c.context, WFstatus_kCntLamp, lamp);
  I_PutSTRING(c.context, WFstatus_kCntHost, host);
}

// A new list of the directory, shown: read (or taken from the cache),
// filtered by the mode, its states set against the list shown;
// `askUnchanged`: the demon is asked about unchanged files too.
void MakeLists(bool askUnchanged) {
  WFstatus_FileList files;
  WFstatus_CreateFileList(c.directory, files);
  const std::uint32_t mode = OnlyImagesMode();
  std::erase_if(files, [mode](const WFstatus_File& f) { return !WFstatus_FileShown(StrIn::C(f.name), mode); });
  WFstatus_FileList old = c.files;
  old.insert(old.end(), c.partners.begin(), c.partners.end());
  std::sort(old.begin(), old.end(),
            [](const WFstatus_File& a, const WFstatus_File& b) { return std::strcmp(a.name, b.name) < 0; });
  WFstatus_SetStatus(c.folder, c.directory, files, old, askUnchanged);
  WFstatus_FileList own, partners;
  for (WFstatus_File& f : files) (c.twoLists && WFstatus_IsLineWorkFile(f.name) ? partners : own).push_back(f);
  ShowLists(std::move(own), std::move(partners));
  c.listedMode = mode;
  c.listed = true;
}

// Between new lists only the job table changes states. A file whose job
// left the queue while the directory stayed the same wants a new list.
bool TakeJobStates(bool& changed) {
  for (WFstatus_FileList* list : {&c.files, &c.partners})
    for (WFstatus_File& f : *list) {
      const std::uint8_t job = WFstatus_JobState(c.folder, c.directory, f.name);
      if (job == 0 && (f.state == WFstatus_fsQueued || f.state == WFstatus_fsRunning)) return false;
      if (job != 0 && job != f.state) {
        f.state = job;
        changed = true;
      }
    }
  return true;
}

bool HasJobs() {
  for (const WFstatus_FileList* list : {&c.files, &c.partners})
    for (const WFstatus_File& f : *list)
      if (f.state == WFstatus_fsQueued || f.state == WFstatus_fsRunning) return true;
  return WFjobStat_FolderStatus(c.directory) != 0;
}

// The directory pane: the folder's sub-directories, read anew when the
// folder's directory changed.
bool OmitDir(StrIn name, std::uintptr_t) {
  const TVWcfg_Entry* entry = WFtvwCfg_GetEntry(c.folderDir);
  return entry != nullptr && WFtvwCfg_MyOmitDir(entry->omit, name);
}

void UpdateDirs() {
  WFstatus_DirStamp now;
  WFstatus_StampDir(c.folderDir, now);
  if (c.dirs != nullptr && WFstatus_SameStamp(c.dirsStamp, now)) return;
  c.dirsStamp = now;
  const std::string selected = c.directory;
  DropDirs();
  c.dirs = ITreeSel_CreateDirTree(c.folderDir, "", OmitDir, 0);
  CWTree_Node* top = *ITreeSel_DirTreeValue(c.dirs);
  top->selected = selected == c.folderDir;
  for (CWTree_Node* n = top->firstChild; n != nullptr; n = n->next)
    n->selected = ITreeSel_NodePath(c.dirs, n) == selected;
  I_PutBOOLEAN(c.context, WFstatus_kCntHasDirs, top->firstChild != nullptr);
  I_PutGeneric(c.context, WFstatus_kCntDirs, ITreeSel_DirTreeValue(c.dirs));
}

// 1. The directory and its stamp; 2. a new list when they or the mode
// changed, else the job table's states; 3. lamp, pane and commands.
void Refresh(bool force) {
  WFjobStat_Update();
  WFstatus_DirStamp now;
  WFstatus_StampDir(c.directory, now);
  bool changed = false;
  // A directory read too soon after its last change is read again, but
  // what the demon said of the files that stayed is kept.
  const bool changedOnDisk = force || !c.listed || !WFstatus_SameDir(c.stamp, now) || c.listedMode != OnlyImagesMode();
  bool renew = changedOnDisk || !WFstatus_SameStamp(c.stamp, now);
  if (!renew && HasJobs()) renew = !TakeJobStates(changed);
  if (renew) {
    MakeLists(changedOnDisk);
    c.stamp = now;
  } else if (changed) {
    PutLists();
  }
  PutLamp();
  if (WFfolder_SubdirMode(c.folder) || WFfolder_Kind(c.folder) == kSortFolder) UpdateDirs();
  EnableCommands();
}

void ShowDirectory(const std::string& dir) {
  c.directory = dir;
  PathStr shown;
  // A link shows where it leads.
  if (!Messages_Quietly([&] { return DirAcces_RealPath(dir, shown); })) Strings_Assign(dir, shown);
  I_PutSTRING(c.context, WFstatus_kCntPath, shown);
  Refresh(true);
}

// --- Commands ---------------------------------------------------------------------------------

void Changed() {
  WFstatus_ForgetDir(c.directory);
  WFbase_Announce(WFbase_msgFolderContentChanged);
  if (WFstatus_FolderContentShown()) Refresh(true);
}

bool Ask(unsigned number, std::size_t count) {
  return Imisc_StrYes(WFstatus_Text(number, {std::to_string(count), c.directory}));
}

void Info() {
  const std::vector<std::string> names = SelectedNames();
  if (names.empty()) return;
  const std::string path = c.directory + "/" + names.front();
  std::string state, modified, size = "0";
  for (const WFstatus_FileList* list : {&c.files, &c.partners})
    for (const WFstatus_File& f : *list)
      if (names.front() == f.name) {
        TextStr text;
        Messages_GetMsg(WFstatus_section, WFstatus_StateMessage(f.state), text);
        state = StrIn(text).Str();
        modified = f.modifiedText;
        size = std::to_string(f.size);
      }
  std::string text = WFstatus_Text(kInfo, {path, state, size, modified});
  if (WFticket_IsTicketFile(names.front())) {
    PathStr image;
    if (WFticket_LoadImageReference(path, true, image) && !StrIn(image).Empty())
      text += "\n" + WFstatus_Text(kTicketImage, {StrIn(image).Str()});
    else
      text += "\n" + WFstatus_Text(29, {names.front()});  // messages: WFstatus 29
  }
  Imisc_StrNotify(text, 0);
}

// Shows the file selected; in pair mode a colour file with its line-work
// partner side by side.
void View() {
  const std::vector<std::string> names = SelectedNames();
  if (names.empty()) return;
  const std::uint32_t display = static_cast<std::uint32_t>(I_GetINTEGER(c.context, WFstatus_kCntDisplayMode));
  if (I_GetINTEGER(c.context, WFstatus_kCntPairMode) != 0 && names.size() == 2 &&
      WFstatus_IsCoupledAHF(names[0], names[1])) {
    const bool firstIsLineWork = WFstatus_IsLineWorkFile(names[0]);
    WFstatus_DisplayCTLW(c.directory, names[firstIsLineWork ? 1 : 0], names[firstIsLineWork ? 0 : 1], display);
    return;
  }
  WFstatus_DisplayFile(c.directory, names.front(), display);
}

void Move(bool all) {
  const std::vector<std::string> names = all ? AllNames() : SelectedNames();
  PathStr target;
  if (names.empty() || !ITreeSel_SelectADirectory(WFstatus_Text(kChooseTarget, {}), "", target)) return;
  WFstatus_MoveFiles(c.directory, names, target);
  Changed();
}

// While a command of the window runs, what it tells the switchboard is
// its own business: it refreshes once when done.
bool inCommand = false;

void Command(std::int32_t command) {
  switch (command) {
    case WFstatus_cntClose: return WFstatus_CloseFolderContent();
    case WFstatus_cntRedo:
      WFstatus_RedoFiles(c.directory, SelectedNames());
      return Changed();
    case WFstatus_cntRedoAll:
      WFstatus_RedoFiles(c.directory, AllNames());
      return Changed();
    case WFstatus_cntDelete:
    case WFstatus_cntDeleteAll: {
      const bool all = command == WFstatus_cntDeleteAll;
      const std::vector<std::string> names = all ? AllNames() : SelectedNames();
      if (names.empty() || !Ask(all ? kAskDeleteAll : kAskDelete, names.size())) return;
      WFstatus_DeleteFiles(c.directory, names);
      return Changed();
    }
    case WFstatus_cntView: return View();
    case WFstatus_cntInfo: return Info();
    case WFstatus_cntStartFiles:
      WFstatus_StartFiles(c.directory, SelectedNames());
      return Refresh(true);
    case WFstatus_cntLog:
      WFstatus_ShowLog(c.folderDir);
      return;
    case WFstatus_cntStartFolder:
      WFstatus_StartFolder(c.folder);
      return Refresh(true);
    case WFstatus_cntStopFolder:
      WFstatus_StopFolder(c.folder);
      return Refresh(true);
    default: return Move(command != WFstatus_cntMove);
  }
}

void CommandCB(I_Context, std::int32_t, std::int32_t command, std::uintptr_t) {
  inCommand = true;
  Command(command);
  inCommand = false;
}

// The user chose rows: in pair mode the partners follow.
void FilesCB(I_Context, std::int32_t number, void*, std::uintptr_t) {
  if (number == WFstatus_kCntFiles && I_GetINTEGER(c.context, WFstatus_kCntPairMode) != 0 &&
      WFstatus_SelectPartner(c.files, c.partners))
    PutList(WFstatus_kCntPartners, c.partners);
  EnableCommands();
  if (I_WasDoubleClick()) View();
}

void DirsCB(I_Context, std::int32_t, void*, std::uintptr_t) {
  if (ITreeSel_FillOpened(c.dirs)) I_PutGeneric(c.context, WFstatus_kCntDirs, ITreeSel_DirTreeValue(c.dirs));
  const std::vector<std::string> chosen = ITreeSel_SelectedPaths(c.dirs, false);
  if (!chosen.empty() && chosen.front() != c.directory) ShowDirectory(chosen.front());
}

void ToggleCB(I_Context, std::int32_t number, bool value, std::uintptr_t) {
  if (number == WFstatus_kCntShowDirs && !value && c.directory != c.folderDir) return ShowDirectory(c.folderDir);
  if (number == WFstatus_kCntOutput) return ShowDirectory(value && !c.outputDir.empty() ? c.outputDir : c.folderDir);
  if (number == WFstatus_kCntOnlyImages) {
    // The start folder's FILEMODE is a parameter of its own.
    if (WFfolder_Kind(c.folder) != kWFfolderStart && WFfolder_RcFile(c.folder) != nullptr) {
      WFfolder_SetCardOpt(c.folder, "FILEMODE", OnlyImagesMode());
      WFfolder_SaveOptions(c.folder);
    }
    Refresh(false);
  }
}

void ModeCB(I_Context, std::int32_t, std::int32_t, std::uintptr_t) { WFstatus_SaveCheckOpts(); }

void CloseCB(I_Context, bool, std::uintptr_t) { WFstatus_CloseFolderContent(); }

void SwitchboardCB(std::uintptr_t message) {
  if (!WFstatus_FolderContentShown() || inCommand) return;
  const char* text = reinterpret_cast<const char*>(message);
  if (text == WFbase_msgWorkflowChanged || text == WFbase_msgModeChanged || text == WFbase_msgWorkflowDeleted)
    return WFstatus_CloseFolderContent();
  if (text == WFbase_msgFolderContentChanged || text == WFbase_msgFolderStoppedStarted ||
      text == WFbase_msgWorkflowStoppedStarted)
    Refresh(false);
}

// --- Making the window -------------------------------------------------------------------------

WtTableD_Table MakeTable() {
  WtTableD_Table table = WtTableD_CreateTableDef();
  WtTableD_Column name = WtTableD_CreateStringColumn(WFstatus_Text(kNameHeader, {}), offsetof(WFstatus_File, name), sizeof(WFstatus_File::name));
  WtTableD_SetFillUpWeight(name, 1);
  WtTableD_AddColumn(table, name);
  WtTableD_Column state = WtTableD_CreateEnumColumn(WFstatus_Text(kStateHeader, {}), offsetof(WFstatus_File, state), 1);
  // Lamps as the graph's frames: red waits, yellow queued, green runs; off
  // passed over, blue done.
  const int icons[] = {0, 1, 1, 2, 2, 3, 4};
  for (std::uint8_t s = WFstatus_fsOmitted; s <= WFstatus_fsHandled; ++s)
    WtTableD_SetLocalSingleEnum(state, s, WFstatus_section, WFstatus_StateMessage(s), icons[s]);
  WtTableD_AddColumn(table, state);
  WtTableD_AddColumn(table, WtTableD_CreateStringColumn(WFstatus_Text(kModifiedHeader, {}), offsetof(WFstatus_File, modifiedText),
                                                        sizeof(WFstatus_File::modifiedText)));
  WtTableD_SetKeyColumns(table, name);
  return table;
}

bool MakeWindow() {
  if (c.context != nullptr) return true;
  c.context = Messages_Quietly([] { return I_Create("WFstatus_FolderContent", false); });
  if (c.context == nullptr) return false;
  c.tables[0] = MakeTable();
  c.tables[1] = MakeTable();
  WtTableD_SetTableDescription(c.context, WFstatus_kCntTable, c.tables[0]);
  WtTableD_SetTableDescription(c.context, WFstatus_kCntPartnerTable, c.tables[1]);
  I_SetINTEGERcallback(c.context, WFstatus_kCntCommand, CommandCB, 0);
  I_SetGenericcallback(c.context, WFstatus_kCntFiles, FilesCB, 0);
  I_SetGenericcallback(c.context, WFstatus_kCntPartners, FilesCB, 0);
  I_SetGenericcallback(c.context, WFstatus_kCntDirs, DirsCB, 0);
  for (const std::int32_t toggle : {WFstatus_kCntShowDirs, WFstatus_kCntOutput, WFstatus_kCntOnlyImages})
    I_SetBOOLEANcallback(c.context, toggle, ToggleCB, 0);
  I_SetINTEGERcallback(c.context, WFstatus_kCntPairMode, ModeCB, 0);
  I_SetINTEGERcallback(c.context, WFstatus_kCntDisplayMode, ModeCB, 0);
  I_SetCloseCallback(c.context, CloseCB, 0);
  c.inlet = SwitchBd_NotifyMe(WFbase_switchboard, SwitchboardCB);
  return true;
}

// The folder's own copy: its kind, path and parameters as the graph has them.
WFfolder CopyFolder(WFfolder folder) {
  PathStr path;
  WFfolder_GetPath(folder, path);
  SAutoRcF rc = WFfolder_RcFile(folder) != nullptr ? SAutoRcF_Copy(WFfolder_RcFile(folder)) : nullptr;
  return WFfolder_Create(WFfolder_Kind(folder), path, rc);
}

// What the folder's kind and parameters show: the lists, the modes, the
// output, the pane.
void ShowParticulars() {
  WFfolder f = c.folder;
  const WFfolder_FolderKind kind = WFfolder_Kind(f);
  c.twoLists = kind == kWFfolderCheck;
  std::uint32_t pairs = WFfolder_GetCardOptDef(f, "PAIRMODE", 0);
  if (WFfolder_GetBoolOptDef(f, "PAIR_CT_LW", false)) pairs = 1;
  I_PutBOOLEAN(c.context, WFstatus_kCntTwoLists, c.twoLists);
  I_PutINTEGER(c.context, WFstatus_kCntPairMode, c.twoLists ? static_cast<std::int32_t>(pairs != 0) : 0);
  I_PutINTEGER(c.context, WFstatus_kCntDisplayMode,
               WFfolder_GetCardOptDef(f, "DISPLAYMODE", 0) == WFstatus_displayQuick ? 1 : 0);
  I_SetEnabled(c.context, WFstatus_kCntPairMode, c.twoLists);
  PathStr out;
  c.outputDir.clear();
  if (WFfolder_End(f) && WFfolder_GetOutdir(WFfolder_RcFile(f), kind, 1, out)) c.outputDir = StrIn(out).Str();
  I_PutBOOLEAN(c.context, WFstatus_kCntOutput, false);
  I_SetEnabled(c.context, WFstatus_kCntOutput, !c.outputDir.empty());
  I_PutBOOLEAN(c.context, WFstatus_kCntShowDirs, kind == kSortFolder);
  I_PutCARDINAL(c.context, WFstatus_kCntTickets, WFfolder_JobticketMode(f) ? 1 : 0);
  const std::uint32_t mode = kind == kWFfolderStart ? WFstatus_OnlyImagesMode()
                                                    : WFfolder_GetCardOptDef(f, "FILEMODE", WFstatus_OnlyImagesMode());
  I_PutBOOLEAN(c.context, WFstatus_kCntOnlyImages, mode != kOnlyImagesOff);
  NameStr name;
  WFfolder_GetName(f, name);
  const std::string title = WFstatus_Text(kTitle, {StrIn(name).Str(), c.folderDir});
  I_SetReprAttr(c.context, -1, SIdPool_EnterId("title"), title.c_str(), static_cast<std::uint32_t>(title.size() + 1));
}

}  // namespace

std::uint16_t WFstatus_StateMessage(std::uint8_t state) {
  // messages: WFstatus 1-4 6-8
  constexpr std::uint16_t kMessages[] = {1, 8, 2, 7, 3, 4, 6};
  return state <= WFstatus_fsHandled ? kMessages[state] : 1;
}

bool WFstatus_ShowFolderContent(WFfolder folder) {
  if (folder == nullptr || WFfolder_Kind(folder) == kNoContent || WFfolder_InvisibleEnd(folder)) return false;
  if (!MakeWindow()) return false;
  WFfolder_Destroy(c.folder);
  c.folder = CopyFolder(folder);
  c.folderDir = WFstatus_PathOf(folder);
  // A start folder may lie elsewhere, behind the link in the workflows' root.
  if (WFfolder_Kind(folder) == kWFfolderStart) {
    PathStr start;
    WFfolder_GetStringOptDef(folder, WFbase_optStartDir, c.folderDir, start);
    c.folderDir = StrIn(start).Str();
  }
  ShowLists({}, {});
  c.listed = false;
  DropDirs();
  ShowParticulars();
  ShowDirectory(c.folderDir);
  I_Activate(c.context);
  return true;
}

void WFstatus_UpdateFolderContent() {
  if (WFstatus_FolderContentShown()) Refresh(false);
}

void WFstatus_CloseFolderContent() {
  if (c.context == nullptr) return;
  if (I_Active(c.context)) I_Deactivate(c.context);
  WFstatus_HideViewers();
  ShowLists({}, {});
  DropDirs();
  WFfolder_Destroy(c.folder);
  c.listed = false;
}

bool WFstatus_FolderContentShown() { return c.context != nullptr && I_Active(c.context) && c.folder != nullptr; }

I_Context WFstatus_FolderContentContext() { return c.context; }
std::string WFstatus_ContentDirectory() { return c.directory; }
const WFstatus_FileList& WFstatus_ContentFiles() { return c.files; }

bool WFstatus_SaveCheckOpts() {
  if (c.folder == nullptr || WFfolder_RcFile(c.folder) == nullptr) return false;
  const std::int32_t pairs = I_GetINTEGER(c.context, WFstatus_kCntPairMode);
  WFfolder_SetCardOpt(c.folder, "DISPLAYMODE", static_cast<std::uint32_t>(I_GetINTEGER(c.context, WFstatus_kCntDisplayMode)));
  if (c.twoLists) {
    WFfolder_SetCardOpt(c.folder, "PAIRMODE", static_cast<std::uint32_t>(pairs));
    WFfolder_SetBoolOpt(c.folder, "PAIR_CT_LW", pairs != 0);
  }
  // "IMGVIEWER" stays as the folder's parameters have it.
  if (WFfolder_SaveOptions(c.folder)) return true;
  WFbase_ShowText(WFstatus_Text(kOptionsNotSaved, {c.folderDir}));
  return false;
}
