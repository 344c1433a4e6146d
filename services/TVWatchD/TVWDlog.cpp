// TVWDlog: writing the demon's lines into the logs asked for.
#include "services/TVWatchD/TVWDlog.h"

#include <map>

#include "base/Processe.h"
#include "services/TVWatchD/TVWDclock.h"
#include "watch/TVWlog.h"

namespace {

constexpr std::int64_t kLookMs = 5000;

struct Asked {
  bool yes = false;
  std::int64_t lookedAt = -kLookMs;
};
std::map<std::string, Asked> asked;  // by folder; "" the demon's own

// The log of `folder` while it is asked for; nil otherwise.
BFileIO_File Open(const std::string& folder) {
  Asked& a = asked[folder];
  const std::int64_t now = TVWDclock_Now();
  if (!a.yes && now - a.lookedAt < kLookMs) return nullptr;
  a.lookedAt = now;
  BFileIO_File log = TVWlog_Open(folder);
  a.yes = TVWlog_LogActive(log);
  return log;
}

void Write(const std::string& folder, StrIn word, const std::string& text) {
  BFileIO_File log = Open(folder);
  TVWlog_WriteLine(log, word, text);
  BFileIO_Close(log);
}

}  // namespace

void TVWDlog_Line(const std::string& folder, StrIn word, const std::string& text) {
  if (!folder.empty()) Write(folder, word, text);
  Write("", word, folder.empty() ? text : folder + ": " + text);
}

void TVWDlog_Start(std::int32_t port) {
  BFileIO_File log = Open("");
  TVWlog_WriteRule(log);
  TVWlog_WriteLine(log, TVWlog_start, std::string(TVWlog_all) + " " + std::to_string(Processe_GetPID()) + " " +
                                          std::to_string(port));
  BFileIO_Close(log);
}

void TVWDlog_Configuration(TVWcfg_List list) {
  BFileIO_File log = Open("");
  for (const TVWcfg_Entry* e = list; e != nullptr; e = e->next) {
    TVWlog_WriteLine(log, TVWlog_folder, e->folder);
    TVWcfg_DumpFolderConfig(log, *e);
  }
  BFileIO_Close(log);
}

void TVWDlog_Stop() {
  BFileIO_File log = Open("");
  TVWlog_WriteLine(log, TVWlog_stop, TVWlog_all);
  TVWlog_WriteRawLine(log, true, TVWlog_terminated);
  BFileIO_Close(log);
}
