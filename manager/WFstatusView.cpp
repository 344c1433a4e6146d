// WFstatusView: a file shown in the viewer its name calls for.
#include "manager/WFstatusView.h"

#include <unistd.h>

#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "frontends/TVFEbase.h"
#include "manager/WFstatusPrivate.h"
#include "rc/SrcFile.h"
#include "toolkit/ITxtView.h"
#include "workflow/WFticket.h"

namespace {

// messages: WFstatus 18 29 80-82
constexpr unsigned kNotShown = 18;    // the file, and why
constexpr unsigned kNoImageInTicket = 29;
constexpr unsigned kNoPdfViewer = 80;  // why: the setting's key
constexpr unsigned kNotStarted = 81;   // why: the command
constexpr unsigned kNotRead = 82;      // why
constexpr char kImgView[] = "bin/imgview";

// Message 18 for `file` with the reason `number` (its "%s" filled by `detail`).
bool NotShown(const std::string& file, unsigned number, const std::string& detail) {
  TextStr text, reason;
  Messages_GetMsg(WFstatus_section, kNotShown, text);
  Messages_GetMsg(WFstatus_section, number, reason);
  SPrintf_String(reason, detail);
  SPrintf_String(text, file);
  SPrintf_String(text, reason);
  WFbase_ShowText(text);
  return false;
}

std::string Escaped(const std::string& text) {
  TextStr escaped;
  SFilMisc_EscapeShMetaChars(text, escaped);
  return StrIn(escaped).Str();
}

// Whether the program a command line begins with can be run: a path, or a
// name found on PATH.
bool Runnable(const std::string& command) {
  const std::size_t start = command.find_first_not_of(' ');
  if (start == std::string::npos) return false;
  const std::string program = command.substr(start, command.find(' ', start) - start);
  if (program.find('/') != std::string::npos) return ::access(program.c_str(), X_OK) == 0;
  PathStr found;
  return Messages_Quietly([&] { return DirAcces_Lookup("PATH", "", program, DirAcces_Mode::Execute, found); });
}

// Runs `command` in the background; message 18 for `file` when it can't.
bool Start(const std::string& file, const std::string& command) {
  if (Runnable(command) && TVFEbase_StartACommand(command, false)) return true;
  return NotShown(file, kNotStarted, command.substr(0, command.find(' ')));
}

bool ShowImages(const std::vector<std::string>& paths, std::uint32_t displayMode) {
  PathStr viewer;
  DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, kImgView, viewer);
  std::string command = Escaped(StrIn(viewer).Str());
  if (displayMode == WFstatus_displayQuick) command += " -q";
  command += " --";
  for (const std::string& path : paths) command += " " + Escaped(path);
  return Start(paths.front(), command);
}

std::string PathOf(StrIn directory, StrIn name) {
  PathStr path;
  DirAcces_IncludePath(directory, name, path);
  return StrIn(path).Str();
}

bool Show(const std::string& path, std::uint32_t displayMode) {
  switch (WFstatus_GetViewer(path)) {
    case WFstatus_viewText:
      return ITxtView_Show(path) || NotShown(path, kNotRead, "");
    case WFstatus_viewPDF:
      return WFstatus_DisplayPDF(path);
    default:
      return ShowImages({path}, displayMode);
  }
}

}  // namespace

std::uint8_t WFstatus_GetViewer(StrIn name) {
  char suffix[kNameCap];
  SFilMisc_SuffixOf(name, suffix);
  const std::string s = suffix;
  if (s == ".txt") return WFstatus_viewText;
  if (s == ".pdf" || s == ".PDF") return WFstatus_viewPDF;
  return WFstatus_viewImage;
}

bool WFstatus_DisplayFile(StrIn directory, StrIn name, std::uint32_t displayMode) {
  WFstatus_Init();
  const std::string path = PathOf(directory, name);
  if (!WFstatus_FileShown(name, WFstatus_OnlyTickets)) return Show(path, displayMode);
  // A ticket shows the image it names.
  PathStr image;
  if (!Messages_Quietly([&] { return WFticket_LoadImageReference(path, true, image); })) {
    WFstatus_Say(kNoImageInTicket, path);
    return false;
  }
  return Show(StrIn(image).Str(), displayMode);
}

bool WFstatus_DisplayCTLW(StrIn directory, StrIn first, StrIn second, std::uint32_t displayMode) {
  return ShowImages({PathOf(directory, first), PathOf(directory, second)}, displayMode);
}

bool WFstatus_DisplayPDF(StrIn path) {
  const std::string key = std::string("[global]") + WFstatus_pdfViewerKey;
  TextStr command;
  Messages_Quietly([&] { SrcFile_QueryStringForeignProcess(key, command); });
  std::string line = StrIn(command).Str();
  if (line.find_first_not_of(' ') == std::string::npos) return NotShown(path.Str(), kNoPdfViewer, WFstatus_pdfViewerKey);
  // "%s" stands for the file; without it the file goes behind the command.
  const std::size_t at = line.find("%s");
  if (at != std::string::npos) line.replace(at, 2, Escaped(path.Str()));
  else line += " " + Escaped(path.Str());
  return Start(path.Str(), line);
}

void WFstatus_HideViewers() { ITxtView_Hide(); }
