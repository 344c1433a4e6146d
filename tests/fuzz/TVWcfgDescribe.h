// Every field of a demon configuration entry that the file carries, as text,
// shared by the fuzz target and the unit tests so that both compare entries
// the same way. The unknown fields are sorted: their order changes with each
// load and save by design.
#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "watch/TVWcfg.h"

inline std::string TVWcfgDescribe(const TVWcfg_Entry& e) {
  char activity[256];
  TVWcfg_ActivityToStr(e.activity, activity);
  std::vector<std::string> extras;
  for (const TVWcfg_ExtraField* f = e.extraFields; f != nullptr; f = f->next) extras.push_back(StrIn(f->text).Str());
  std::sort(extras.begin(), extras.end());
  std::ostringstream d;
  d << "folder=" << StrIn(e.folder).View() << "\nsubdirs=" << e.subdirs << "\nomit=" << StrIn(e.omit).View()
    << "\nomitCmd=" << StrIn(e.omitCmd).View() << "\ninterval=" << e.interval << "\nsilence=" << e.silence << "/"
    << e.currentSilence << "\nactivity=" << activity << "\nfilePattern=" << StrIn(e.filePattern).View()
    << "\nfiles=" << StrIn(e.files).View() << "\nomitFiles=" << StrIn(e.omitFiles).View()
    << "\nomitEmptyFiles=" << e.omitEmptyFiles << "\ncmd=" << StrIn(e.cmd).View()
    << "\noptions=" << StrIn(e.options).View() << "\nhighCpu=" << e.highCpu << "\nuid=" << e.uid << "\ngid=" << e.gid
    << "\nlocked=" << e.locked << "\nconsiderCTime=" << e.considerCTime << "\nisWebCheckRoot=" << e.isWebCheckRoot
    << "\nreadableCmd=" << StrIn(e.readableCmd).View() << "\nmultipleFiles=" << e.multipleFiles
    << "\nprecondResource=" << StrIn(e.precondResource).View() << "\nprecondScript=" << StrIn(e.precondScript).View()
    << "\nsortedSubmit=" << e.sortedSubmit << "\natOnce=" << e.atOnce << "\nsequenceMode=" << int(e.sequenceMode);
  for (const std::string& extra : extras) d << "\nextra " << extra;
  return d.str();
}
