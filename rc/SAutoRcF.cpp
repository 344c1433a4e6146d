#include "rc/SAutoRcF.h"

#include <algorithm>
#include <cstring>
#include <forward_list>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/BConvert.h"
#include "base/BFileIO.h"
#include "base/BOutIn.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "base/StringOp.h"

std::uint8_t SAutoRcF_error = 0;

namespace {

enum Error : std::uint8_t {
  kFine = 0,
  kNotFound = 1,
  kNotCreated = 2,
  kNil = 3,
  kAbsent = 4,
  kWrongForm = 5,
  kSyntax = 6,
};

struct Command {
  char text[kTextCap];
};

struct Option {
  char key[kNameCap];
  char value[kTextCap];
};

constexpr std::string_view kRemoteStartPrefix = "REMOTESTART_";

// Copies `text` into `dst`, cut at its bound. Unlike Strings_Assign this takes
// a piece out of the middle of a line, which has no terminator of its own.
void Put(StrOut dst, std::string_view text) {
  const std::size_t length = std::min(text.size(), dst.Capacity());
  if (length > 0) std::memcpy(dst.Data(), text.data(), length);
  dst.Terminate(length);
}

std::string_view ViewOf(StrIn text) { return text.View(); }

bool Fail(std::uint8_t error) {
  SAutoRcF_error = error;
  return false;
}

}  // namespace

struct SAutoRcF_Rec {
  std::forward_list<Command> commands;  // file order; the tail is kept for appending
  std::forward_list<Command>::iterator lastCommand = commands.before_begin();
  std::forward_list<Command>::iterator commandCursor = commands.end();
  std::size_t commandCount = 0;
  std::forward_list<Option> options;  // newest first
  std::forward_list<Option>::iterator optionCursor = options.end();
  std::uint32_t remoteStarts = 0;
};

namespace {

// The number n of a key "REMOTESTART_n/...", when the key has that form.
bool RemoteStartIndex(std::string_view key, std::uint32_t& index) {
  if (!key.starts_with(kRemoteStartPrefix)) return false;
  key.remove_prefix(kRemoteStartPrefix.size());
  key = key.substr(0, key.find('/'));
  if (key.empty() || key.size() > 10) return false;
  std::uint64_t n = 0;
  for (const char c : key) {
    if (c < '0' || c > '9') return false;
    n = n * 10 + static_cast<std::uint64_t>(c - '0');
  }
  // n+1 must still be a count.
  if (n >= std::numeric_limits<std::uint32_t>::max()) return false;
  index = static_cast<std::uint32_t>(n);
  return true;
}

void AddOption(SAutoRcF rc, std::string_view key, std::string_view value) {
  Option& option = rc->options.emplace_front();
  Put(option.key, key);
  Put(option.value, value);
  std::uint32_t index = 0;
  if (RemoteStartIndex(ViewOf(option.key), index)) rc->remoteStarts = std::max(rc->remoteStarts, index + 1);
}

// The newest option of `key`, or nullptr.
Option* Find(SAutoRcF rc, StrIn key) {
  for (Option& option : rc->options) {
    if (Strings_Equal(option.key, key)) return &option;
  }
  return nullptr;
}

// Removes the options that `doomed` picks. A cursor standing on one of them
// first moves past it, so that a walk in progress goes on from the next one.
template <class Pred>
std::size_t RemoveOptions(SAutoRcF rc, Pred doomed) {
  while (rc->optionCursor != rc->options.end() && doomed(*rc->optionCursor)) ++rc->optionCursor;
  return rc->options.remove_if(doomed);
}

void AddCommand(SAutoRcF rc, std::string_view text) {
  rc->lastCommand = rc->commands.emplace_after(rc->lastCommand);
  Put(rc->lastCommand->text, text);
  ++rc->commandCount;
}

bool DeliverCommand(SAutoRcF rc, StrOut command) {
  command.Clear();
  if (rc == nullptr) return Fail(kNil);
  if (rc->commandCursor == rc->commands.end()) return Fail(kAbsent);
  Strings_Assign(rc->commandCursor->text, command);
  ++rc->commandCursor;
  SAutoRcF_error = kFine;
  return true;
}

// The option under the cursor, which then moves on; nullptr past the last.
const Option* NextOption(SAutoRcF rc) {
  if (rc == nullptr) {
    Fail(kNil);
    return nullptr;
  }
  if (rc->optionCursor == rc->options.end()) {
    Fail(kAbsent);
    return nullptr;
  }
  SAutoRcF_error = kFine;
  return &*rc->optionCursor++;
}

bool DeliverOpt(const Option* option, StrOut key, StrOut value) {
  key.Clear();
  value.Clear();
  if (option == nullptr) return false;
  Strings_Assign(option->key, key);
  Strings_Assign(option->value, value);
  return true;
}

bool DeliverOption(const Option* option, StrOut text) {
  text.Clear();
  if (option == nullptr) return false;
  std::string joined(ViewOf(option->key));
  joined += '=';
  joined += ViewOf(option->value);
  Strings_Assign(joined, text);
  return true;
}

// A number conversion of BConvert that must use up the whole text.
template <class T>
bool ReadNumber(SAutoRcF rc, StrIn key, T& value, bool (*convert)(StrOut, T&)) {
  value = 0;
  char text[kTextCap];
  if (!SAutoRcF_GetStringOpt(rc, key, text)) return false;
  T read = 0;
  if (!convert(StrOut(text), read) || !StrIn(text).Empty()) return Fail(kWrongForm);
  value = read;
  return true;
}

// Bit numbers 0..31 separated by ","; the empty text is the empty set.
bool ParseBitset(StrOut text, std::uint32_t& bits) {
  bits = 0;
  if (StrIn(text).Empty()) return true;
  char token[kTextCap];
  for (std::size_t n = StringOp_NumTokens(text, ','); n > 0; --n) {
    StringOp_NextToken(text, ',', token);
    std::uint32_t bit = 0;
    if (!BConvert_StrToCard(token, bit) || !StrIn(token).Empty() || bit > 31) return false;
    bits |= std::uint32_t{1} << bit;
  }
  return true;
}

// Reads a typed option into `field` only when it is there in the right form,
// so that the field keeps its default otherwise.
template <class T, class Get>
bool ReadInto(SAutoRcF rc, StrIn key, T& field, Get get) {
  T value{};
  if (!get(rc, key, value)) return false;
  field = value;
  return true;
}

void KeyWithIndex(StrIn keyTemplate, std::uint32_t index, StrOut key) {
  Strings_Assign(keyTemplate, key);
  SPrintf_Card(key, index);
}

void OutdirKey(std::uint32_t index, StrOut key) {
  if (index < 2) {
    Strings_Assign("_OUTDIR_", key);
  } else {
    KeyWithIndex("_OUTDIR%d_", index, key);
  }
}

void OverwriteKey(std::uint32_t index, StrOut key) {
  if (index < 2) {
    Strings_Assign("_OVERWRITE_", key);
  } else {
    KeyWithIndex("_OVERWRITE_%d_", index, key);
  }
}

void RemoteStartKey(std::uint32_t index, StrIn field, StrOut key) {
  KeyWithIndex("REMOTESTART_%d/", index, key);
  Strings_Concat(key, field, key);
}

constexpr const char* kSequenceKeys[] = {
    "SEQUENCE/MODE",    "SEQUENCE/NAMESCHEME",    "SEQUENCE/STARTDELAY", "SEQUENCE/FILETIMEOUT",
    "SEQUENCE/TIMEOUT", "SEQUENCE/SERIESTIMEOUT", "SEQUENCE/DESCENDING",
};

}  // namespace

void SAutoRcF_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  BOutIn_Init();
  SFilMisc_Init();
}

// --- Create, copy, destroy ----------------------------------------------------

SAutoRcF SAutoRcF_Create() {
  SAutoRcF_error = kFine;
  return new SAutoRcF_Rec;
}

SAutoRcF SAutoRcF_Copy(SAutoRcF rc) {
  if (rc == nullptr) {
    Fail(kNil);
    return nullptr;
  }
  SAutoRcF copy = SAutoRcF_Create();
  for (const Command& command : rc->commands) AddCommand(copy, ViewOf(command.text));
  for (const Option& option : rc->options) AddOption(copy, ViewOf(option.key), ViewOf(option.value));
  return copy;
}

void SAutoRcF_Destroy(SAutoRcF& rc) {
  delete rc;
  rc = nullptr;
}

SAutoRcF SAutoRcF_Nil() { return nullptr; }

bool SAutoRcF_Check(SAutoRcF rc) {
  if (rc == nullptr) return Fail(kNil);
  SAutoRcF_error = kFine;
  return true;
}

bool SAutoRcF_SameContent(SAutoRcF a, SAutoRcF b) {
  if (a == nullptr || b == nullptr) return a == b;
  if (a->commandCount != b->commandCount) return false;
  auto ca = a->commands.begin();
  for (const Command& command : b->commands) {
    if (ViewOf(ca->text) != ViewOf(command.text)) return false;
    ++ca;
  }
  // A load turns the option order round: compare them sorted.
  auto sorted = [](SAutoRcF rc) {
    std::vector<std::pair<std::string_view, std::string_view>> options;
    for (const Option& option : rc->options) options.emplace_back(ViewOf(option.key), ViewOf(option.value));
    std::sort(options.begin(), options.end());
    return options;
  };
  return sorted(a) == sorted(b);
}

// --- File ---------------------------------------------------------------------

bool SAutoRcF_Load(StrIn file, SAutoRcF& rc) {
  rc = nullptr;
  // The file layer reports what goes wrong; here a missing file is an answer.
  Messages_IgnoreErrors(true);
  BFileIO_File in = BFileIO_Open(file, FileIO_readMode);
  std::uint8_t error = in == nullptr ? kNotFound : kFine;
  auto object = std::make_unique<SAutoRcF_Rec>();
  bool optionsBegun = false;
  char line[kTextCap];
  while (error == kFine && BOutIn_ReadLine(in, line)) {
    const std::string_view text = StrIn(line).View();
    if (text.starts_with(": ")) {
      const std::size_t equals = text.find('=', 2);
      if (equals == std::string_view::npos) {
        error = kSyntax;
      } else {
        AddOption(object.get(), text.substr(2, equals - 2), text.substr(equals + 1));
        optionsBegun = true;
      }
    } else if (!optionsBegun && object->commandCount < kSAutoRcFMaxCommands) {
      AddCommand(object.get(), text);
    } else {
      error = kSyntax;
    }
  }
  // A file that opens but cannot be read (a directory) counts as not there.
  if (error == kFine && BFileIO_ioError != 0) error = kNotFound;
  BFileIO_Close(in);
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  if (error != kFine) return Fail(error);
  rc = object.release();
  SAutoRcF_error = kFine;
  return true;
}

bool SAutoRcF_Save(StrIn file, SAutoRcF rc) {
  if (rc == nullptr) return Fail(kNil);
  Messages_IgnoreErrors(true);
  BFileIO_File out = BFileIO_Create(file);
  const bool created = out != nullptr;
  if (created) {
    for (const Command& command : rc->commands) BOutIn_WriteLine(out, command.text);
    // Each option as ": KEY=VALUE", written in pieces: key and value together
    // may be longer than any one bounded line.
    for (const Option& option : rc->options) {
      BOutIn_WriteString(out, ": ");
      BOutIn_WriteString(out, option.key);
      BOutIn_WriteChar(out, '=');
      BOutIn_WriteLine(out, option.value);
    }
    BFileIO_Close(out);
    // The demon and the module commands run as other users.
    SFilMisc_ChMod(file, "666");
  }
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  if (!created) return Fail(kNotCreated);
  SAutoRcF_error = kFine;
  return true;
}

// --- Commands -----------------------------------------------------------------

void SAutoRcF_AddCmd(SAutoRcF rc, StrIn command) {
  if (rc == nullptr) {
    Fail(kNil);
    return;
  }
  AddCommand(rc, command.View());
  SAutoRcF_error = kFine;
}

void SAutoRcF_SetFirstCmd(SAutoRcF rc, StrIn command) {
  // Taken aside first: the command may come out of this very object.
  const std::string text = command.Str();
  SAutoRcF_UnsetAllCmds(rc);
  if (rc != nullptr) SAutoRcF_AddCmd(rc, text);
}

bool SAutoRcF_GetFirstCmd(SAutoRcF rc, StrOut command) {
  if (rc != nullptr) rc->commandCursor = rc->commands.begin();
  return DeliverCommand(rc, command);
}

bool SAutoRcF_GetNextCmd(SAutoRcF rc, StrOut command) { return DeliverCommand(rc, command); }

void SAutoRcF_UnsetAllCmds(SAutoRcF rc) {
  if (rc == nullptr) {
    Fail(kNil);
    return;
  }
  rc->commands.clear();
  rc->lastCommand = rc->commands.before_begin();
  rc->commandCursor = rc->commands.end();
  rc->commandCount = 0;
  SAutoRcF_error = kFine;
}

// --- Options, untyped ---------------------------------------------------------

void SAutoRcF_AddOpt(SAutoRcF rc, StrIn key, StrIn value) {
  if (rc == nullptr) {
    Fail(kNil);
    return;
  }
  AddOption(rc, key.View(), value.View());
  SAutoRcF_error = kFine;
}

bool SAutoRcF_GetFirstOpt(SAutoRcF rc, StrOut key, StrOut value) {
  if (rc != nullptr) rc->optionCursor = rc->options.begin();
  return DeliverOpt(NextOption(rc), key, value);
}

bool SAutoRcF_GetNextOpt(SAutoRcF rc, StrOut key, StrOut value) { return DeliverOpt(NextOption(rc), key, value); }

bool SAutoRcF_GetFirstOption(SAutoRcF rc, StrOut option) {
  if (rc != nullptr) rc->optionCursor = rc->options.begin();
  return DeliverOption(NextOption(rc), option);
}

bool SAutoRcF_GetNextOption(SAutoRcF rc, StrOut option) { return DeliverOption(NextOption(rc), option); }

bool SAutoRcF_GetOpt(SAutoRcF rc, StrIn key, StrOut value) {
  const Option* option = rc == nullptr ? nullptr : Find(rc, key);
  if (option == nullptr) {
    value.Clear();
    return Fail(rc == nullptr ? kNil : kAbsent);
  }
  Strings_Assign(option->value, value);
  SAutoRcF_error = kFine;
  return true;
}

bool SAutoRcF_GetOptValue(SAutoRcF rc, StrIn key, StrIn fallback, StrOut value) {
  // The fallback may be the destination, so it is taken aside first.
  const std::string text = fallback.Str();
  if (SAutoRcF_GetOpt(rc, key, value)) return true;
  Strings_Assign(text, value);
  return false;
}

bool SAutoRcF_UnsetOpt(SAutoRcF rc, StrIn key) {
  if (rc == nullptr) return Fail(kNil);
  if (RemoveOptions(rc, [&](const Option& option) { return Strings_Equal(option.key, key); }) == 0) {
    return Fail(kAbsent);
  }
  SAutoRcF_error = kFine;
  return true;
}

void SAutoRcF_UnsetAllOpts(SAutoRcF rc) {
  if (rc == nullptr) {
    Fail(kNil);
    return;
  }
  rc->options.clear();
  rc->optionCursor = rc->options.end();
  rc->remoteStarts = 0;
  SAutoRcF_error = kFine;
}

// --- Options, typed -----------------------------------------------------------

bool SAutoRcF_GetBoolOpt(SAutoRcF rc, StrIn key, bool& value) {
  value = false;
  char text[kTextCap];
  if (!SAutoRcF_GetStringOpt(rc, key, text)) return false;
  // Exact comparison: "_TRUE_ " is no boolean.
  if (Strings_Equal(text, "_TRUE_")) {
    value = true;
  } else if (!Strings_Equal(text, "_FALSE_")) {
    return Fail(kWrongForm);
  }
  return true;
}

bool SAutoRcF_GetCardOpt(SAutoRcF rc, StrIn key, std::uint32_t& value) {
  return ReadNumber(rc, key, value, BConvert_StrToCard);
}

bool SAutoRcF_GetIntOpt(SAutoRcF rc, StrIn key, std::int32_t& value) {
  return ReadNumber(rc, key, value, BConvert_StrToInt);
}

bool SAutoRcF_GetBitsetOpt(SAutoRcF rc, StrIn key, std::uint32_t& value) {
  value = 0;
  char text[kTextCap];
  if (!SAutoRcF_GetStringOpt(rc, key, text)) return false;
  std::uint32_t bits = 0;
  if (!ParseBitset(text, bits)) return Fail(kWrongForm);
  value = bits;
  return true;
}

bool SAutoRcF_GetRealOpt(SAutoRcF rc, StrIn key, double& value) {
  return ReadNumber(rc, key, value, BConvert_StrToReal);
}

bool SAutoRcF_GetStringOpt(SAutoRcF rc, StrIn key, StrOut value) { return SAutoRcF_GetOpt(rc, key, value); }

void SAutoRcF_SetBoolOpt(SAutoRcF rc, StrIn key, bool value) {
  SAutoRcF_SetStringOpt(rc, key, value ? StrIn("_TRUE_") : StrIn("_FALSE_"));
}

void SAutoRcF_SetCardOpt(SAutoRcF rc, StrIn key, std::uint32_t value) {
  char text[kNameCap] = "";
  BConvert_CardToStr(text, value, 0);
  SAutoRcF_SetStringOpt(rc, key, text);
}

void SAutoRcF_SetIntOpt(SAutoRcF rc, StrIn key, std::int32_t value) {
  char text[kNameCap] = "";
  BConvert_IntToStr(text, value, 0);
  SAutoRcF_SetStringOpt(rc, key, text);
}

void SAutoRcF_SetBitsetOpt(SAutoRcF rc, StrIn key, std::uint32_t value) {
  char text[kNameCap] = "";
  for (std::uint32_t bit = 0; bit < 32; ++bit) {
    if ((value & (std::uint32_t{1} << bit)) == 0) continue;
    if (!StrIn(text).Empty()) StringOp_ConcatChar(text, ',');
    BConvert_CardToStr(text, bit, 0);
  }
  SAutoRcF_SetStringOpt(rc, key, text);
}

void SAutoRcF_SetRealOpt(SAutoRcF rc, StrIn key, double value) {
  char text[kTextCap] = "";
  BConvert_RealToStr(text, value, 0, 8);
  SAutoRcF_SetStringOpt(rc, key, text);
}

void SAutoRcF_SetStringOpt(SAutoRcF rc, StrIn key, StrIn value) {
  if (rc == nullptr) {
    Fail(kNil);
    return;
  }
  Option* option = Find(rc, key);
  if (option == nullptr) {
    AddOption(rc, key.View(), value.View());
  } else {
    Put(option->value, value.View());
  }
  SAutoRcF_error = kFine;
}

// --- Reserved keys ------------------------------------------------------------

bool SAutoRcF_GetDescription(SAutoRcF rc, StrOut text) { return SAutoRcF_GetStringOpt(rc, "_DESCRIPTION_", text); }
void SAutoRcF_SetDescription(SAutoRcF rc, StrIn text) { SAutoRcF_SetStringOpt(rc, "_DESCRIPTION_", text); }

bool SAutoRcF_GetOutdir(SAutoRcF rc, StrOut path) { return SAutoRcF_GetNthOutdir(rc, 1, path); }
void SAutoRcF_SetOutdir(SAutoRcF rc, StrIn path) { SAutoRcF_SetNthOutdir(rc, 1, path); }
bool SAutoRcF_GetSecondOutdir(SAutoRcF rc, StrOut path) { return SAutoRcF_GetNthOutdir(rc, 2, path); }
void SAutoRcF_SetSecondOutdir(SAutoRcF rc, StrIn path) { SAutoRcF_SetNthOutdir(rc, 2, path); }

bool SAutoRcF_GetNthOutdir(SAutoRcF rc, std::uint32_t index, StrOut path) {
  char key[kNameCap];
  OutdirKey(index, key);
  return SAutoRcF_GetStringOpt(rc, key, path);
}

void SAutoRcF_SetNthOutdir(SAutoRcF rc, std::uint32_t index, StrIn path) {
  char key[kNameCap];
  OutdirKey(index, key);
  SAutoRcF_SetStringOpt(rc, key, path);
}

bool SAutoRcF_GetErrordir(SAutoRcF rc, StrOut path) { return SAutoRcF_GetStringOpt(rc, "_ERRORDIR_", path); }
void SAutoRcF_SetErrordir(SAutoRcF rc, StrIn path) { SAutoRcF_SetStringOpt(rc, "_ERRORDIR_", path); }

std::uint32_t SAutoRcF_GetErrorMode(SAutoRcF rc) {
  std::uint32_t mode = 0;
  SAutoRcF_GetCardOpt(rc, "_ERRORMODE_", mode);
  return mode;
}
void SAutoRcF_SetErrorMode(SAutoRcF rc, std::uint32_t mode) { SAutoRcF_SetCardOpt(rc, "_ERRORMODE_", mode); }

bool SAutoRcF_GetInstalltime(SAutoRcF rc, StrOut text) { return SAutoRcF_GetStringOpt(rc, "_INSTALLTIME_", text); }
void SAutoRcF_SetInstalltime(SAutoRcF rc, StrIn text) { SAutoRcF_SetStringOpt(rc, "_INSTALLTIME_", text); }

bool SAutoRcF_GetFinalpageMode(SAutoRcF rc) {
  bool on = false;
  SAutoRcF_GetBoolOpt(rc, "_FINALPAGEMODE_", on);
  return on;
}
void SAutoRcF_SetFinalpageMode(SAutoRcF rc, bool on) { SAutoRcF_SetBoolOpt(rc, "_FINALPAGEMODE_", on); }

bool SAutoRcF_GetJobticketMode(SAutoRcF rc) {
  bool on = false;
  SAutoRcF_GetBoolOpt(rc, "_JOBTICKETMODE_", on);
  return on;
}
void SAutoRcF_SetJobticketMode(SAutoRcF rc, bool on) { SAutoRcF_SetBoolOpt(rc, "_JOBTICKETMODE_", on); }

bool SAutoRcF_GetOverwriteMode(SAutoRcF rc, std::uint32_t index) {
  char key[kNameCap];
  OverwriteKey(index, key);
  bool on = false;
  SAutoRcF_GetBoolOpt(rc, key, on);
  return on;
}

void SAutoRcF_SetOverwriteMode(SAutoRcF rc, std::uint32_t index, bool on) {
  char key[kNameCap];
  OverwriteKey(index, key);
  SAutoRcF_SetBoolOpt(rc, key, on);
}

bool SAutoRcF_GetReportID(SAutoRcF rc, StrOut id) { return SAutoRcF_GetStringOpt(rc, "_REPORTID_", id); }

void SAutoRcF_SetReportID(SAutoRcF rc, StrIn id) {
  if (!id.Empty()) {
    SAutoRcF_SetStringOpt(rc, "_REPORTID_", id);
    return;
  }
  // An id that was not there is as unset as it should be.
  if (!SAutoRcF_UnsetOpt(rc, "_REPORTID_") && SAutoRcF_error == kAbsent) SAutoRcF_error = kFine;
}

std::int32_t SAutoRcF_GetReportAddon(SAutoRcF rc) {
  std::int32_t addon = 0;
  SAutoRcF_GetIntOpt(rc, "_REPORTADDON_", addon);
  return addon;
}
void SAutoRcF_SetReportAddon(SAutoRcF rc, std::int32_t addon) { SAutoRcF_SetIntOpt(rc, "_REPORTADDON_", addon); }

// --- Install time -------------------------------------------------------------

void SAutoRcF_FormatInstalltime(const SDateAri_DateTime& when, StrOut text) {
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const bool knownMonth = when.month >= 1 && when.month <= 12;
  char form[kNameCap] = "%2d-%s-%d  %2d:%02d:%02d";
  SPrintf_Card(form, when.day);
  SPrintf_String(form, StrIn::C(knownMonth ? kMonths[when.month - 1] : "???"));
  SPrintf_Int(form, when.year);
  SPrintf_Card(form, when.hour);
  SPrintf_Card(form, when.minute);
  SPrintf_Card(form, when.second);
  Strings_Assign(form, text);
}

void SAutoRcF_GetCurrentInstalltime(StrOut text) {
  SDateAri_DateTime now;
  SDateAri_StampToDateTime(SDateAri_Now(), now);
  SAutoRcF_FormatInstalltime(now, text);
}

// --- Sequence group -----------------------------------------------------------

std::uint32_t SAutoRcF_GetSequenceMode(SAutoRcF rc, SAutoRcF_Sequence& sequence) {
  sequence = SAutoRcF_Sequence{};
  if (rc == nullptr) {
    Fail(kNil);
    return 0;
  }
  std::uint32_t mode = 0;
  // Modes from 3 up belong to no release we know; such a folder runs without.
  if (SAutoRcF_GetCardOpt(rc, "SEQUENCE/MODE", mode) && mode > 0 && mode < 3) {
    SAutoRcF_GetStringOpt(rc, "SEQUENCE/NAMESCHEME", sequence.nameScheme);
    ReadInto(rc, "SEQUENCE/STARTDELAY", sequence.startDelay, SAutoRcF_GetRealOpt);
    // Files written before the key was renamed have only "SEQUENCE/TIMEOUT".
    if (!ReadInto(rc, "SEQUENCE/FILETIMEOUT", sequence.fileTimeout, SAutoRcF_GetRealOpt) &&
        SAutoRcF_error == kAbsent) {
      ReadInto(rc, "SEQUENCE/TIMEOUT", sequence.fileTimeout, SAutoRcF_GetRealOpt);
    }
    ReadInto(rc, "SEQUENCE/SERIESTIMEOUT", sequence.seriesTimeout, SAutoRcF_GetRealOpt);
    ReadInto(rc, "SEQUENCE/DESCENDING", sequence.descending, SAutoRcF_GetBoolOpt);
  } else {
    mode = 0;
  }
  SAutoRcF_error = kFine;
  return mode;
}

void SAutoRcF_SetSequenceMode(SAutoRcF rc, std::uint32_t mode, const SAutoRcF_Sequence& sequence) {
  if (rc == nullptr) {
    Fail(kNil);
    return;
  }
  if (mode == 0) {
    for (const char* key : kSequenceKeys) SAutoRcF_UnsetOpt(rc, StrIn::C(key));
  } else {
    SAutoRcF_SetCardOpt(rc, "SEQUENCE/MODE", mode);
    SAutoRcF_SetStringOpt(rc, "SEQUENCE/NAMESCHEME", sequence.nameScheme);
    SAutoRcF_SetRealOpt(rc, "SEQUENCE/STARTDELAY", sequence.startDelay);
    SAutoRcF_SetRealOpt(rc, "SEQUENCE/FILETIMEOUT", sequence.fileTimeout);
    SAutoRcF_SetRealOpt(rc, "SEQUENCE/SERIESTIMEOUT", sequence.seriesTimeout);
    SAutoRcF_SetBoolOpt(rc, "SEQUENCE/DESCENDING", sequence.descending);
  }
  SAutoRcF_error = kFine;
}

// --- Remote starts ------------------------------------------------------------

std::uint32_t SAutoRcF_RemoteStartCount(SAutoRcF rc) {
  if (rc == nullptr) {
    Fail(kNil);
    return 0;
  }
  SAutoRcF_error = kFine;
  return rc->remoteStarts;
}

bool SAutoRcF_GetRemoteStart(SAutoRcF rc, std::uint32_t index, SAutoRcF_RemoteStart& start) {
  start = SAutoRcF_RemoteStart{};
  char key[kNameCap];
  RemoteStartKey(index, "SERVERNAME", key);
  if (!SAutoRcF_GetStringOpt(rc, key, start.server)) return false;
  RemoteStartKey(index, "SERVERDIR", key);
  if (!SAutoRcF_GetStringOpt(rc, key, start.directory)) {
    start = SAutoRcF_RemoteStart{};
    return false;
  }
  RemoteStartKey(index, "DELETEFILES", key);
  ReadInto(rc, key, start.deleteFiles, SAutoRcF_GetBoolOpt);
  SAutoRcF_error = kFine;
  return true;
}

void SAutoRcF_SetRemoteStart(SAutoRcF rc, std::uint32_t index, const SAutoRcF_RemoteStart& start) {
  char key[kNameCap];
  RemoteStartKey(index, "SERVERNAME", key);
  SAutoRcF_SetStringOpt(rc, key, start.server);
  RemoteStartKey(index, "SERVERDIR", key);
  SAutoRcF_SetStringOpt(rc, key, start.directory);
  RemoteStartKey(index, "DELETEFILES", key);
  SAutoRcF_SetBoolOpt(rc, key, start.deleteFiles);
}

void SAutoRcF_UnsetAllRemoteStarts(SAutoRcF rc) {
  if (rc == nullptr) {
    Fail(kNil);
    return;
  }
  RemoveOptions(rc, [](const Option& option) { return ViewOf(option.key).starts_with(kRemoteStartPrefix); });
  rc->remoteStarts = 0;
  SAutoRcF_error = kFine;
}

// --- Transfer to the foreign front ends ---------------------------------------

bool SAutoRcF_CreateRPCObject(SAutoRcF rc, SAutoRcF_RPCObject& object) {
  object.clear();
  if (rc == nullptr) return Fail(kNil);
  for (const Option& option : rc->options) {
    SAutoRcF_RPCField& field = object.emplace_back();
    Strings_Assign(option.key, field.key);
    Strings_Assign(option.value, field.value);
  }
  SAutoRcF_error = kFine;
  return true;
}

SAutoRcF SAutoRcF_CreateFromRPCObject(const SAutoRcF_RPCObject& object) {
  SAutoRcF rc = SAutoRcF_Create();
  SAutoRcF_SetFromRPCObject(rc, object);
  return rc;
}

bool SAutoRcF_SetFromRPCObject(SAutoRcF rc, const SAutoRcF_RPCObject& object) {
  if (rc == nullptr) return Fail(kNil);
  SAutoRcF_UnsetAllOpts(rc);
  // Added from the back, so that the head is the object's first field again.
  for (auto field = object.rbegin(); field != object.rend(); ++field) {
    AddOption(rc, ViewOf(field->key), ViewOf(field->value));
  }
  SAutoRcF_error = kFine;
  return true;
}
