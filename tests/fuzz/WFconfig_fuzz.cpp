// Fuzz target: arbitrary bytes as the site's file of user-defined components.
// Loading never fails and keeps only legal components; the cache, dated anew
// for each input, holds the same components; each component survives its
// one-string form unchanged; the list saves, and the saved file loads.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "workflow/WFconfig.h"

namespace {

std::string site;
std::string cfg;
pid_t parent = 0;
std::int64_t stamp = 1000000;

void Check(bool condition) {
  if (!condition) std::abort();
}

void RemoveSite() {
  if (::getpid() != parent) return;
  std::error_code ignored;
  std::filesystem::remove_all(site, ignored);
}

// A private site and projects directory; nothing of the installation is touched.
void SetUp() {
  char pattern[] = "/tmp/floatdeck-fuzz-XXXXXX";
  if (::mkdtemp(pattern) == nullptr) std::abort();
  site = pattern;
  cfg = site + "/floatdeck.cfg";
  parent = ::getpid();
  std::atexit(RemoveSite);
  ::setenv("TV_CUSTOMER", site.c_str(), 1);
  ::setenv("TV_PROJECTS", site.c_str(), 1);
  ::setenv("TV_NO_RUN_FILE", "1", 1);
  ::unsetenv("TEST");
  Messages_Init();
  WFconfig_Init();
}

bool Legal(const WFconfig_Entry& e) {
  if (e.outs == 0) return !e.subdirs && e.options[0] == '\0' && !e.multipleFiles;
  return e.outs <= kWFconfigMaxOuts && e.subdirs && e.options[0] != '\0';
}

std::size_t Count(WFconfig_List list) {
  std::size_t n = 0;
  for (; list != nullptr; list = list->next) ++n;
  return n;
}

void CheckOneString(const WFconfig_Entry& entry) {
  TextStr text, again;
  WFconfig_EntryToString(entry, text);
  if (Strings_Length(text) > kTextCap - 2) return;  // cut: not a whole form
  WFconfig_Entry back;
  Check(WFconfig_StringToEntry(text, back));
  WFconfig_EntryToString(back, again);
  Check(Strings_Equal(text, again));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (parent == 0) SetUp();
  std::FILE* file = std::fopen(cfg.c_str(), "wb");
  Check(file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);
  ++stamp;
  Check(DirAcces_ChTimes(cfg, stamp, stamp));

  const unsigned reasons = Messages_ErrorCount(false);
  WFconfig_List list = WFconfig_LoadConfiguration();
  Check(Messages_ErrorCount(false) == reasons);
  for (const WFconfig_Entry* e = list; e != nullptr; e = e->next) {
    Check(Legal(*e));
    CheckOneString(*e);
  }
  std::size_t cached = 0;
  const WFconfig_Entry* e = nullptr;
  for (bool more = WFconfig_GetFirstEntry(e); more; more = WFconfig_GetNextEntry(e)) ++cached;
  Check(cached == Count(list));

  Check(WFconfig_SaveConfiguration(list));
  WFconfig_List saved = WFconfig_LoadConfiguration();
  for (const WFconfig_Entry* s = saved; s != nullptr; s = s->next) Check(Legal(*s));
  WFconfig_DestroyList(saved);
  WFconfig_DestroyList(list);
  return 0;
}
