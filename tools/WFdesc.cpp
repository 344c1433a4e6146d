// WFdesc: reading a description, line by line, into its records.
#include "tools/WFdesc.h"

#include <string>
#include <string_view>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "frontends/FEautost.h"

char WFdesc_section[kSectionCap] = "WFdesc";

namespace {

// messages: WFdesc 2-9 16 18 20 21
constexpr unsigned kNoName = 2;
constexpr unsigned kNameTwice = 3;        // with the name
constexpr unsigned kNoParameter = 5;      // with the word
constexpr unsigned kReservedKey = 6;      // with the key
constexpr unsigned kOpenString = 7;
constexpr unsigned kBadWorkflowName = 8;  // with the name
constexpr unsigned kWorkflowTwice = 9;
constexpr unsigned kTooLong = 16;         // with the word
constexpr unsigned kUnexpected = 18;      // with the word
constexpr unsigned kBadName = 20;         // with the name
constexpr unsigned kTooMany = 21;         // with the count

constexpr std::string_view kWorkflowWord = "workflow";
constexpr std::string_view kArrow = "->";

// One word of a line, its quotes taken off; `equals` is where its first "="
// outside quotes stands.
struct Word {
  std::string text;
  std::size_t equals = std::string::npos;
  bool quoted = false;
};

struct Parser {
  WFdesc_Description& description;
  WFdesc_Error& error;
  std::uint32_t line = 0;

  bool Fail(unsigned number, std::string_view argument = {}) {
    error.line = line;
    Messages_GetMsg(WFdesc_section, number, error.text);
    if (!argument.empty()) SPrintf_String(error.text, std::string(argument));
    return false;
  }

  // The words of one line, up to a "#" outside quotes.
  bool Split(std::string_view text, std::vector<Word>& words) {
    std::size_t at = 0;
    for (;;) {
      while (at < text.size() && (text[at] == ' ' || text[at] == '\t' || text[at] == '\r')) ++at;
      if (at == text.size() || text[at] == '#') return true;
      Word word;
      while (at < text.size() && text[at] != ' ' && text[at] != '\t' && text[at] != '\r' &&
             text[at] != '#') {
        const char c = text[at++];
        if (c == '=' && word.equals == std::string::npos) word.equals = word.text.size();
        if (c != '"') {
          word.text += c;
          continue;
        }
        word.quoted = true;
        for (;; ++at) {
          if (at == text.size()) return Fail(kOpenString);
          if (text[at] == '"') break;
          if (text[at] == '\\' && at + 1 < text.size()) ++at;
          word.text += text[at];
        }
        ++at;
      }
      words.push_back(std::move(word));
    }
  }

  static bool NameChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
  }

  // A folder's name, or the name of an out.
  bool Name(const Word& word, char (&name)[kNameCap]) {
    if (word.text.size() >= kNameCap) return Fail(kTooLong, word.text);
    if (word.text.empty() || word.quoted || word.text == kArrow) return Fail(kBadName, word.text);
    for (char c : word.text) {
      if (!NameChar(c)) return Fail(kBadName, word.text);
    }
    Strings_Assign(word.text, name);
    return true;
  }

  bool Param(const Word& word, WFdesc_Folder& folder) {
    if (word.equals == std::string::npos || word.equals == 0) return Fail(kNoParameter, word.text);
    const std::string key = word.text.substr(0, word.equals);
    const std::string value = word.text.substr(word.equals + 1);
    if (key.size() >= kNameCap || value.size() >= kWFdescValueCap) return Fail(kTooLong, key);
    if (key[0] == '_') return Fail(kReservedKey, key);
    WFdesc_Param param;
    Strings_Assign(key, param.key);
    Strings_Assign(value, param.value);
    folder.params.push_back(param);
    return true;
  }

  bool Workflow(const std::vector<Word>& words) {
    if (description.workflow[0] != '\0') return Fail(kWorkflowTwice);
    if (words.size() != 2) return Fail(kUnexpected, words.size() > 2 ? words[2].text : words[0].text);
    if (!WFdesc_ValidWorkflowName(words[1].text)) return Fail(kBadWorkflowName, words[1].text);
    Strings_Assign(words[1].text, description.workflow);
    return true;
  }

  bool Folder(const std::vector<Word>& words) {
    if (description.folders.size() == kWFdescMaxFolders) {
      return Fail(kTooMany, std::to_string(kWFdescMaxFolders));
    }
    WFdesc_Folder folder;
    folder.line = line;
    if (words[0].text.size() >= kNameCap) return Fail(kTooLong, words[0].text);
    Strings_Assign(words[0].text, folder.kind);
    if (words.size() < 2) return Fail(kNoName);
    if (!Name(words[1], folder.name)) return false;
    for (const WFdesc_Folder& other : description.folders) {
      if (Strings_Equal(other.name, folder.name)) return Fail(kNameTwice, words[1].text);
    }
    std::size_t at = 2;
    if (at < words.size() && words[at].text == kArrow && !words[at].quoted) {
      for (++at; at < words.size() && words[at].equals == std::string::npos; ++at) {
        WFdesc_Name out;
        if (!Name(words[at], out.text)) return false;
        folder.outs.push_back(out);
      }
      if (folder.outs.empty()) return Fail(kUnexpected, kArrow);
    }
    for (; at < words.size(); ++at) {
      if (!Param(words[at], folder)) return false;
    }
    description.folders.push_back(std::move(folder));
    return true;
  }

  bool Line(std::string_view text) {
    std::vector<Word> words;
    if (!Split(text, words)) return false;
    if (words.empty()) return true;
    if (words[0].text == kWorkflowWord && !words[0].quoted) return Workflow(words);
    return Folder(words);
  }
};

}  // namespace

void WFdesc_Init() {
  static bool done = false;
  if (done) return;
  done = true;
  WFbase_Init();
  FEautost_Init();  // new start folders get the front end's values
  Messages_UseMsgCat("WFINSTALLmsg");
}

bool WFdesc_ValidWorkflowName(StrIn name) {
  const std::string_view text = name.View();
  return !text.empty() && text.size() < kNameCap && text[0] != '.' &&
         text.find_first_of("/ \t\r\n") == std::string_view::npos;
}

bool WFdesc_Parse(const char* text, std::size_t length, WFdesc_Description& description,
                  WFdesc_Error& error) {
  description = WFdesc_Description{};
  error = WFdesc_Error{};
  Parser parser{description, error};
  const std::string_view all(text, length);
  for (std::size_t at = 0; at < all.size() || parser.line == 0;) {
    const std::size_t end = std::min(all.find('\n', at), all.size());
    ++parser.line;
    if (!parser.Line(all.substr(at, end - at))) return false;
    at = end + 1;
  }
  description.lines = parser.line;
  return true;
}
