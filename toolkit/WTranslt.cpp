#include "toolkit/WTranslt.h"

#include <cctype>
#include <cstdlib>
#include <string>
#include <vector>

#include "base/Messages.h"
#include "toolkit/CWCore.h"
#include "toolkit/WtEvents.h"

std::uint8_t WTranslt_error = 0;

namespace {

char section[kSectionCap] = "WTranslt";

constexpr std::uint32_t kAllModifiers = 0xE01F;
constexpr std::size_t kMaxName = 32;

enum class Detail : std::uint8_t { None, Key, Button, Atom };

struct EventName {
  const char* name;
  std::uint8_t kind;
  std::uint32_t mask;
  Detail detail;    // what may follow the name
  int button;       // -1 any; for the numbered button forms
  bool needsButton;  // the motion forms with "Btn"
};

constexpr std::uint32_t kBtnMotionMask = W_PointerMotionMask | W_PointerMotionHintMask | W_ButtonMotionMask;

const EventName kEvents[] = {
    {"Key", W_KeyPress, W_KeyPressMask, Detail::Key, -1, false},
    {"BtnDown", W_ButtonPress, W_ButtonPressMask, Detail::None, -1, false},
    {"Btn1Down", W_ButtonPress, W_ButtonPressMask, Detail::None, 0, false},
    {"Btn2Down", W_ButtonPress, W_ButtonPressMask, Detail::None, 1, false},
    {"Btn3Down", W_ButtonPress, W_ButtonPressMask, Detail::None, 2, false},
    {"Btn4Down", W_ButtonPress, W_ButtonPressMask, Detail::None, 3, false},
    {"Btn5Down", W_ButtonPress, W_ButtonPressMask, Detail::None, 4, false},
    {"BtnUp", W_ButtonRelease, W_ButtonReleaseMask, Detail::None, -1, false},
    {"Btn1Up", W_ButtonRelease, W_ButtonReleaseMask, Detail::None, 0, false},
    {"Btn2Up", W_ButtonRelease, W_ButtonReleaseMask, Detail::None, 1, false},
    {"Btn3Up", W_ButtonRelease, W_ButtonReleaseMask, Detail::None, 2, false},
    {"Btn4Up", W_ButtonRelease, W_ButtonReleaseMask, Detail::None, 3, false},
    {"Btn5Up", W_ButtonRelease, W_ButtonReleaseMask, Detail::None, 4, false},
    {"Motion", W_MotionNotify, W_PointerMotionMask, Detail::None, -1, false},
    {"BtnMotion", W_MotionNotify, kBtnMotionMask, Detail::None, -1, true},
    {"Btn1Motion", W_MotionNotify, kBtnMotionMask, Detail::None, 0, true},
    {"Btn2Motion", W_MotionNotify, kBtnMotionMask, Detail::None, 1, true},
    {"Btn3Motion", W_MotionNotify, kBtnMotionMask, Detail::None, 2, true},
    {"Btn4Motion", W_MotionNotify, kBtnMotionMask, Detail::None, 3, true},
    {"Btn5Motion", W_MotionNotify, kBtnMotionMask, Detail::None, 4, true},
    {"Enter", W_EnterNotify, W_EnterWindowMask, Detail::None, -1, false},
    {"Leave", W_LeaveNotify, W_LeaveWindowMask, Detail::None, -1, false},
    {"Expose", W_Expose, W_ExposureMask, Detail::None, -1, false},
    {"Prop", W_PropertyNotify, W_PropertyChangeMask, Detail::None, -1, false},
    {"FocusIn", W_FocusIn, W_FocusChangeMask, Detail::None, -1, false},
    {"FocusOut", W_FocusOut, W_FocusChangeMask, Detail::None, -1, false},
    {"Configure", W_ConfigureNotify, W_StructureNotifyMask, Detail::None, -1, false},
    {"Create", W_CreateNotify, W_SubstructureNotifyMask, Detail::None, -1, false},
    {"Destroy", W_DestroyNotify, W_StructureNotifyMask, Detail::None, -1, false},
    {"Map", W_MapNotify, W_StructureNotifyMask, Detail::None, -1, false},
    {"Unmap", W_UnmapNotify, W_StructureNotifyMask, Detail::None, -1, false},
    {"GrExp", W_GraphicsExpose, 0, Detail::None, -1, false},
    {"NoExp", W_NoExpose, 0, Detail::None, -1, false},
    {"Message", W_ClientMessage, 0, Detail::Atom, -1, false},
    {"SelectionClear", W_SelectionClear, 0, Detail::None, -1, false},
    {"SelectionRequest", W_SelectionRequest, 0, Detail::None, -1, false},
    {"Selection", W_SelectionNotify, 0, Detail::None, -1, false},
};

const struct {
  const char* name;
  std::uint8_t ch;
} kKeyNames[] = {{"Enter", W_KeyReturn}, {"BS", W_KeyBackSpace}, {"InsToggle", W_KeyInsert},
                 {"Abort", W_KeyEscape}, {"CsrRight", W_KeyRight}, {"CsrLeft", W_KeyLeft},
                 {"CsrUp", W_KeyUp},     {"CsrDown", W_KeyDown},    {"Del", W_KeyDelete},
                 {"PgUp", W_KeyPrior},   {"PgDown", W_KeyNext},     {"Home", W_KeyHome},
                 {"End", W_KeyEnd},      {"Tab", W_KeyTab},         {"BackTab", W_KeyBackTab}};

const struct {
  const char* name;
  std::uint32_t bits;
} kModifiers[] = {{"Ctrl", W_CtrlMask}, {"Alt", W_AltMask}, {"Shift", W_ShiftMask},
                  {"Btn1", 0x1},        {"Btn2", 0x2},      {"Btn3", 0x4},
                  {"Btn4", 0x8},        {"Btn5", 0x10},     {"None", kAllModifiers}};

struct Entry {
  std::uint8_t kind;
  std::uint32_t modMask, modValue;
  std::int64_t detail;  // -1 any: a key's character, a button, an atom
  bool needsButton;
  std::uint32_t mask;
  WTranslt_Action action;
};

const EventName* FindEvent(const std::string& name) {
  for (const EventName& e : kEvents)
    if (name == e.name) return &e;
  return nullptr;
}

// The parser of one text; on failure `error` holds the message number and
// `at` the place.
class Parser {
 public:
  explicit Parser(std::string text) : text_(std::move(text)) {}

  bool Parse(WTranslt_Action action, std::vector<Entry>& entries) {
    SkipBlanks();
    if (AtEnd()) return Fail(1);
    for (;;) {
      Entry entry{};
      entry.action = action;
      if (!ParseOne(entry)) return false;
      entries.push_back(entry);
      SkipBlanks();
      if (AtEnd()) return true;
      if (text_[at_] != ',') return Fail(7);
      ++at_;
      SkipBlanks();
    }
  }

  void Report() const {
    WTranslt_error = static_cast<std::uint8_t>(error_);
    Messages_SupplyAdditionalInfo(text_);
    Messages_SupplyAdditionalInfo(std::string(at_, ' ') + "^");
    Messages_Error(section, static_cast<unsigned>(error_));  // messages: WTranslt 1-8 11 12 15-21
  }

 private:
  bool ParseOne(Entry& entry) {
    std::uint32_t positive = 0, negative = 0;
    bool exact = false, none = false;
    if (text_[at_] == '!') {
      exact = true;
      ++at_;
      SkipBlanks();
      if (AtEnd()) return Fail(8);
    }
    while (!AtEnd() && text_[at_] != '<') {
      const bool negated = text_[at_] == '~';
      if (negated) ++at_;
      const std::size_t start = at_;
      std::string name;
      if (!ReadName(name)) return false;
      std::uint32_t bits = 0;
      for (const auto& m : kModifiers)
        if (name == m.name) bits = m.bits;
      if (bits == 0) return Fail(16, start);
      if (bits == kAllModifiers) {
        if (negated || none) return Fail(negated ? 17 : 18, start);
        none = true;
      } else if ((positive | negative) & bits) {
        return Fail(((negated ? negative : positive) & bits) ? 18 : 17, start);
      } else {
        (negated ? negative : positive) |= bits;
      }
      SkipBlanks();
    }
    if (AtEnd()) return Fail(2);
    if (none && positive != 0) return Fail(17);
    const std::size_t nameStart = ++at_;
    std::string name;
    if (!ReadName(name)) return false;
    if (AtEnd() || text_[at_] != '>') return Fail(3);
    const EventName* event = FindEvent(name);
    if (event == nullptr) return Fail(4, nameStart);
    ++at_;
    const bool modified = exact || none || positive != 0 || negative != 0;
    if (modified && !W_IsInputKind(event->kind)) return Fail(19, nameStart);
    entry.kind = event->kind;
    entry.mask = event->mask;
    entry.needsButton = event->needsButton;
    entry.detail = event->button;
    entry.modValue = positive;
    entry.modMask = exact || none ? kAllModifiers : (positive | negative);
    return ParseDetail(*event, entry);
  }

  bool ParseDetail(const EventName& event, Entry& entry) {
    SkipBlanks();
    if (event.detail == Detail::Atom) {
      const std::size_t start = at_;
      std::string name;
      if (!ReadName(name)) return false;
      entry.detail = static_cast<std::int64_t>(W_InternAtom(name, false));
      return entry.detail != 0 || Fail(15, start);
    }
    if (event.detail != Detail::Key) return true;
    const std::size_t start = at_;
    std::string detail;
    while (!AtEnd() && text_[at_] != ',' && !std::isspace(static_cast<unsigned char>(text_[at_]))) {
      if (text_[at_] == '\\' && at_ + 1 < text_.size()) detail += text_[at_++];
      detail += text_[at_++];
    }
    if (detail.empty()) {
      entry.detail = -1;
      return true;
    }
    std::uint8_t ch;
    const int code = KeyCode(detail, ch);
    if (code != 0) return Fail(code, start);
    entry.detail = ch;
    return true;
  }

 public:
  // 0 and the character, or the error number.
  static int KeyCode(const std::string& detail, std::uint8_t& ch) {
    if (detail[0] == '\\') {
      if (detail.size() < 2) return 8;
      if (detail.size() > 2) return 21;
      if (detail[1] != '\\' && detail[1] != '^' && detail[1] != ',') return 20;
      ch = static_cast<std::uint8_t>(detail[1]);
      return 0;
    }
    if (detail.size() == 1) {
      ch = static_cast<std::uint8_t>(detail[0]);
      return 0;
    }
    if (detail[0] == '^' && detail.size() == 2) {
      const int code = detail[1] - 64;
      if (code < 0 || code > 31) return 11;
      ch = static_cast<std::uint8_t>(code);
      return 0;
    }
    for (const auto& k : kKeyNames)
      if (detail == k.name) {
        ch = k.ch;
        return 0;
      }
    if (detail.size() >= 2 && detail.size() <= 3 && detail[0] == 'F') {
      const int n = std::atoi(detail.c_str() + 1);
      if (n >= 1 && n <= 10 && std::to_string(n) == detail.substr(1)) {
        ch = static_cast<std::uint8_t>(W_KeyF1 + n - 1);
        return 0;
      }
    }
    return 12;
  }

 private:
  bool ReadName(std::string& name) {
    const std::size_t start = at_;
    while (!AtEnd() && (std::isalnum(static_cast<unsigned char>(text_[at_])) || text_[at_] == '_')) ++at_;
    if (at_ == start) return Fail(5);
    if (at_ - start > kMaxName) return Fail(6, start);
    name = text_.substr(start, at_ - start);
    return true;
  }

  void SkipBlanks() {
    while (!AtEnd() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
  }
  bool AtEnd() const { return at_ >= text_.size(); }
  bool Fail(int error) { return Fail(error, at_); }
  bool Fail(int error, std::size_t at) {
    error_ = error;
    at_ = at;
    return false;
  }

  std::string text_;
  std::size_t at_ = 0;
  int error_ = 0;
};

bool SameEvent(const Entry& a, const Entry& b) {
  return a.kind == b.kind && a.detail == b.detail && a.modMask == b.modMask && a.modValue == b.modValue &&
         a.needsButton == b.needsButton;
}

bool Matches(const Entry& e, const W_Event& event) {
  if (e.kind != event.kind) return false;
  if (W_IsInputKind(event.kind)) {
    std::uint32_t state = event.input.state;
    // A button's own bit is part of its event, not a modifier.
    if (event.kind == W_ButtonPress || event.kind == W_ButtonRelease) state &= ~(1u << event.input.button);
    if ((state & e.modMask) != e.modValue) return false;
  }
  switch (e.kind) {
    case W_KeyPress: return e.detail < 0 || e.detail == event.input.ch;
    case W_ButtonPress:
    case W_ButtonRelease: return e.detail < 0 || e.detail == event.input.button;
    case W_MotionNotify:
      if (!e.needsButton) return true;
      return e.detail < 0 ? (event.input.state & W_ButtonsMask) != 0
                          : (event.input.state & (1u << e.detail)) != 0;
    case W_ClientMessage: return static_cast<W_Atom>(e.detail) == event.client.messageType;
    default: return true;
  }
}

}  // namespace

struct WTranslt_TableRec : std::vector<Entry> {};

namespace {

bool Enter(WTranslt_Table& table, StrIn text, WTranslt_Action action, bool override) {
  WTranslt_error = 0;
  Parser parser(text.Str());
  std::vector<Entry> parsed;
  if (!parser.Parse(action, parsed)) {
    parser.Report();
    return false;
  }
  if (table == nullptr) table = WTranslt_CreateTranslationTable();
  std::vector<Entry>& entries = *table;
  if (override)
    for (const Entry& p : parsed) std::erase_if(entries, [&](const Entry& e) { return SameEvent(e, p); });
  entries.insert(entries.end(), parsed.begin(), parsed.end());
  return true;
}

}  // namespace

WTranslt_Table WTranslt_NilTranslationTable() { return nullptr; }

WTranslt_Table WTranslt_CreateTranslationTable() { return new WTranslt_TableRec; }

WTranslt_Table WTranslt_CopyTranslationTable(WTranslt_Table table) {
  auto* copy = new WTranslt_TableRec;
  if (table != nullptr) *copy = *table;
  return copy;
}

void WTranslt_DestroyTranslationTable(WTranslt_Table& table) {
  delete table;
  table = nullptr;
}

bool WTranslt_EnterTranslation(WTranslt_Table& table, StrIn text, WTranslt_Action action) {
  return Enter(table, text, action, false);
}

bool WTranslt_OverrideTranslation(WTranslt_Table& table, StrIn text, WTranslt_Action action) {
  return Enter(table, text, action, true);
}

std::uint32_t WTranslt_EventMask(WTranslt_Table table) {
  std::uint32_t mask = 0;
  if (table != nullptr)
    for (const Entry& e : *table) mask |= e.mask;
  return mask;
}

void WTranslt_SetTranslationTable(Widget widget, WTranslt_Table table) {
  widget->translations = table;
  if (widget->realized && !widget->gadget) WtEvents_BuildEventMask(widget);
}

WTranslt_Table WTranslt_GetTranslationTable(Widget widget) { return widget->translations; }

bool WTranslt_TranslateEvent(Widget widget, W_Event& event) {
  bool handled = false;
  if (widget->translations != nullptr) {
    // The matching actions are taken first: an action may change the table.
    std::vector<WTranslt_Action> actions;
    for (const Entry& e : *widget->translations)
      if (Matches(e, event)) actions.push_back(e.action);
    for (WTranslt_Action action : actions) {
      event.handled = true;
      action(widget, event);
      handled = handled || event.handled;
    }
  }
  event.handled = handled;
  return handled;
}

void WTranslt_ReturnEvent(Widget, W_Event& event) { event.handled = false; }

bool WTranslt_GetEventInfo(StrIn name, std::uint8_t& kind, std::uint32_t& mask) {
  const EventName* e = FindEvent(name.Str());
  if (e == nullptr) return false;
  kind = e->kind;
  mask = e->mask;
  return true;
}

bool WTranslt_TranslateKeyString(StrIn text, std::uint8_t& ch) {
  const std::string detail = text.Str();
  return !detail.empty() && Parser::KeyCode(detail, ch) == 0;
}
