// Fuzz target: loads arbitrary bytes as a folder's rc file. A failed load
// leaves no object and tells a file error; a loaded one is saved and loaded
// again, which must give the same commands and the options turned round.
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "rc/SAutoRcF.h"

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

// A private directory for the run's two files, removed at the end.
std::string directory;

void RemoveDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(directory, ignored);
}

void SetUp() {
  ::setenv("TV_NO_RUN_FILE", "1", 0);
  SAutoRcF_Init();
  std::string pattern = (std::filesystem::temp_directory_path() / "SAutoRcF_fuzz-XXXXXX").string();
  Check(::mkdtemp(pattern.data()) != nullptr);
  directory = pattern;
  std::atexit(RemoveDirectory);
}

using Items = std::pair<std::vector<std::string>, std::vector<std::string>>;

Items Contents(SAutoRcF rc) {
  Items items;
  char key[kNameCap], text[kTextCap];
  for (bool more = SAutoRcF_GetFirstCmd(rc, text); more; more = SAutoRcF_GetNextCmd(rc, text)) {
    items.first.emplace_back(StrIn(text).Str());
  }
  for (bool more = SAutoRcF_GetFirstOpt(rc, key, text); more; more = SAutoRcF_GetNextOpt(rc, key, text)) {
    items.second.emplace_back(StrIn(key).Str() + "=" + StrIn(text).Str());
  }
  Check(items.first.size() <= kSAutoRcFMaxCommands);
  return items;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (directory.empty()) SetUp();
  const std::string input = directory + "/input", saved = directory + "/saved";
  // Fresh files each run: emptying a file with data makes the file system
  // write it out first, which would slow every run down to the disk.
  std::error_code ignored;
  std::filesystem::remove(input, ignored);
  std::filesystem::remove(saved, ignored);
  std::FILE* file = std::fopen(input.c_str(), "wb");
  Check(file != nullptr && std::fwrite(data, 1, size, file) == size && std::fclose(file) == 0);

  SAutoRcF rc = SAutoRcF_Nil();
  if (!SAutoRcF_Load(input, rc)) {
    Check(rc == nullptr && SAutoRcF_error == 6);
    return 0;
  }
  Items first = Contents(rc);
  Check(SAutoRcF_Save(saved, rc));
  SAutoRcF_Destroy(rc);
  Check(SAutoRcF_Load(saved, rc));
  Items second = Contents(rc);
  SAutoRcF_Destroy(rc);
  std::reverse(first.second.begin(), first.second.end());
  Check(first == second);
  return 0;
}
