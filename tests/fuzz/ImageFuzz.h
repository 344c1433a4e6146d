// What the image fuzz targets share: a private directory for the file under
// test, removed at the end, and the image drivers started.
#pragma once

#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "image/SIqif.h"
#include "image/SItiff.h"

inline void ImageFuzz_Check(bool condition) {
  if (!condition) std::abort();
}

// Writes `size` bytes as the file "input<suffix>" of the private directory
// (made, and the drivers started, on the first call) and gives its path.
inline std::string ImageFuzz_File(const std::uint8_t* data, std::size_t size, const std::string& suffix) {
  static std::string directory;
  if (directory.empty()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "image_fuzz-XXXXXX").string();
    ImageFuzz_Check(::mkdtemp(pattern.data()) != nullptr);
    directory = pattern;
    std::atexit([] {
      std::error_code ignored;
      std::filesystem::remove_all(directory, ignored);
    });
    ::setenv("TV_NO_RUN_FILE", "1", 0);
    SIqif_Init();
    SItiff_Init();
  }
  // A fresh file each run, so that nothing waits for the disk.
  const std::string path = directory + "/input" + suffix;
  ::unlink(path.c_str());
  std::FILE* file = std::fopen(path.c_str(), "wb");
  ImageFuzz_Check(file != nullptr && (size == 0 || std::fwrite(data, 1, size, file) == size) &&
                  std::fclose(file) == 0);
  return path;
}
