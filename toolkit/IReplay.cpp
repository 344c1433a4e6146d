#include "toolkit/IReplay.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <vector>

#include "base/Messages.h"
#include "base/SIdPool.h"
#include "base/SPrintf.h"
#include "toolkit/CWShell.h"
#include "toolkit/WtGuiLog.h"

namespace {

char section[kSectionCap] = "IReplay";

struct Replay {
  bool running = false;
  std::string file;
  std::vector<std::string> lines;
  std::size_t next = 0;  // the line to play
  std::size_t current = 0;  // the line being played, for messages
  int contextWaitMs = 30000;
  SDateAri_Stamp resumeAt{};  // no line before this moment
  bool waiting = false;       // for the context of the next line
  SDateAri_Stamp waitingSince{};
};
Replay replay;

// --- Words of a line ------------------------------------------------------------------------

// The next word of `line` from `at` (blanks before it skipped); `at` is left
// behind it. Empty at the end of the line.
std::string TakeWord(const std::string& line, std::size_t& at) {
  while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
  const std::size_t start = at;
  while (at < line.size() && line[at] != ' ' && line[at] != '\t') ++at;
  return line.substr(start, at - start);
}

// The rest of the line from `at`, without the blanks around it.
std::string Rest(const std::string& line, std::size_t at) {
  while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
  std::size_t end = line.size();
  while (end > at && (line[end - 1] == ' ' || line[end - 1] == '\t' || line[end - 1] == '\r')) --end;
  return line.substr(at, end - at);
}

template <class T>
bool ParseNumber(const std::string& text, T& value) {
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, value);
  return !text.empty() && error == std::errc() && at == end;
}

// --- Failures ---------------------------------------------------------------------------------

// A reason: message `number` of the section filled with up to two texts.
std::string Why(unsigned number, const std::string& a = {}, const std::string& b = {}) {
  TextStr text;
  Messages_GetMsg(section, number, text);  // messages: IReplay 3-10
  if (!a.empty()) SPrintf_String(text, a);
  if (!b.empty()) SPrintf_String(text, b);
  return StrIn(text).Str();
}

// Ends the replay: "<file>, line <n>: <why>" on standard error.
void Fail(const std::string& why) {
  TextStr text;
  Messages_GetMsg(section, 1, text);  // messages: IReplay 1
  SPrintf_String(text, replay.file);
  SPrintf_Card(text, static_cast<std::uint32_t>(replay.current + 1));
  SPrintf_String(text, why);
  std::fprintf(stderr, "%s\n", text);
  IReplay_Stop();
}

// --- Playing ----------------------------------------------------------------------------------

// The replay keeps real time: a window opens and a WAIT passes on the
// wall clock, whichever clock the program's tasks run on (tests set one).
SDateAri_Stamp Now() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return SDateAri_Stamp{now.tv_sec, now.tv_nsec};
}

// The newest active instance of the dialog `name`.
I_Context FindActive(const std::string& name) {
  for (I_Context c = Ibase_contexts; c != nullptr; c = c->next)
    if (c->active && SIdPool_IdText(c->def->name).Str() == name) return c;
  return nullptr;
}

// The value: shown by a widget of the AObj (the one a user would have
// used), then the one path of every change, with that widget as source.
bool PlayValue(I_Context c, const std::string& number, const std::string& text, std::string& why) {
  std::int32_t n = 0;
  const auto found = ParseNumber(number, n) ? c->aobjs.find(n) : c->aobjs.end();
  if (found == c->aobjs.end()) return why = Why(5, SIdPool_IdText(c->def->name).Str(), number), false;
  Ibase_AObj* a = found->second;
  WidgetValue value;
  if (!IReplay_ParseValue(a, text, value)) return why = Why(6, text), false;
  for (const Ibase_Binding& b : a->bindings)
    if (b.widget != nullptr) {
      CWCore_SetValue(b.widget, value);
      Ibase_Callback(Ibase_Source{b.widget, nullptr}, a, value);
      return true;
    }
  for (const Ibase_Binding& b : a->bindings)
    if (b.composite != nullptr) {
      Ibase_Uput(b.composite, value);
      Ibase_Callback(Ibase_Source{nullptr, b.composite}, a, value);
      return true;
    }
  return why = Why(9, number), false;
}

bool PlayCommand(I_Context c, const std::string& element, const std::string& text, std::string& why) {
  std::int32_t n = 0;
  const auto found = ParseNumber(element, n) ? c->robjs.find(n) : c->robjs.end();
  if (found == c->robjs.end()) return why = Why(7, SIdPool_IdText(c->def->name).Str(), element), false;
  Widget w = found->second;
  // A class that kept the core's procedure has no commands.
  if (CWCore_ClassOf(w)->DoCommand == static_cast<CWCore_ClassRec*>(CWCore_class)->DoCommand)
    return why = Why(11, element), false;
  WtGuiLog_TakeCommandFailure(why);
  CWCore_DoCommand(w, text);
  return !WtGuiLog_TakeCommandFailure(why);
}

bool PlayDeleteWindow(I_Context c, std::string& why) {
  if (!CWShell_IsShellWidget(c->rootWidget)) return why = Why(10, SIdPool_IdText(c->def->name).Str()), false;
  CWShell_DeleteWindow(c->rootWidget);
  return true;
}

// Plays one line that names a dialog, or waits for the dialog to open.
// A failure ends the replay.
void PlayInDialog(const std::string& word, const std::string& line, std::size_t at) {
  const std::string dialog = TakeWord(line, at);
  const std::string second = word == "DELETE_WINDOW" ? std::string("-") : TakeWord(line, at);
  const std::string rest = Rest(line, at);
  if (dialog.empty() || second.empty() || (word == "AOBJ" && rest.empty()) ||
      (word == "DELETE_WINDOW" && !rest.empty()))
    return Fail(Why(8));
  I_Context c = FindActive(dialog);
  const SDateAri_Stamp now = Now();
  if (c == nullptr) {
    if (!replay.waiting) {
      replay.waiting = true;
      replay.waitingSince = now;
    }
    if (SDateAri_DiffMilliseconds(now, replay.waitingSince) >= replay.contextWaitMs)
      return Fail(Why(4, dialog, std::to_string(replay.contextWaitMs)));
    replay.resumeAt = SDateAri_AddMilliseconds(now, 20);
    return;
  }
  // The line counts as played before it runs: what it starts (a modal
  // dialog) may play the next lines meanwhile.
  replay.waiting = false;
  ++replay.next;
  std::string why;
  const bool played = word == "AOBJ"      ? PlayValue(c, second, rest, why)
                      : word == "COMMAND" ? PlayCommand(c, second, rest, why)
                                          : PlayDeleteWindow(c, why);
  if (!played) Fail(why);
}

}  // namespace

// --- The replay ---------------------------------------------------------------------------------

void IReplay_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  if (const char* file = std::getenv("TV_GUIREPLAY"); file != nullptr && *file != '\0') IReplay_Start(StrIn::C(file));
}

bool IReplay_Start(StrIn file, int contextWaitMs) {
  IReplay_Stop();
  replay.file = file.Str();
  std::ifstream in(replay.file, std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; in && std::getline(in, line);) lines.push_back(line);
  if (!in.eof()) {
    TextStr text;
    Messages_GetMsg(section, 2, text);  // messages: IReplay 2
    SPrintf_String(text, replay.file);
    std::fprintf(stderr, "%s\n", text);
    return false;
  }
  replay.lines = std::move(lines);
  replay.running = true;
  replay.contextWaitMs = contextWaitMs;
  replay.resumeAt = Now();
  return true;
}

void IReplay_Stop() {
  replay.running = false;
  replay.lines.clear();
  replay.next = 0;
  replay.waiting = false;
}

bool IReplay_Running() { return replay.running; }

std::int64_t IReplay_TimeTillNext() {
  if (!replay.running) return -1;
  const std::int64_t ms = SDateAri_DiffMilliseconds(replay.resumeAt, Now());
  return ms < 0 ? 0 : ms;
}

void IReplay_Check() {
  if (IReplay_TimeTillNext() != 0) return;
  // Blank lines and comments are no lines to play.
  while (replay.next < replay.lines.size()) {
    const std::string& line = replay.lines[replay.next];
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first != std::string::npos && line[first] != '#') break;
    ++replay.next;
  }
  if (replay.next >= replay.lines.size()) {
    IReplay_Stop();
    return;
  }
  replay.current = replay.next;
  const std::string line = replay.lines[replay.next];
  std::size_t at = 0;
  const std::string word = TakeWord(line, at);
  if (word == "AOBJ" || word == "COMMAND" || word == "DELETE_WINDOW") {
    PlayInDialog(word, line, at);
  } else if (std::int32_t ms = 0; word != "WAIT") {
    Fail(Why(3, word));
  } else if (!ParseNumber(Rest(line, at), ms) || ms < 0) {
    Fail(Why(8));
  } else {
    replay.resumeAt = SDateAri_AddMilliseconds(Now(), ms);
    ++replay.next;
  }
}

void IReplay_ParseError(StrIn why) { WtGuiLog_CommandFailed(why); }

// --- Values -------------------------------------------------------------------------------------

void IReplay_LogValue(const Ibase_AObj* a) {
  if (a->kind == WtTypes_kGeneric || !WtGuiLog_Active()) return;
  I_Context c = a->context;
  // A composite's values reach the log as the value of the outer dialog.
  if (c->parentWidget != nullptr || WtGuiLog_IsHidden(c->rootWidget)) return;
  WtGuiLog_Line("AOBJ " + SIdPool_IdText(c->def->name).Str() + " " + std::to_string(a->def->number) + " " +
                IReplay_FormatValue(a, a->value));
}

std::string IReplay_FormatValue(const Ibase_AObj* a, const WidgetValue& value) {
  switch (a->kind) {
    case WtTypes_kBoolean: return value.VALUE[0] != 0 ? "TRUE" : "FALSE";
    case WtTypes_kInteger: return std::to_string(WtTypes_AsInteger(value));
    case WtTypes_kCardinal: return std::to_string(static_cast<std::uint32_t>(WtTypes_AsInteger(value)));
    case WtTypes_kReal: {
      char text[32];
      const auto result = std::to_chars(text, text + sizeof text, WtTypes_AsReal(value));
      return std::string(text, result.ptr);
    }
    case WtTypes_kString: return WtGuiLog_Quote(WtTypes_AsString(value));
    default: return {};
  }
}

bool IReplay_ParseValue(const Ibase_AObj* a, StrIn text, WidgetValue& value) {
  const std::string t = text.Str();
  switch (a->kind) {
    case WtTypes_kBoolean:
      if (t != "TRUE" && t != "FALSE") return false;
      value = WtTypes_Boolean(t == "TRUE");
      break;
    case WtTypes_kInteger: {
      std::int32_t n;
      if (!ParseNumber(t, n)) return false;
      value = WtTypes_Integer(n);
      break;
    }
    case WtTypes_kCardinal: {
      std::uint32_t n;
      if (!ParseNumber(t, n)) return false;
      value = WtTypes_Cardinal(n);
      break;
    }
    case WtTypes_kReal: {
      double n;
      if (!ParseNumber(t, n) || !std::isfinite(n)) return false;
      value = WtTypes_Real(n);
      break;
    }
    case WtTypes_kString: {
      std::vector<std::string> words;
      if (t.empty() || t[0] != '"' || !WtGuiLog_SplitWords(t, words) || words.size() != 1) return false;
      value = WtTypes_String(words[0]);
      break;
    }
    default: return false;
  }
  value.widgetType = a->type;
  return true;
}
