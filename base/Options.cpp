#include "base/Options.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "base/Argument.h"
#include "base/Messages.h"
#include "base/Processe.h"

namespace {

bool AsksForHelp(const std::string& word) { return word == "-?" || word == "--help"; }

bool ReadWords(const std::vector<std::string>& words, std::span<const Options_Option> table,
               const Options_Operand& operand) {
  // Help is asked for wherever it stands among the options, even behind a bad one.
  for (const std::string& word : words) {
    if (word == "--") break;
    if (AsksForHelp(word)) return false;
  }
  bool operandsOnly = false;
  for (std::size_t at = 0; at < words.size(); ++at) {
    const std::string& word = words[at];
    if (!operandsOnly && word == "--") {
      operandsOnly = true;
      continue;
    }
    if (operandsOnly || word.size() < 2 || word[0] != '-') {
      if (!operand || !operand(word)) return false;
      continue;
    }
    const Options_Option* option = nullptr;
    for (const Options_Option& o : table)
      if (word == o.name) option = &o;
    if (option == nullptr) return false;
    if (!option->takesValue) {
      if (!option->take("")) return false;
      continue;
    }
    if (++at == words.size() || !option->take(words[at])) return false;
  }
  return true;
}

}  // namespace

Options_Operand Options_Store(std::string& into) {
  return [&into](const std::string& value) {
    into = value;
    return true;
  };
}

Options_Operand Options_Append(std::vector<std::string>& into) {
  return [&into](const std::string& value) {
    into.push_back(value);
    return true;
  };
}

Options_Operand Options_Set(bool& flag) {
  return [&flag](const std::string&) { return flag = true; };
}

Options_Operand Options_Number(long& into, long least, long most) {
  return [&into, least, most](const std::string& value) {
    char* end = nullptr;
    errno = 0;
    const long number = value.empty() ? 0 : std::strtol(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0' || errno != 0 || number < least || number > most) return false;
    into = number;
    return true;
  };
}

bool Options_Read(std::span<const Options_Option> table, const Options_Operand& operand) {
  std::vector<std::string> words;
  TextStr word;
  while (Argument_Get(word)) words.emplace_back(StrIn(word).View());
  return ReadWords(words, table, operand);
}

bool Options_ReadFrom(int argc, const char* const* argv, std::span<const Options_Option> table,
                      const Options_Operand& operand) {
  std::vector<std::string> words;
  for (int i = 1; i < argc; ++i) words.emplace_back(argv[i] != nullptr ? argv[i] : "");
  return ReadWords(words, table, operand);
}

void Options_Usage(StrIn section, unsigned first, unsigned last) {
  for (unsigned number = first; number <= last; ++number) {
    TextStr text;
    Messages_GetMsg(section, number, text);
    std::fprintf(stderr, "%s\n", StrIn(text).Str().c_str());
  }
}

void Options_Refuse(StrIn catalog, StrIn section, unsigned first, unsigned last) {
  Processe_WithoutRunFile();
  Messages_Init();
  if (!catalog.Empty()) Messages_UseMsgCat(catalog);
  Options_Usage(section, first, last);
  Processe_SetExitStatus(1);
  Processe_Exit();
  std::exit(1);
}
