// FEautost: the start folder's entry in the demon configuration.
#include <string>

#include "frontends/FEautost.h"
#include "workflow/AutoMisc.h"
#include "workflow/WFbase.h"

namespace {

// Watching below the start passes over its end and error directories, and
// with the sub-directories what the demon passes over everywhere.
void OmitList(bool subdirs, StrOut omit) {
  std::string list = std::string(WFbase_defaultEndDir) + "," + WFbase_errorDirName + ",";
  if (subdirs) list += TVWcfg_toOmit;
  Strings_Assign(subdirs ? StrIn(list) : StrIn(""), omit);
}

}  // namespace

// messages: AutoMisc 30 33
bool FEautost_UpdateTVWcfg(StrIn workflow, StrIn files, StrIn omitFiles, bool subdirs, bool omitEmpty,
                           bool considerCTime, std::uint8_t sequenceMode, const TVWcfg_Activity& activity,
                           std::int32_t watchInterval) {
  // 1. The key; 2.-6. under the lock, saved, the demon told (AutoMisc).
  PathStr key;
  FEautost_GetDefaultStartdir(workflow, key);
  return AutoMisc_ChangeDemonConfig([&](TVWcfg_List& list, bool&) {
    TVWcfg_Entry* entry = TVWcfg_GetEntry(list, key);
    if (entry == nullptr) entry = FEautost_AddToTVWcfgList(list, key);
    Strings_Assign(files, entry->files);
    Strings_Assign(omitFiles, entry->omitFiles);
    entry->omitEmptyFiles = omitEmpty;
    entry->subdirs = subdirs;
    entry->considerCTime = considerCTime;
    entry->sequenceMode = sequenceMode;
    entry->activity = activity;
    entry->interval = watchInterval == TVWcfg_DefaultWatchInterval ? -1 : watchInterval;
    OmitList(subdirs, entry->omit);
    return true;
  });
}

TVWcfg_Entry* FEautost_AddToTVWcfgList(TVWcfg_List& list, StrIn key) {
  TVWcfg_Entry* entry = TVWcfg_CreateEntry();
  Strings_Assign(key, entry->folder);
  Strings_Assign(FEautost_moduleInfo.cmd, entry->cmd);
  Strings_Assign(FEautost_moduleInfo.readableCmd, entry->readableCmd);
  Strings_Assign(FEautost_moduleInfo.rcFile, entry->options);
  entry->highCpu = FEautost_moduleInfo.highCpu;
  entry->next = list;
  list = entry;
  return entry;
}

bool FEautost_DeleteInTVWcfg(StrIn workflow) {
  PathStr key;
  FEautost_GetDefaultStartdir(workflow, key);
  return AutoMisc_DeleteDemonConfigEntry(key);
}
