#include "base/Messages.h"

#include <cstdlib>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Argument.h"
#include "base/BConvert.h"
#include "base/Catalog.h"
#include "base/Processe.h"
#include "base/SPrintf.h"

char Messages_message[kTextCap] = "";

// Ignore levels and the delayed flush
// -----------------------------------
//   level 0 --IgnoreErrors(true)--> level 1: sets the delayed flush
//   level n --IgnoreErrors(true)--> level n+1 (above 62: back to 0, error 2)
//   level n --IgnoreErrors(false)--> level n-1 (at 0: error 1)
// The delayed flush keeps the reasons of an old ignored failure readable
// until a new outermost bracket really records something: the next push
// first empties the whole stack.

namespace {

char section[kSectionCap] = "Messages";

constexpr unsigned kMaxLevel = 62;
constexpr std::size_t kShortReason = 127;
constexpr std::size_t kSectionColumn = 8;

struct CatalogCloser {
  void operator()(Catalog_Handle catalog) const { Catalog_CloseCatalogue(catalog); }
};

struct PoolNode {
  std::string fileName;
  std::unique_ptr<Catalog_Catalogue, CatalogCloser> catalog;
  // Per-section use counts; the foreign pools keep none.
  std::optional<std::map<std::string, unsigned>> useCounts;
};
using Pool = std::list<PoolNode>;  // newest catalog first

enum class ReasonKind { Error = 0, ShortInfo = 1, LongInfo = 2 };

struct Reason {
  ReasonKind kind;
  std::string section;  // kind Error
  unsigned number = 0;  // kind Error
  std::string text;     // kinds ShortInfo and LongInfo
};

Pool mainPool;
std::map<std::string, Pool> foreignPools;
unsigned globalUseCount = 0;
std::string nativeLanguage;

std::vector<Reason> reasons;
unsigned ignoreLevel = 0;
std::size_t levelHeights[64] = {};
bool pushErrors = true;
bool crashed = false;
bool delayedFlush = false;

// Puts a catalog at the head of a pool, which then owns it. Only the main
// pool counts uses.
void AddToPool(Pool& pool, const std::string& fileName, Catalog_Handle catalog) {
  PoolNode node{fileName, std::unique_ptr<Catalog_Catalogue, CatalogCloser>(catalog), std::nullopt};
  if (&pool == &mainPool) node.useCounts.emplace();
  pool.push_front(std::move(node));
}

void ReadNativeLanguage() {
  char language[kNameCap];
  Catalog_GetLanguage(language, "eng");
  nativeLanguage = language;
}

// Empties the stack when a delayed flush is pending.
void FlushIfDelayed() {
  if (!delayedFlush) return;
  delayedFlush = false;
  reasons.clear();
}

void Push(Reason reason) {
  if (reasons.size() < kMessagesStackSize) reasons.push_back(std::move(reason));
}

void NotFoundText(StrIn sectionName, unsigned number, StrOut text) {
  Strings_Assign("*** ERROR (", text);
  Strings_Concat(text, sectionName, text);
  Strings_Concat(text, ", ", text);
  BConvert_CardToStr(text, number, 0);
  Strings_Concat(text, ") : message text not found ***", text);
}

// Walks the pool from its head; the first catalog that holds the text wins.
void GetIt(Pool* pool, StrIn sectionName, unsigned number, StrOut text) {
  if (pool != nullptr) {
    for (PoolNode& node : *pool) {
      if (!Catalog_GetString(node.catalog.get(), sectionName, number, text)) continue;
      if (node.useCounts) {
        ++(*node.useCounts)[sectionName.Str()];
        ++globalUseCount;
      }
      return;
    }
  }
  NotFoundText(sectionName, number, text);
}

// The pool of `language`: nil for an empty one, the main pool for the native
// one, else a pool opened on first use from the main pool's catalogs.
Pool* FindCataloguePool(StrIn language) {
  const std::string word(language.View());
  if (word.empty()) return nullptr;
  if (word == nativeLanguage) return &mainPool;
  auto [it, made] = foreignPools.try_emplace(word);
  if (made) {
    Messages_IgnoreErrors(true);
    for (auto node = mainPool.rbegin(); node != mainPool.rend(); ++node) {
      Catalog_Handle catalog = Catalog_OpenForeignCatalogue(node->fileName, language);
      if (catalog != nullptr) AddToPool(it->second, node->fileName, catalog);
    }
    Messages_IgnoreErrors(false);
    Messages_ForgetErrorReasons();
  }
  return &it->second;
}

std::string ReasonText(const Reason& reason) {
  if (reason.kind != ReasonKind::Error) return reason.text;
  char text[kTextCap];
  const bool wasPushing = pushErrors;
  pushErrors = false;
  Messages_GetMsg(reason.section, reason.number, text);
  pushErrors = wasPushing;
  return text;
}

void WriteLine(std::FILE* file, StrIn text) { std::fprintf(file, "%s\n", text.Str().c_str()); }

void Finalize() {
  if (crashed) Messages_ShowError(stderr);
}

}  // namespace

void Messages_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  Processe_Init();
  Catalog_Init();
  Processe_InstallTerminationProcedure(Finalize);
  Messages_IgnoreErrors(true);
  ReadNativeLanguage();
  Messages_UseMsgCat("marlmsg");
  Messages_UseMsgCat("marlerr");
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
}

void Messages_UseMsgCat(StrIn name) {
  const std::string fileName = name.Str() + ".srf";
  for (const PoolNode& node : mainPool)
    if (node.fileName == fileName) return;
  Catalog_Handle catalog = Catalog_OpenCatalogue(fileName);
  if (catalog == nullptr) return;
  AddToPool(mainPool, fileName, catalog);
  foreignPools.clear();  // rebuilt from the main pool on their next use
}

void Messages_ReloadAllMsgCats() {
  std::vector<std::string> names;
  for (auto node = mainPool.rbegin(); node != mainPool.rend(); ++node) names.push_back(node->fileName);
  mainPool.clear();
  foreignPools.clear();
  Messages_IgnoreErrors(true);
  for (const std::string& fileName : names) {
    Catalog_Handle catalog = Catalog_OpenCatalogue(fileName);
    if (catalog != nullptr) AddToPool(mainPool, fileName, catalog);
  }
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  ReadNativeLanguage();
}

void Messages_GetMessage(StrIn sectionName, unsigned number) {
  Messages_GetMsg(sectionName, number, Messages_message);
}

void Messages_GetMsg(StrIn sectionName, unsigned number, StrOut text) {
  GetIt(&mainPool, sectionName, number, text);
}

void Messages_GetForeignMessage(StrIn language, StrIn sectionName, unsigned number) {
  Messages_GetForeignMsg(language, sectionName, number, Messages_message);
}

void Messages_GetForeignMsg(StrIn language, StrIn sectionName, unsigned number, StrOut text) {
  GetIt(FindCataloguePool(language), sectionName, number, text);
}

bool Messages_IsUndefMessage() { return Strings_Pos("*** ERROR (", Messages_message) == 0; }

unsigned Messages_SectionUseCount(StrIn sectionName) {
  unsigned count = 0;
  for (const PoolNode& node : mainPool) {
    if (!node.useCounts) continue;
    const auto it = node.useCounts->find(sectionName.Str());
    if (it != node.useCounts->end()) count += it->second;
  }
  return count;
}

void Messages_StartSection(StrIn sectionName) {
  Messages_message[0] = '\0';
  for (PoolNode& node : mainPool)
    if (Catalog_StartSection(node.catalog.get(), sectionName)) return;
}

bool Messages_NextMessage(unsigned& number) {
  const char* text = Catalog_NextStringRef(number);
  Strings_Assign(text != nullptr ? StrIn::C(text) : StrIn(""), Messages_message);
  return text != nullptr;
}

void Messages_Error(StrIn sectionName, unsigned number) {
  if (crashed) return;
  if (pushErrors) {
    FlushIfDelayed();
    Push({ReasonKind::Error, sectionName.Str(), number, {}});
    levelHeights[ignoreLevel] = reasons.size();
  }
  if (ignoreLevel > 0) return;
  ignoreLevel = 1;
  pushErrors = false;
  const char* debug = std::getenv("DEBUG");
  if (debug != nullptr && *debug != '\0') {
    Messages_ShowError(stderr);
    std::fprintf(stderr, "DebugModeExit !\n");
    std::fflush(stderr);
    Processe_Kill(Processe_GetPID(), 7);
  }
  crashed = true;
  Processe_SetExitStatus(2);
  Processe_Exit();
}

void Messages_SupplyAdditionalInfo(StrIn text) {
  if (crashed) return;
  FlushIfDelayed();
  const ReasonKind kind = text.Length() > kShortReason ? ReasonKind::LongInfo : ReasonKind::ShortInfo;
  Push({kind, {}, 0, text.Str()});
}

void Messages_IgnoreErrors(bool on) {
  // messages: Messages 1-2
  if (!on) {
    if (ignoreLevel == 0) {
      Messages_Error(section, 1);
      return;
    }
    --ignoreLevel;
    return;
  }
  if (ignoreLevel == 0) delayedFlush = true;
  if (++ignoreLevel > kMaxLevel) {
    ignoreLevel = 0;
    Messages_Error(section, 2);
    return;
  }
  levelHeights[ignoreLevel] = reasons.size();
}

unsigned Messages_IgnoreLevel() { return ignoreLevel; }

unsigned Messages_ErrorCount(bool sinceLevel) {
  const std::size_t height = reasons.size();
  const std::size_t base = sinceLevel ? std::min(levelHeights[ignoreLevel], height) : 0;
  return static_cast<unsigned>(height - base);
}

void Messages_ForgetErrorReasons() {
  if (crashed) return;
  if (reasons.size() > levelHeights[ignoreLevel]) reasons.resize(levelHeights[ignoreLevel]);
}

bool Messages_ErrorReason(StrOut text) {
  text.Clear();
  if (reasons.empty()) return false;
  const Reason reason = std::move(reasons.back());
  reasons.pop_back();
  const std::string words = ReasonText(reason);
  Strings_Assign(reason.kind == ReasonKind::ShortInfo ? "    " + words : words, text);
  return true;
}

void Messages_ShowError(std::FILE* file) {
  if (reasons.empty()) return;
  char line[kTextCap];
  std::fprintf(file, "\n");
  Messages_GetMsg(section, 100, line);
  WriteLine(file, line);
  while (!reasons.empty()) {
    const Reason reason = std::move(reasons.back());
    reasons.pop_back();
    if (reason.kind == ReasonKind::Error) {
      std::string head = "  (" + reason.section + ", ";
      if (reason.section.size() < kSectionColumn) head.append(kSectionColumn - reason.section.size(), ' ');
      Strings_Assign(head, line);
      BConvert_CardToStr(line, reason.number, 3);
      Strings_Concat(line, ") : ", line);
      Strings_Concat(line, ReasonText(reason), line);
    } else {
      Strings_Assign("\t" + reason.text, line);
    }
    WriteLine(file, line);
  }
  char program[kNameCap];
  Argument_GetBinaryName(program);
  Messages_GetMsg(section, 103, Messages_message);
  if (Messages_IsUndefMessage()) Messages_GetMsg(section, 101, Messages_message);
  else SPrintf_String(Messages_message, program);
  WriteLine(file, Messages_message);
  Messages_GetMsg(section, 102, line);
  WriteLine(file, line);
  std::fflush(file);
}

void Messages_TerminateIf(bool condition) {
  if (!condition) return;
  char text[kTextCap];
  while (Messages_ErrorReason(text)) WriteLine(stderr, text);
  Processe_SetExitStatus(1);
  Processe_Exit();
}
