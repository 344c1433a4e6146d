// What the queue window shows of one job: its progress, its record in the
// text viewer, and a failed job's error file headed by its description.
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "jobqueue/CCcleanup.h"
#include "jobqueue/CCprecond.h"
#include "jobqueue/CCrestrict.h"
#include "jobqueue/CCtypes.h"
#include "queuewin/CCqueueInt.h"
#include "queuewin/CCqueueIntRec.h"
#include "toolkit/ITxtView.h"
#include "toolkit/Imisc.h"

namespace {

// messages: CCqueueInt 7-12 50-67
constexpr unsigned kGone = 7, kNoProgress = 8, kPlainPercent = 9, kNoErrorFile = 10, kNotHeaded = 11;
constexpr unsigned kNoDetails = 12, kLabels = 50;

std::string Filled(unsigned number, StrIn text) {
  TextStr message;
  Messages_GetMsg(CCqueueInt_section, number, message);
  SPrintf_String(message, text);
  return StrIn(message).Str();
}

// The first line of a file, without its line end; false when it can't be opened.
bool FirstLine(const std::string& path, std::string& line) {
  std::ifstream in(path);
  if (!in) return false;
  std::getline(in, line);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return true;
}

std::string Word(void (*toWord)(std::uint8_t, StrOut), std::uint8_t value) {
  NameStr word;
  toWord(value, StrOut(word, kNameCap - 1));
  return StrIn(word).Str();
}

// The record of a job, a field a line: its label (of the catalog) and its value.
std::string Describe(CCjobBase_Job job) {
  std::string text;
  unsigned label = kLabels;
  const auto line = [&](const std::string& value) {
    std::string name = CCqueueInt_Text(label++);
    name.resize(std::max<std::size_t>(name.size() + 1, 22), ' ');
    text += name + value + "\n";
  };
  NameStr id;
  CCjobBase_GetId(job, id);
  line(StrIn(id).Str());
  line(Word(CCtypes_JobStatusToString, CCjobBase_GetStatus(job)));
  line(std::to_string(CCjobBase_GetPriority(job)));
  line(std::string(CCjobBase_GetDescriptionField(job)));
  line(CCjobBase_GetCommand(job));
  line(Word(CCtypes_NodeTypeToString, CCjobBase_GetExecuteOn(job)));
  line(Word(CCtypes_CpuUsageToString, CCjobBase_GetCpuUsage(job)));
  line(std::string(CCjobBase_GetEmployerHost(job)));
  line(std::string(CCjobBase_GetWorkDir(job)));
  line(std::string(CCjobBase_GetSubmitterName(job)));
  line(std::string(CCjobBase_GetSubmitterAddons(job)));
  line(std::string(CCjobBase_GetErrorFilenameField(job)));
  line(std::string(CCjobBase_GetProgressFilenameField(job)));
  const double timeout = CCjobBase_GetTimeout(job);
  line(timeout > 0 ? std::to_string(timeout) : "");
  line(std::to_string(CCjobBase_GetUid(job)) + " / " + std::to_string(CCjobBase_GetGid(job)));
  // The lists, an entry a line, each under its label.
  const auto list = [&](std::vector<std::string> entries) {
    if (entries.empty()) entries.emplace_back();
    const unsigned own = label;
    for (const std::string& entry : entries) label = own, line(entry);
  };
  std::vector<std::string> entries;
  CCprecond_Entry p = nullptr;
  for (bool first = true; CCprecond_IteratePreconditions(CCjobBase_GetPreconditions(job), first, p); first = false)
    entries.push_back(CCprecond_PreconditionToString(p));
  list(std::move(entries));
  entries.clear();
  CCrestrict_List restrictions = CCjobBase_GetRestrictions(job);
  for (std::size_t i = 0; i < CCrestrict_Count(restrictions); ++i)
    entries.push_back(CCrestrict_RestrictionToString(restrictions, i));
  list(std::move(entries));
  entries.clear();
  CCcleanup_List cleanup = CCjobBase_GetCleanupCommands(job);
  for (std::size_t i = 0; i < CCcleanup_Count(cleanup); ++i) entries.push_back(CCcleanup_CommandToString(cleanup, i));
  list(std::move(entries));
  return text;
}

}  // namespace

double CCqueueInt_FindProgressPercent(StrIn text) {
  const std::string_view t = text.View();
  for (std::size_t at = t.find('%'); at != std::string_view::npos; at = t.find('%', at + 1)) {
    std::size_t begin = at;
    while (begin > 0 && (std::isdigit(static_cast<unsigned char>(t[begin - 1])) != 0 || t[begin - 1] == '.')) --begin;
    if (begin == at) continue;
    const std::string number(t.substr(begin, at - begin));
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    if (end != number.c_str()) return value;
  }
  return -1.0;
}

double CCqueueInt_GetJobProgressLine(StrIn progressFile, std::string& text) {
  text.clear();
  if (progressFile.View().empty()) return -1.0;
  std::string line;
  if (!FirstLine(progressFile.Str(), line)) {
    text = Filled(kNoProgress, progressFile);
    return -1.0;
  }
  // A plain number is the percentage itself.
  char* end = nullptr;
  const double value = std::strtod(line.c_str(), &end);
  if (end != line.c_str() && line.find_first_not_of(" \t", static_cast<std::size_t>(end - line.c_str())) == std::string::npos) {
    TextStr percent;
    Messages_GetMsg(CCqueueInt_section, kPlainPercent, percent);
    SPrintf_Real(percent, value);
    text = StrIn(percent).Str();
    return value;
  }
  text = line;
  return CCqueueInt_FindProgressPercent(line);
}

bool CCqueueInt_HeadErrorFile(StrIn errorFile, StrIn description, std::string& why) {
  std::string first;
  if (!FirstLine(errorFile.Str(), first)) {
    why = Filled(kNoErrorFile, errorFile);
    return false;
  }
  if (first == description.View()) return true;
  // The description first, then the file as it was, through a file beside it.
  const std::string temp = errorFile.Str() + ".tmp";
  char text[2 * kTextCap], file[2 * kPathCap], aside[2 * kPathCap];
  SFilMisc_EscapeShMetaChars(description, text);
  SFilMisc_EscapeShMetaChars(errorFile, file);
  SFilMisc_EscapeShMetaChars(temp, aside);
  const std::string command = "printf '%s\\n' " + std::string(text) + " > " + aside + " && cat " + file + " >> " +
                              aside + " && mv " + aside + " " + file;
  if (Processe_ExecuteCommand(command, 10000) != 0) {
    std::remove(temp.c_str());
    why = Filled(kNotHeaded, errorFile);
    return false;
  }
  return true;
}

void CCqueueInt_ShowJobInfos() {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  CCqueueInt_Job* shown = CCqueueInt_FirstSelected(s.lists.actual);
  if (shown == nullptr) shown = CCqueueInt_FirstSelected(s.lists.failed);
  if (shown == nullptr) return;
  CCjobBase_Job job = CCqueueReq_GetJobInfos(s.req, shown->id);
  if (job == nullptr) return Imisc_StrErrMsg(Filled(kGone, shown->id));
  if (s.tempDetails.empty()) {
    PathStr path;
    DirAcces_IncludeSpecialPath(DirAcces_TMP, "CCqueueInt-" + std::to_string(getpid()) + ".txt", path);
    s.tempDetails = StrIn(path).Str();
  }
  // Written aside and renamed, so the viewer never reads half a file.
  const std::string aside = s.tempDetails + ".new";
  std::ofstream(aside) << Describe(job);
  CCjobBase_Destroy(job);
  if (std::rename(aside.c_str(), s.tempDetails.c_str()) != 0 || !ITxtView_Show(s.tempDetails))
    Imisc_StrErrMsg(Filled(kNoDetails, s.tempDetails));
}

void CCqueueInt_ShowFailedJobInfos() {
  CCqueueInt_State& s = *CCqueueInt_globalHandle;
  const CCqueueInt_Job* shown = CCqueueInt_FirstSelected(s.lists.failed);
  if (shown == nullptr) return;
  std::string why;
  if (!CCqueueInt_HeadErrorFile(shown->errorFile, shown->fullDescription, why)) {
    // An error file that could not be headed is shown as it is, if it can be read.
    CCqueueInt_Say(why);
    if (access(shown->errorFile.c_str(), R_OK) != 0) return Imisc_StrErrMsg(why);
  }
  if (!ITxtView_Show(shown->errorFile)) Imisc_StrErrMsg(Filled(kNoErrorFile, shown->errorFile));
}
