// The scheme object: its two lists of segments, the editing calls that keep
// references from destination sections to source sections consistent, the
// example, and the contents of the last match. The file format lives in
// SRenameFile.cpp, the matcher and the renamer in SRenameMatch.cpp.
#include "rules/SRename.h"

#include <algorithm>
#include <string_view>

#include "base/BFileIO.h"
#include "base/Messages.h"
#include "base/SFilMisc.h"
#include "base/SPrintf.h"
#include "rules/SRenameRec.h"

std::uint8_t SRename_error = 0;
std::size_t SRename_errorLine = 0;
char SRename_errorDetail[kTextCap] = "";

namespace {

char section[kSectionCap] = "SRename";

constexpr unsigned kLineTemplate = 14;    // "Line %d: %s"
constexpr unsigned kDetailTemplate = 15;  // "%s: %s"

bool Fail(std::uint8_t error) {
  SRename_error = error;
  return false;
}

bool Done() {
  SRename_error = 0;
  return true;
}

SRenamOp_Rec*& Head(SRename scheme, bool source) { return source ? scheme->source : scheme->destination; }

// The number of `segment` in the list from `head`, counted from 1; 0 when
// it isn't there.
std::size_t IndexOf(SRenamOp_Rec* head, const SRenamOp_Rec* segment) {
  std::size_t n = 1;
  for (SRenamOp_Rec* s = head; s != nullptr; s = s->next, ++n)
    if (s == segment) return n;
  return 0;
}

SRenamOp_Rec* At(SRenamOp_Rec* head, std::size_t n) {
  SRenamOp_Rec* s = head;
  for (std::size_t i = 1; s != nullptr && i < n; ++i) s = s->next;
  return s;
}

bool Unlink(SRenamOp_Rec*& head, SRenamOp_Rec* segment) {
  for (SRenamOp_Rec** link = &head; *link != nullptr; link = &(*link)->next) {
    if (*link != segment) continue;
    *link = segment->next;
    segment->next = nullptr;
    return true;
  }
  return false;
}

// Links `segment` so that it becomes number `place` (below 2 the first,
// past the end the last).
void Link(SRenamOp_Rec*& head, std::size_t place, SRenamOp_Rec* segment) {
  SRenamOp_Rec** link = &head;
  for (std::size_t n = 1; n < place && *link != nullptr; ++n) link = &(*link)->next;
  segment->next = *link;
  *link = segment;
}

bool Linked(SRename scheme, const SRenamOp_Rec* segment) {
  return IndexOf(scheme->source, segment) != 0 || IndexOf(scheme->destination, segment) != 0;
}

// A source section of the scheme by number; nil for literals and for none.
SRenamOp_Rec* SourceSection(SRename scheme, std::size_t n) {
  SRenamOp_Rec* s = n == 0 ? nullptr : At(scheme->source, n);
  return s != nullptr && !s->isString ? s : nullptr;
}

void ForgetCursor(SRename scheme, const SRenamOp_Rec* segment) {
  if (scheme->sourceCursor == segment) scheme->sourceCursor = nullptr;
  if (scheme->destinationCursor == segment) scheme->destinationCursor = nullptr;
}

void DestroyList(SRenamOp_Rec*& head) {
  while (head != nullptr) {
    SRenamOp_Rec* next = head->next;
    SRenamOp s = head;
    SRenamOp_Destroy(s);
    head = next;
  }
}

std::string_view ContentOf(const SRenamOp_Rec& s) { return {s.content, SRenamOp_ContentLength(s)}; }

SRenamOp_Rec* FirstWithKey(SRename scheme, std::uint8_t keyword) {
  for (SRenamOp_Rec* s = scheme->source; s != nullptr; s = s->next)
    if (!s->isString && s->keyword == keyword) return s;
  return nullptr;
}

// All source contents, the one of `replaced` (if any) by `text`.
bool JoinContents(SRename scheme, std::uint8_t keyword, std::string_view text, StrOut name) {
  name.Clear();
  if (scheme == nullptr) return Fail(SRename_kNoName);
  const SRenamOp_Rec* replaced = FirstWithKey(scheme, keyword);
  std::string joined;
  for (const SRenamOp_Rec* s = scheme->source; s != nullptr; s = s->next) joined += s == replaced ? text : ContentOf(*s);
  Strings_Assign(joined, name);
  return replaced != nullptr ? Done() : Fail(SRename_kNoSegment);
}

bool OperatorKnown(const SRenamOp_Operator& op) {
  return op.kind <= SRenamOp_kArithmetic && (op.kind != SRenamOp_kArithmetic || op.operation <= SRenamOp_kFormula);
}

}  // namespace

void SRename_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Messages_Init();
  BFileIO_Init();
  SFilMisc_Init();
}

// --- Create and destroy ----------------------------------------------------------

SRename SRename_Create() {
  Done();
  return new SRename_Rec;
}

void SRename_Destroy(SRename& scheme) {
  if (scheme == nullptr) return;
  DestroyList(scheme->source);
  DestroyList(scheme->destination);
  delete scheme;
  scheme = nullptr;
}

SRename SRename_Nil() { return nullptr; }

bool SRename_Check(SRename scheme) {
  if (scheme == nullptr) return Fail(SRename_kNoName);
  if (scheme->source == nullptr) return Fail(SRename_kInconsistent);
  for (const SRenamOp_Rec* s = scheme->source; s != nullptr; s = s->next)
    if (!s->isSrc || (!s->isString && s->keyword >= SRenamOp_kKeywordCount)) return Fail(SRename_kInconsistent);
  for (const SRenamOp_Rec* d = scheme->destination; d != nullptr; d = d->next) {
    if (d->isSrc) return Fail(SRename_kInconsistent);
    if (d->isString) continue;
    if (d->source == nullptr || d->source->isString || IndexOf(scheme->source, d->source) == 0 ||
        d->shift > SRenamOp_kLower || !std::all_of(d->ops.begin(), d->ops.end(), OperatorKnown))
      return Fail(SRename_kInconsistent);
  }
  return Done();
}

void SRename_GetErrorMessage(StrOut text) {
  text.Clear();
  if (SRename_error == 0) return;
  char words[kTextCap];
  Messages_GetMsg(section, SRename_error, words);  // messages: SRename 2-11 13
  if (SRename_errorDetail[0] != '\0') {
    char joined[kTextCap];
    Messages_GetMsg(section, kDetailTemplate, joined);
    SPrintf_String(joined, words);
    SPrintf_String(joined, SRename_errorDetail);
    Strings_Assign(joined, words);
  }
  if (SRename_errorLine > 0) {
    Messages_GetMsg(section, kLineTemplate, text);
    SPrintf_Card(text, static_cast<std::uint32_t>(SRename_errorLine));
    SPrintf_String(text, words);
  } else {
    Strings_Assign(words, text);
  }
}

// --- Example ----------------------------------------------------------------------

void SRename_SetExampleString(SRename scheme, StrIn example) {
  if (scheme == nullptr) {
    Fail(SRename_kNoName);
    return;
  }
  Strings_Assign(example, scheme->example);
  Done();
}

void SRename_GetExampleString(SRename scheme, StrOut example) {
  example.Clear();
  if (scheme == nullptr) {
    Fail(SRename_kNoName);
    return;
  }
  Strings_Assign(scheme->example, example);
  Done();
}

void SRename_GetExampleAssignment(SRename scheme, StrOut example, StrOut renamed) {
  example.Clear();
  renamed.Clear();
  if (scheme == nullptr) {
    Fail(SRename_kNoName);
    return;
  }
  std::string plain = StrIn(scheme->example).Str();
  for (std::size_t at; (at = plain.find("\\|")) != std::string::npos;) plain.erase(at, 2);
  if (!SRename_Match(scheme, plain)) return;
  Strings_Assign(plain, example);
  if (scheme->destination != nullptr) SRename_Rename(scheme, plain, renamed);
}

// --- Segments ------------------------------------------------------------------------

bool SRename_GetFirstSeg(SRename scheme, bool source, SRenamOp& segment) {
  segment = nullptr;
  if (scheme == nullptr) return Fail(SRename_kNoName);
  Done();
  (source ? scheme->sourceCursor : scheme->destinationCursor) = segment = Head(scheme, source);
  return segment != nullptr;
}

bool SRename_GetNextSeg(SRename scheme, bool source, SRenamOp& segment) {
  segment = nullptr;
  if (scheme == nullptr) return Fail(SRename_kNoName);
  Done();
  SRenamOp_Rec*& cursor = source ? scheme->sourceCursor : scheme->destinationCursor;
  if (cursor != nullptr) cursor = cursor->next;
  segment = cursor;
  return segment != nullptr;
}

SRenamOp SRename_GetSeg(SRename scheme, bool source, std::size_t n) {
  if (scheme == nullptr) {
    Fail(SRename_kNoName);
    return nullptr;
  }
  SRenamOp_Rec* s = At(Head(scheme, source), std::max<std::size_t>(n, 1));
  if (s == nullptr) Fail(SRename_kNoSegment);
  else Done();
  return s;
}

SRenamOp SRename_GetSrcSegWithIndex(SRename scheme, SRenamOp destination, std::size_t& index) {
  index = SRename_GetSrcSeg(scheme, destination);
  return index == 0 ? nullptr : destination->source;
}

SRenamOp SRename_NilSeg() { return nullptr; }

// --- Editing ---------------------------------------------------------------------------

SRenamOp SRename_CreateSrcSeg(bool isString) { return SRenamOp_Create(isString, true); }

SRenamOp SRename_CreateDstSeg(bool isString) { return SRenamOp_Create(isString, false); }

bool SRename_InsertSrcSeg(SRename scheme, std::size_t place, SRenamOp segment) {
  if (scheme == nullptr || segment == nullptr) return Fail(SRename_kNoName);
  if (!segment->isSrc || Linked(scheme, segment)) return Fail(SRename_kNoSegment);
  Link(scheme->source, place, segment);
  return Done();
}

bool SRename_InsertDstSeg(SRename scheme, std::size_t place, std::size_t sourceIndex, SRenamOp segment) {
  if (scheme == nullptr || segment == nullptr) return Fail(SRename_kNoName);
  if (segment->isSrc || Linked(scheme, segment)) return Fail(SRename_kNoSegment);
  if (!segment->isString) {
    SRenamOp_Rec* source = SourceSection(scheme, sourceIndex);
    if (source == nullptr) return Fail(SRename_kNoSegment);
    segment->source = source;
  }
  Link(scheme->destination, place, segment);
  return Done();
}

bool SRename_MoveDstSeg(SRename scheme, SRenamOp segment, std::size_t place) {
  if (scheme == nullptr || segment == nullptr) return Fail(SRename_kNoName);
  if (!Unlink(scheme->destination, segment)) return Fail(SRename_kNoSegment);
  Link(scheme->destination, place, segment);
  return Done();
}

std::size_t SRename_GetSrcSeg(SRename scheme, SRenamOp destination) {
  if (scheme == nullptr || destination == nullptr) {
    Fail(SRename_kNoName);
    return 0;
  }
  const std::size_t index = destination->isSrc ? 0 : IndexOf(scheme->source, destination->source);
  if (index == 0) Fail(SRename_kNoSegment);
  else Done();
  return index;
}

bool SRename_SetSrcSeg(SRename scheme, SRenamOp destination, std::size_t sourceIndex) {
  if (scheme == nullptr || destination == nullptr) return Fail(SRename_kNoName);
  SRenamOp_Rec* source = SourceSection(scheme, sourceIndex);
  if (destination->isString || IndexOf(scheme->destination, destination) == 0 || source == nullptr)
    return Fail(SRename_kNoSegment);
  destination->source = source;
  return Done();
}

bool SRename_DestroySeg(SRename scheme, SRenamOp& segment) {
  if (scheme == nullptr || segment == nullptr) return Fail(SRename_kNoName);
  if (Unlink(scheme->source, segment)) {
    // The sections built from it would refer to nothing.
    for (SRenamOp_Rec* d = scheme->destination; d != nullptr;) {
      SRenamOp_Rec* next = d->next;
      if (d->source == segment) {
        Unlink(scheme->destination, d);
        ForgetCursor(scheme, d);
        SRenamOp_Destroy(d);
      }
      d = next;
    }
  } else if (!Unlink(scheme->destination, segment)) {
    return Fail(SRename_kNoSegment);
  }
  ForgetCursor(scheme, segment);
  SRenamOp_Destroy(segment);
  return Done();
}

// --- Contents of the last match -----------------------------------------------

bool SRename_IsKeyIncluded(SRename scheme, std::uint8_t keyword) {
  return scheme != nullptr && FirstWithKey(scheme, keyword) != nullptr;
}

bool SRename_GetContentForKey(SRename scheme, std::uint8_t keyword, StrOut text) {
  text.Clear();
  if (scheme == nullptr) return Fail(SRename_kNoName);
  const SRenamOp_Rec* s = FirstWithKey(scheme, keyword);
  if (s == nullptr) return Fail(SRename_kNoSegment);
  Strings_Assign(StrIn(s->content, kNameCap - 1), text);
  return Done();
}

bool SRename_GetContentWithoutKey(SRename scheme, std::uint8_t keyword, StrOut name) {
  return JoinContents(scheme, keyword, "", name);
}

bool SRename_GetContentKeyReplaced(SRename scheme, std::uint8_t keyword, StrIn text, StrOut name) {
  return JoinContents(scheme, keyword, text.View(), name);
}
