// TVWlog: the demon's log files and their request files.
#include "watch/TVWlog.h"

#include <ctime>
#include <string>

#include "base/BOutIn.h"
#include "base/DirAcces.h"
#include "base/Messages.h"

namespace {

void NameIn(StrIn folder, StrIn name, StrOut path) {
  if (folder.Empty()) return DirAcces_IncludeSpecialPath(DirAcces_MARLDAT, name, path);
  DirAcces_IncludePath(folder, name, path);
}

}  // namespace

void TVWlog_GetLogFilename(StrIn folder, StrOut name) { NameIn(folder, TVWlog_logName, name); }

void TVWlog_GetRequestFilename(StrIn folder, StrOut name) { NameIn(folder, TVWlog_requestName, name); }

BFileIO_File TVWlog_Open(StrIn folder) {
  PathStr request, log;
  TVWlog_GetRequestFilename(folder, request);
  if (!DirAcces_Access(request, DirAcces_Mode::Exists)) return nullptr;
  TVWlog_GetLogFilename(folder, log);
  return Messages_Quietly([&] {
    BFileIO_File file = DirAcces_Access(log, DirAcces_Mode::Exists) ? BFileIO_Open(log, 1) : BFileIO_Create(log);
    if (file != nullptr) BFileIO_SetPos(file, BFileIO_Length(file));
    return file;
  });
}

bool TVWlog_LogActive(BFileIO_File log) { return log != nullptr; }

void TVWlog_WriteRawLine(BFileIO_File log, bool indent, StrIn text) {
  if (log == nullptr) return;
  Messages_Quietly([&] { return BOutIn_WriteLine(log, (indent ? "  " : "") + text.Str()); });
}

void TVWlog_WriteLine(BFileIO_File log, StrIn word, StrIn text) {
  if (log == nullptr) return;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char stamp[32];
  std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
  TVWlog_WriteRawLine(log, false, std::string(stamp) + " " + word.Str() + " " + text.Str());
}

void TVWlog_WriteRule(BFileIO_File log) { TVWlog_WriteRawLine(log, false, std::string(79, '-')); }
