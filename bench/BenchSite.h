// What the benchmarks share: a private site in a temporary directory, made
// once per program and removed, with all in it, when the program ends.
#pragma once

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// The site's directory "<name>-XXXXXX" under the temporary directory, made on
// the first call. With `folders` it holds customer, projects, dat and tmp, and
// TV_CUSTOMER, TV_PROJECTS, MARLDAT and TMP name them. No run file is written.
inline const std::string& Bench_Site(const char* name, bool folders = false) {
  static std::string directory;
  if (!directory.empty()) return directory;
  std::string pattern = (std::filesystem::temp_directory_path() / (std::string(name) + "-XXXXXX")).string();
  if (::mkdtemp(pattern.data()) == nullptr) std::abort();
  directory = pattern;
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);
  });
  ::setenv("TV_NO_RUN_FILE", "1", 1);
  if (folders) {
    for (const char* dir : {"customer", "projects", "dat", "tmp"}) std::filesystem::create_directories(directory + "/" + dir);
    ::setenv("TV_CUSTOMER", (directory + "/customer").c_str(), 1);
    ::setenv("TV_PROJECTS", (directory + "/projects").c_str(), 1);
    ::setenv("MARLDAT", (directory + "/dat").c_str(), 1);
    ::setenv("TMP", (directory + "/tmp").c_str(), 1);
  }
  return directory;
}

// The machine's load, the one-minute average: figures of runs on a busy
// machine are only comparable side by side.
inline double Bench_Load() {
  double load = -1;
  std::ifstream("/proc/loadavg") >> load;
  return load;
}
