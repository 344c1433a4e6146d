#include "tools/BuildFiles.h"

#include <cstdio>
#include <fstream>
#include <iostream>

int BuildFiles_CompilerMain(int argc, char** argv, const std::string& name, const BuildFiles_Parse& parse,
                            const BuildFiles_Encode& encode) {
  if (argc < 4 || std::string(argv[1]) != "-o") {
    std::cerr << "usage: " << name << " -o OUTPUT SOURCE...\n";
    return 2;
  }
  const std::string output = argv[2];
  std::string error;
  for (int i = 3; i < argc; ++i) {
    std::ifstream source(argv[i]);
    if (!source) {
      std::cerr << name << ": cannot read " << argv[i] << "\n";
      return 1;
    }
    if (!parse(source, argv[i], error)) {
      std::cerr << error << "\n";
      return 1;
    }
  }
  std::vector<unsigned char> bytes;
  if (!encode(bytes, error) || !BuildFiles_WriteAtomically(output, bytes, error)) {
    std::cerr << name << ": " << output << ": " << error << "\n";
    return 1;
  }
  return 0;
}

bool BuildFiles_WriteAtomically(const std::string& path, const std::vector<unsigned char>& bytes,
                                std::string& error) {
  const std::string temporary = path + ".tmp";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) {
      error = "cannot write " + temporary;
      std::remove(temporary.c_str());
      return false;
    }
  }
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    error = "cannot rename " + temporary + " to " + path;
    std::remove(temporary.c_str());
    return false;
  }
  return true;
}
