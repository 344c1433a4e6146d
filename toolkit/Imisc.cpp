#include "toolkit/Imisc.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "base/Processe.h"
#include "base/SIdPool.h"
#include "toolkit/CWDraw.h"
#include "toolkit/CWTextIO.h"
#include "toolkit/WtBase.h"
#include "toolkit/WtColors.h"
#include "toolkit/WtDraw.h"
#include "toolkit/WtEvents.h"

struct Imisc_TimerRec {
  I_Context context = nullptr;
  std::uint32_t total = 1, done = 0;
  int drawn = -1;  // pixels of the bar drawn last
  bool broken = false;
};

namespace {

constexpr std::int32_t kButton = 2, kText = 3, kBar = 4, kLine = 5;
constexpr std::size_t kColumns = 80, kRows = 20;

std::vector<Imisc_Timer> timers;  // the open ones, newest last

std::string Message(StrIn section, unsigned number) {
  TextStr text;
  Messages_GetMsg(section, number, text);
  return StrIn(text).Str();
}

bool HaveDisplay() {
  return Messages_Quietly([] { return W_DisplayOpen() || WtBase_AssertDisplayOpen(); });
}

// Lines of at most kColumns characters, broken at blanks where one is.
std::vector<std::string> Wrap(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = std::min(text.find('\n', start), text.size());
    std::string line = text.substr(start, end - start);
    while (line.size() > kColumns) {
      std::size_t cut = line.rfind(' ', kColumns);
      if (cut == std::string::npos || cut == 0) cut = kColumns;
      lines.push_back(line.substr(0, cut));
      line.erase(0, line[cut] == ' ' ? cut + 1 : cut);
    }
    lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

void SetInt(I_Context c, std::int32_t element, const char* name, std::int32_t value) {
  I_SetReprAttr(c, element, SIdPool_EnterId(StrIn::C(name)), &value, sizeof value);
}

void Answer(I_Context c, std::int32_t, std::int32_t, std::uintptr_t) { I_Deactivate(c); }

void CloseAfter(std::uintptr_t data) { I_Deactivate(reinterpret_cast<I_Context>(data)); }

// Shows a box with `text` until it is answered: the number of the button,
// or -1 when the box can't be made. `prepare` may change it first.
template <class Prepare>
int RunBox(const char* dialog, StrIn text, Prepare prepare) {
  if (!HaveDisplay()) return -1;
  I_Context c = Messages_Quietly([&] { return I_Create(StrIn::C(dialog), false); });
  if (c == nullptr) return -1;
  Imisc_ConfigureAndShowText(c, kText, text);
  prepare(c);
  I_SetINTEGERcallback(c, kButton, Answer, 0);
  I_Activate(c);
  // The box answers for itself; the main loop goes on after it.
  const bool leave = WtEvents_leaveMainLoop;
  I_Dialog(c);
  WtEvents_leaveMainLoop = leave || WtEvents_leaveMainLoop;
  const int answer = I_GetINTEGER(c, kButton);
  I_Destroy(c);
  return answer;
}

int RunBox(const char* dialog, StrIn text) {
  return RunBox(dialog, text, [](I_Context) {});
}

// Without a display the text goes where a batch run's messages go.
void ToStandardError(StrIn text) { std::fprintf(stderr, "%s\n", text.Str().c_str()); }

std::string Reasons() {
  std::string reasons;
  TextStr reason;
  while (Messages_ErrorReason(reason)) reasons += "\n" + StrIn(reason).Str();
  return reasons;
}

void DrawBar(Widget w, const Regions_Region&, const W_Event&, std::uintptr_t data) {
  auto* t = reinterpret_cast<Imisc_Timer>(data);
  const int filled = static_cast<int>(static_cast<std::uint64_t>(w->width) * std::min(t->done, t->total) /
                                      std::max<std::uint32_t>(t->total, 1));
  W_GC gc = WtDraw_GetGC();
  W_SetForeground(gc, WtColors_selectionColor);
  W_FillRectangle(w->window, gc, 0, 0, filled, w->height);
  W_SetForeground(gc, WtColors_inputColor);
  W_FillRectangle(w->window, gc, filled, 0, w->width - filled, w->height);
  WtDraw_ReleaseGC(gc);
  t->drawn = filled;
}

void Broken(I_Context c, std::int32_t, std::int32_t value, std::uintptr_t) {
  if (value != 0) return;
  for (Imisc_Timer t : timers)
    if (t->context == c) t->broken = true;
}

Imisc_Timer StartTimer(const char* dialog, StrIn section, unsigned number, std::uint32_t total) {
  if (!HaveDisplay()) return nullptr;
  auto* t = new Imisc_TimerRec;
  t->total = std::max<std::uint32_t>(total, 1);
  t->context = Messages_Quietly([&] { return I_Create(StrIn::C(dialog), false); });
  if (t->context == nullptr) {
    delete t;
    return nullptr;
  }
  Imisc_ConfigureAndShowText(t->context, kText, Message(section, number));
  Widget bar = Messages_Quietly([&] { return I_AccessWidget(t->context, kBar); });
  if (WtBase_InstanceOf(bar, CWDraw_class))
    CWDraw_SetExposeHook(bar, DrawBar, reinterpret_cast<std::uintptr_t>(t));
  I_SetINTEGERcallback(t->context, kButton, Broken, 0);
  I_Activate(t->context);
  timers.push_back(t);
  I_Yield();
  return t;
}

}  // namespace

// --- Message boxes -----------------------------------------------------------------------

void Imisc_StrNotify(StrIn text, unsigned seconds) {
  const char* dialog = seconds > 0 ? "_timedNotify" : "_timedNotifyOK";
  int task = I_NilTask();
  if (RunBox(dialog, text, [&](I_Context c) {
        if (seconds > 0) task = I_ScheduleTask(static_cast<int>(seconds * 1000), CloseAfter, reinterpret_cast<std::uintptr_t>(c));
      }) < 0)
    ToStandardError(text);
  I_CancelScheduledTask(task);
}

void Imisc_Notify(StrIn section, unsigned number, unsigned seconds) {
  Imisc_StrNotify(Message(section, number), seconds);
}

void Imisc_StrErrMsg(StrIn text) {
  if (RunBox("_errmsg", text) < 0) ToStandardError(text);
}

void Imisc_ErrMsg(StrIn section, unsigned number) { Imisc_StrErrMsg(Message(section, number)); }

bool Imisc_StrYes(StrIn text) { return RunBox("_yes", text) == 1; }
bool Imisc_Yes(StrIn section, unsigned number) { return Imisc_StrYes(Message(section, number)); }
bool Imisc_StrConfirm(StrIn text) { return RunBox("_confirm", text) == 1; }
bool Imisc_Confirm(StrIn section, unsigned number) { return Imisc_StrConfirm(Message(section, number)); }

int Imisc_StrSaveConfirm(StrIn text) { return std::max(RunBox("_SaveConfirm", text), 0); }
int Imisc_SaveConfirm(StrIn section, unsigned number) { return Imisc_StrSaveConfirm(Message(section, number)); }

int Imisc_StrGenericConfirm(StrIn text, StrIn first, StrIn second, StrIn third) {
  const std::string labels[] = {first.Str(), second.Str(), third.Str()};
  const int answer = RunBox("_SaveConfirm", text, [&](I_Context c) {
    // The buttons of the box are elements 6, 7 and 8.
    for (int i = 0; i < 3; ++i)
      I_SetReprAttr(c, 6 + i, SIdPool_EnterId("TEXT"), labels[i].c_str(),
                    static_cast<std::uint32_t>(labels[i].size() + 1));
  });
  return answer < 0 ? 2 : answer;
}

int Imisc_GenericConfirm(StrIn section, unsigned number, StrIn first, StrIn second, StrIn third) {
  return Imisc_StrGenericConfirm(Message(section, number), first, second, third);
}

void Imisc_ErrorExplain(StrIn section, unsigned number) {
  const std::string text = Message(section, number) + Reasons();
  if (RunBox("_ErrExpl", text) < 0) ToStandardError(text);
}

void Imisc_FinalErrorExplain(StrIn section, unsigned number) {
  Imisc_ErrorExplain(section, number);
  Processe_SetExitStatus(1);
  Processe_Exit();
  std::exit(1);
}

// --- Progress ----------------------------------------------------------------------------

Imisc_Timer Imisc_StartTimer(StrIn section, unsigned number, std::uint32_t total, bool withBreak) {
  return StartTimer(withBreak ? "_timer_brk" : "_timer", section, number, total);
}

Imisc_Timer Imisc_StartMsgTimer(StrIn section, unsigned number, std::uint32_t total, bool withBreak) {
  return StartTimer(withBreak ? "_timer_msg_brk" : "_timer_msg", section, number, total);
}

bool Imisc_NotifyTimer(Imisc_Timer t, std::uint32_t done) {
  if (t == nullptr) return true;
  t->done = done;
  Widget bar = Messages_Quietly([&] { return I_AccessWidget(t->context, kBar); });
  if (bar != nullptr && t->drawn != static_cast<int>(static_cast<std::uint64_t>(bar->width) *
                                                       std::min(done, t->total) / t->total))
    WtDraw_RedrawWidget(bar);
  I_Yield();
  return !t->broken;
}

bool Imisc_NotifyMsgTimer(Imisc_Timer t, std::uint32_t done, StrIn text) {
  if (t != nullptr) {
    const std::string copy = text.Str();
    Messages_Quietly([&] {
      return I_SetReprAttr(t->context, kLine, SIdPool_EnterId("TEXT"), copy.c_str(),
                           static_cast<std::uint32_t>(copy.size() + 1));
    });
  }
  return Imisc_NotifyTimer(t, done);
}

void Imisc_FinishTimer(Imisc_Timer& t) {
  if (t == nullptr) return;
  timers.erase(std::find(timers.begin(), timers.end(), t));
  I_Destroy(t->context);
  delete t;
  t = nullptr;
}

bool Imisc_BreakCallback() {
  I_Yield();
  return !timers.empty() && timers.back()->broken;
}

// --- Helpers -----------------------------------------------------------------------------

void Imisc_ConfigureAndShowText(I_Context c, std::int32_t element, StrIn text) {
  Widget w = Messages_Quietly([&] { return I_AccessWidget(c, element); });
  if (w == nullptr || !WtBase_InstanceOf(w, CWTextIO_class)) return;
  const std::vector<std::string> lines = Wrap(text.Str());
  std::size_t longest = 20;
  for (const std::string& line : lines) longest = std::max(longest, line.size());
  SetInt(c, element, "columns", static_cast<std::int32_t>(std::min(longest, kColumns)));
  SetInt(c, element, "rows", static_cast<std::int32_t>(std::min(lines.size(), kRows)));
  std::string joined = lines.front();
  for (std::size_t i = 1; i < lines.size(); ++i) joined += "\n" + lines[i];
  CWTextIO_SetText(w, joined);
}

int Imisc_TextWidth(StrIn text) { return WtDraw_StringWidth(2, false, text); }

bool Imisc_PendingEvents() { return W_DisplayOpen() && WtEvents_Pending(); }
