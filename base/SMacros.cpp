#include "base/SMacros.h"

#include <map>
#include <memory>
#include <string>

// Bodies are held by address so that a view handed out by SMacros_Find stays
// valid while other macros are defined.
struct SMacros_Rec {
  std::map<std::string, unsigned, std::less<>> keywords{{"MACRO", SMacros_kMacro},
                                                        {"INCLUDE", SMacros_kInclude},
                                                        {"BEGIN", SMacros_kBegin},
                                                        {"END", SMacros_kEnd}};
  std::map<std::string, std::unique_ptr<const std::string>, std::less<>> macros;
};

SMacros SMacros_Create() { return new SMacros_Rec; }

void SMacros_Destroy(SMacros& table) {
  delete table;
  table = nullptr;
}

SMacros SMacros_Nil() { return nullptr; }

bool SMacros_AddKeyword(SMacros table, StrIn word, unsigned number) {
  if (table == nullptr || number <= SMacros_kEnd || word.Empty()) return false;
  if (table->macros.contains(word.View())) return false;
  return table->keywords.emplace(word.Str(), number).second;
}

unsigned SMacros_Keyword(SMacros table, StrIn word) {
  if (table == nullptr) return 0;
  const auto found = table->keywords.find(word.View());
  return found == table->keywords.end() ? 0 : found->second;
}

bool SMacros_Define(SMacros table, StrIn name, StrIn body) {
  if (table == nullptr || name.Empty() || table->keywords.contains(name.View())) return false;
  table->macros.insert_or_assign(name.Str(), std::make_unique<const std::string>(body.View()));
  return true;
}

bool SMacros_Find(SMacros table, StrIn name, StrIn& body) {
  if (table == nullptr) return false;
  const auto found = table->macros.find(name.View());
  if (found == table->macros.end()) return false;
  body = StrIn(*found->second);
  return true;
}
