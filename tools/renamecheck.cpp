// renamecheck: the operator's check of a rename scheme.
//
//   renamecheck SCHEME [NAME...]
//
// Loads the scheme and says whether it is valid; then shows for each NAME
// whether it matches, the piece each source segment took, and the new name.
// Results go to standard output, failures to standard error. Exit status: 0
// when all went well (a name that doesn't match is a result), 1 for a bad
// scheme, a name that couldn't be renamed or an unusable command line, 2 for
// an internal error.
#include <cstdio>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Options.h"
#include "base/Processe.h"
#include "base/SPrintf.h"
#include "rules/SRename.h"

namespace {

char section[kSectionCap] = "renamecheck";
char opSection[kSectionCap] = "SRenamOp";

constexpr unsigned kKeywordNames = 21;  // SRenamOp: the name of keyword k is 21 + k

// Message `number`, filled with the texts in order, on `stream`.
void Say(std::FILE* stream, unsigned number, StrIn first = "", StrIn second = "") {
  char text[kTextCap];
  Messages_GetMsg(section, number, text);  // messages: renamecheck 1-14
  SPrintf_String(text, first);
  SPrintf_String(text, second);
  std::fprintf(stream, "%s\n", text);
}

void ShowSegments(SRename scheme) {
  Say(stdout, 9);
  SRenamOp segment = SRename_NilSeg();
  std::int32_t n = 1;
  for (bool more = SRename_GetFirstSeg(scheme, true, segment); more; more = SRename_GetNextSeg(scheme, true, segment)) {
    char kind[kNameCap], content[kNameCap + 1], line[kTextCap];
    if (SRenamOp_IsString(segment)) Messages_GetMsg(section, 13, kind);
    else Messages_GetMsg(opSection, kKeywordNames + SRenamOp_GetKeyword(segment), kind);  // messages: SRenamOp 21-31
    SRenamOp_GetContent(segment, content);
    Messages_GetMsg(section, 10, line);
    SPrintf_Int(line, n++);
    SPrintf_String(line, kind);
    SPrintf_String(line, content);
    std::fprintf(stdout, "%s\n", line);
  }
}

// One name; false when it matched but couldn't be renamed.
bool Show(SRename scheme, StrIn name) {
  if (!SRename_Match(scheme, name)) {
    Say(stdout, 8, name);
    return true;
  }
  Say(stdout, 7, name);
  ShowSegments(scheme);
  SRenamOp first = SRename_NilSeg();
  if (!SRename_GetFirstSeg(scheme, false, first)) {
    Say(stdout, 12);
    return true;
  }
  char renamed[kNameCap + 1];
  if (SRename_Rename(scheme, name, renamed)) {
    Say(stdout, 11, renamed);
    return true;
  }
  char reason[kTextCap];
  SRename_GetErrorMessage(reason);
  Say(stderr, 14, name, reason);
  return false;
}

bool Run(const std::string& path, const std::vector<std::string>& names) {
  SRename scheme = SRename_Nil();
  if (!SRename_Load(path, scheme)) {
    char reason[kTextCap];
    SRename_GetErrorMessage(reason);
    Say(stderr, 14, path, reason);
    return false;
  }
  Say(stdout, 4, path);
  char example[kNameCap + 1], renamed[kNameCap + 1];
  SRename_GetExampleAssignment(scheme, example, renamed);
  if (renamed[0] != '\0') Say(stdout, 6, example, renamed);
  else if (example[0] != '\0') Say(stdout, 5, example);
  bool allRenamed = true;
  for (const std::string& name : names) allRenamed = Show(scheme, name) && allRenamed;
  SRename_Destroy(scheme);
  return allRenamed;
}

}  // namespace

int main(int argc, char** argv) {
  Argument_Init(argc, argv);
  std::vector<std::string> words;
  if (!Options_Read({}, Options_Append(words)) || words.empty())
    Options_Refuse("RENAMECHECKmsg", section, 1, 3);  // messages: renamecheck 1-3
  Processe_Init();
  Messages_Init();
  SRename_Init();
  Messages_UseMsgCat("RENAMECHECKmsg");
  // Anything that does not explicitly succeed leaves with 1.
  Processe_SetExitStatus(1);
  if (Run(words.front(), {words.begin() + 1, words.end()})) Processe_SetExitStatus(0);
  Processe_Exit();
  return Processe_GetExitStatus();
}
