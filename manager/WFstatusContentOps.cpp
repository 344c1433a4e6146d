// WFstatusContent: what the content window does with files: delete, move,
// hand them to the queue; pairs, tickets, the demon's log.
#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/SRegExpr.h"
#include "image/SImage.h"
#include "jobqueue/CCjob.h"
#include "manager/WFstatusContentPrivate.h"
#include "toolkit/ITxtView.h"
#include "watch/TVWhandled.h"
#include "watch/TVWlog.h"
#include "workflow/BEwfBase.h"
#include "workflow/WFfileOp.h"
#include "workflow/WFticket.h"
#include "workflow/WFtvwCfg.h"

namespace {

constexpr unsigned kDeleteFailed = 52, kMoveFailed = 53, kNoEntry = 55, kQueueRefused = 56, kLogRequested = 59;
constexpr unsigned kNoImage = 29;
constexpr std::size_t kFailuresShown = 8;

bool Exists(const std::string& path) {
  struct stat st{};
  return ::lstat(path.c_str(), &st) == 0;
}

// Whatever of `names` ".readyFiles" lists goes off it, so that a name that
// comes back is new to the demon.
void Forget(const std::string& dir, const std::vector<std::string>& names) {
  StrVector handled = TVWhandled_Load(dir);
  std::set<std::string> listed;
  for (std::size_t i = 0; i < StrVector_ElementCount(handled); ++i) listed.insert(StrVector_DynElementAt(handled, i).Str());
  StrVector_Destroy(handled);
  std::vector<std::string> gone;
  for (const std::string& name : names)
    if (listed.count(name) > 0) gone.push_back(name);
  WFstatus_RedoFiles(dir, gone);
}

// Applies `op` to each file; the files done, and the words of each failure.
template <typename Op>
std::vector<std::string> Each(const std::string& dir, const std::vector<std::string>& names, Op op,
                              std::vector<std::string>& failures) {
  std::vector<std::string> done;
  for (const std::string& name : names) {
    if (op(dir + "/" + name)) {
      done.push_back(name);
    } else if (WFfileOp_error != WFfileOp_gone) {  // gone meanwhile: passed over
      TextStr why;
      WFfileOp_GetErrorText(why);
      failures.push_back(StrIn(why).Str());
    }
  }
  return done;
}

bool Told(unsigned number, const std::vector<std::string>& failures) {
  if (failures.empty()) return true;
  WFbase_ShowText(WFstatus_Text(number, {WFstatus_JoinFailures(failures)}));
  return false;
}

// The expression of the formats that pass `mask`.
SRegExpr FormatsExpr(unsigned mask) {
  std::string expr;
  SImage_FormatList list = SImage_GetListOfSelectedSupportedFormats(mask);
  for (SImage_FormatList e = list; e != nullptr; e = e->next)
    if (e->regExpr[0] != '\0') expr += (expr.empty() ? "" : "|") + std::string(e->regExpr);
  SImage_DestroyListOfSupportedFormats(list);
  return SRegExpr_Create(expr.empty() ? std::string("^$.") : expr);
}

bool IsLineWork(const std::string& name) {
  static SRegExpr lineWork = FormatsExpr(SImage_kNeedLinework | SImage_kNoDevices);
  return SRegExpr_Match(lineWork, name);
}

bool IsContone(const std::string& name) {
  static SRegExpr contone = FormatsExpr(SImage_kNeedContone | SImage_kNoDevices);
  return SRegExpr_Match(contone, name);
}

}  // namespace

// --- Messages ------------------------------------------------------------------------------------

std::string WFstatus_JoinFailures(const std::vector<std::string>& lines) {
  std::string text;
  for (std::size_t i = 0; i < lines.size() && i < kFailuresShown; ++i) text += (i > 0 ? "\n" : "") + lines[i];
  if (lines.size() > kFailuresShown) text += ", ...";
  return text;
}

std::string WFstatus_Text(unsigned number, std::initializer_list<std::string> arguments) {
  TextStr text;
  Messages_GetMsg(WFstatus_section, number, text);  // messages: WFstatus 50-63
  for (const std::string& argument : arguments) SPrintf_String(text, argument);
  return StrIn(text).Str();
}

// --- Acting on files -------------------------------------------------------------------------------

bool WFstatus_DeleteFiles(StrIn directory, const std::vector<std::string>& names) {
  const std::string dir = directory.Str();
  std::vector<std::string> failures;
  const std::vector<std::string> done =
      Each(dir, names, [](const std::string& path) { return WFfileOp_Delete(path); }, failures);
  Forget(dir, done);
  WFstatus_ForgetDir(dir);
  return Told(kDeleteFailed, failures);
}

bool WFstatus_MoveFiles(StrIn directory, const std::vector<std::string>& names, StrIn target) {
  const std::string dir = directory.Str(), into = target.Str();
  std::vector<std::string> failures;
  const std::vector<std::string> done =
      Each(dir, names, [&](const std::string& path) { return WFfileOp_MoveInto(path, into); }, failures);
  Forget(dir, done);
  WFstatus_ForgetDir(dir);
  return Told(kMoveFailed, failures);
}

bool WFstatus_StartFiles(StrIn directory, const std::vector<std::string>& names) {
  const std::string dir = directory.Str();
  const TVWcfg_Entry* entry = WFtvwCfg_GetEntry(dir);
  if (entry == nullptr) {
    WFbase_ShowText(WFstatus_Text(kNoEntry, {dir}));
    return false;
  }
  std::vector<std::string> refused;
  for (const std::string& name : names) {
    struct stat st{};
    if (::stat((dir + "/" + name).c_str(), &st) != 0) continue;  // gone meanwhile
    // The job as the demon makes it: the entry's command, its options (the
    // folder's rc file) and the file quoted for the shell, run in the folder.
    CCjob_ClassicJob r;
    Strings_Assign(entry->cmd, r.program);
    if (!StrIn(entry->options).Empty()) r.arguments.push_back(StrIn(entry->options).Str());
    r.arguments.push_back(SFilMisc_QuoteForShell(name));
    r.priority = static_cast<std::uint32_t>(std::max(entry->jobPriority, 0));
    Strings_Assign(dir, r.workDir);
    const std::string shown = StrIn(entry->readableCmd).Empty() ? StrIn(entry->cmd).Str() : StrIn(entry->readableCmd).Str();
    Strings_Assign(shown + ": " + name, r.description);
    r.uid = entry->uid >= 0 ? entry->uid : static_cast<std::int32_t>(st.st_uid);
    r.gid = entry->gid >= 0 ? entry->gid : static_cast<std::int32_t>(st.st_gid);
    if (!StrIn(entry->precondResource).Empty()) r.conditions.push_back("?" + StrIn(entry->precondResource).Str());
    Strings_Assign(entry->precondScript, r.script);
    StrVector files = StrVector_Create();
    StrVector_AddElement(files, name);
    CCjobBase_Job job = BEwfBase_CreateJob(r, files, entry->highCpu);
    StrVector_Destroy(files);
    NameStr id;
    CCjobBase_GenerateId(id);
    CCjobBase_SetId(job, id);
    if (!Messages_Quietly([&] { return CCjob_Submit(job); })) refused.push_back(name);
    CCjob_Destroy(job);
  }
  if (refused.empty()) return true;
  WFbase_ShowText(WFstatus_Text(kQueueRefused, {dir, WFstatus_JoinFailures(refused)}));
  return false;
}

// --- Pairs and tickets -----------------------------------------------------------------------------

std::string WFstatus_GetBasename(const std::string& name) {
  constexpr std::string_view kLog = "-log.pdf";
  if (name.size() > kLog.size() && name.compare(name.size() - kLog.size(), kLog.size(), kLog) == 0)
    return name.substr(0, name.size() - kLog.size());
  PathStr stem;
  Strings_Assign(name, stem);
  SFilMisc_StripExtension(stem);
  return StrIn(stem).Str();
}

bool WFstatus_IsCoupledAHF(const std::string& a, const std::string& b) {
  if (WFstatus_GetBasename(a) != WFstatus_GetBasename(b)) return false;
  return (IsContone(a) && IsLineWork(b)) || (IsLineWork(a) && IsContone(b));
}

bool WFstatus_SelectPartner(const WFstatus_FileList& files, WFstatus_FileList& partners) {
  std::set<std::string> bases;
  for (const WFstatus_File& f : files)
    if (f.link.selected) bases.insert(WFstatus_GetBasename(f.name));
  bool changed = false;
  for (WFstatus_File& p : partners) {
    const bool select = bases.count(WFstatus_GetBasename(p.name)) > 0;
    changed = changed || p.link.selected != select;
    p.link.selected = select;
  }
  return changed;
}

bool WFstatus_IsLineWorkFile(const std::string& name) { return IsLineWork(name); }

bool WFstatus_ResolveTicketName(StrIn directory, StrIn name, StrOut image) {
  const std::string path = directory.Str() + "/" + name.Str();
  if (WFticket_LoadImageReference(path, true, image) && !StrIn(image).Empty()) return true;
  WFbase_Message(WFstatus_section, kNoImage, name);  // messages: WFstatus 29
  return false;
}

// --- The demon's log -------------------------------------------------------------------------------

bool WFstatus_ShowLog(StrIn directory) {
  PathStr log, request;
  TVWlog_GetLogFilename(directory, log);
  TVWlog_GetRequestFilename(directory, request);
  // The demon writes a folder's log while the request file lies there.
  const bool requested = Exists(StrIn(request).Str());
  if (!requested) Messages_Quietly([&] { return DirAcces_Touch(request); });
  if (!Exists(StrIn(log).Str())) {
    WFbase_ShowText(WFstatus_Text(kLogRequested, {directory.Str()}));
    return false;
  }
  return ITxtView_Show(log);
}
