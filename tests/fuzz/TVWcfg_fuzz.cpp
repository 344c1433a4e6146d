// Fuzz target: arbitrary bytes as the demon's configuration file. Whatever is
// read is saved and read again, twice. The second reading must give what
// the first did, after the changes the writer makes by design (values it
// leaves out come back as the reader's defaults); the third must give the
// second exactly. Two kinds of input are exempt from the comparison, since
// the format can't carry them: a text that ends in a backslash (the writer
// doesn't double backslashes), and an input of more than 4096 bytes, whose
// lines may grow past the line bound when defaults are written out.
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/fuzz/TVWcfgDescribe.h"
#include "watch/TVWcfg.h"

namespace {

constexpr std::size_t kComparableSize = 4096;

void Check(bool condition) {
  if (!condition) std::abort();
}

std::string directory;

void RemoveDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
}

void SetUp() {
  std::string pattern = (std::filesystem::temp_directory_path() / "TVWcfg_fuzz-XXXXXX").string();
  Check(::mkdtemp(pattern.data()) != nullptr);
  directory = pattern;
  std::atexit(RemoveDirectory);
  ::setenv("TV_NO_RUN_FILE", "1", 0);
  ::setenv("MARLENV", directory.c_str(), 1);
  ::setenv("TV_PROJECTS", (directory + "/projects").c_str(), 1);
  TVWcfg_Init();
}

struct Table {
  TVWcfg_List list = nullptr;
  std::int32_t uid, gid, interval;
  std::uint32_t percent, space;
  bool multiHost;
  std::vector<std::string> entries;
};

void Load(Table& table) {
  TVWcfg_LoadConfiguration(false, table.list);
  Check(TVWcfg_error == 0);
  table.uid = TVWcfg_DefaultJobUID;
  table.gid = TVWcfg_DefaultJobGID;
  table.interval = TVWcfg_DefaultWatchInterval;
  table.percent = TVWcfg_MinFreeDiscPercentage;
  table.space = TVWcfg_MinFreeDiscSpace;
  table.multiHost = TVWcfg_MultiHostHotfolder;
  Check(table.interval >= 15);
  table.entries.clear();
  for (const TVWcfg_Entry* e = table.list; e != nullptr; e = e->next) table.entries.push_back(TVWcfgDescribe(*e));
}

void Save(const Table& table) {
  Check(TVWcfg_SaveConfiguration(table.list));
  Check(TVWcfg_error == 0);
}

bool EndsInBackslash(StrIn text) {
  const std::string_view view = text.View();
  return !view.empty() && view.back() == '\\';
}

bool Carried(const TVWcfg_Entry& e) {
  for (StrIn text : {StrIn(e.folder), StrIn(e.omit), StrIn(e.omitCmd), StrIn(e.filePattern), StrIn(e.files),
                     StrIn(e.omitFiles), StrIn(e.cmd), StrIn(e.options), StrIn(e.readableCmd),
                     StrIn(e.precondResource), StrIn(e.precondScript)})
    if (EndsInBackslash(text)) return false;
  for (const TVWcfg_ExtraField* f = e.extraFields; f != nullptr; f = f->next)
    if (EndsInBackslash(f->text)) return false;
  return true;
}

// What the writer makes of an entry read with the globals of `table`: values
// it leaves out are read back as the defaults.
std::string Expected(TVWcfg_Entry& e, const Table& table) {
  if (e.interval < 1 || e.interval == table.interval) e.interval = -1;
  if (e.uid == -1 || e.uid == table.uid) e.uid = table.uid >= 0 ? table.uid : -1;
  if (e.gid == -1 || e.gid == table.gid) e.gid = table.gid >= 0 ? table.gid : -1;
  if (!e.subdirs || e.omit[0] == '\0') Strings_Assign(TVWcfg_toOmit, e.omit);
  if (e.cmd[0] == '\0') Strings_Assign("/bin/false", e.cmd);
  if (e.files[0] == '\0') Strings_Assign(TVWcfg_allFiles, e.files);
  return TVWcfgDescribe(e);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (directory.empty()) SetUp();
  const std::string file = directory + "/" + TVWcfg_cfgName;
  std::error_code ignored;
  std::filesystem::remove(file, ignored);
  std::FILE* out = std::fopen(file.c_str(), "wb");
  Check(out != nullptr && std::fwrite(data, 1, size, out) == size && std::fclose(out) == 0);

  Table first, second, third;
  Load(first);
  // Patterns compile or give nil; bounded repetitions are left out, as
  // regcomp spends time and memory exponential in their nesting.
  for (const TVWcfg_Entry* e = first.list; e != nullptr; e = e->next) {
    if (StrIn(e->files).View().find('{') != std::string_view::npos) continue;
    bool finalPage = false;
    SRegExpr expr = TVWcfg_GetRegExp(e->files, finalPage);
    SRegExpr_Destroy(expr);
  }
  Save(first);
  Load(second);
  bool comparable = size <= kComparableSize;
  for (const TVWcfg_Entry* e = first.list; e != nullptr && comparable; e = e->next) comparable = Carried(*e);
  if (comparable) {
    Check(second.percent == first.percent && second.space == first.space && second.multiHost == first.multiHost);
    Check(second.interval == first.interval);
    Check(second.uid == (first.uid >= 0 ? first.uid : -1) && second.gid == (first.gid >= 0 ? first.gid : -1));
    Check(second.entries.size() == first.entries.size());
    std::size_t i = 0;
    for (TVWcfg_Entry* e = first.list; e != nullptr; e = e->next, ++i) Check(Expected(*e, first) == second.entries[i]);
  }
  Save(second);
  Load(third);
  if (comparable) {
    Check(third.entries == second.entries);
    Check(third.uid == second.uid && third.gid == second.gid && third.interval == second.interval);
  }
  TVWcfg_Destroy(first.list);
  TVWcfg_Destroy(second.list);
  TVWcfg_Destroy(third.list);
  return 0;
}
