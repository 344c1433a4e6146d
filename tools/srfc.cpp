// srfc: compiles catalog sources into one ".srf" file.
//   srfc -o OUTPUT SOURCE...
// The output is written under a temporary name and renamed into place, so a
// failed run never leaves a half-written catalog.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "tools/SrfWriter.h"

int main(int argc, char** argv) {
  if (argc < 4 || std::string(argv[1]) != "-o") {
    std::cerr << "usage: srfc -o OUTPUT SOURCE...\n";
    return 2;
  }
  const std::string output = argv[2];
  SrfCatalog catalog;
  std::string error;
  for (int i = 3; i < argc; ++i) {
    std::ifstream source(argv[i]);
    if (!source) {
      std::cerr << "srfc: cannot read " << argv[i] << "\n";
      return 1;
    }
    if (!Srf_ParseSource(source, argv[i], catalog, error)) {
      std::cerr << error << "\n";
      return 1;
    }
  }
  std::vector<unsigned char> bytes;
  if (!Srf_Encode(catalog, bytes, error)) {
    std::cerr << "srfc: " << output << ": " << error << "\n";
    return 1;
  }
  const std::string temporary = output + ".tmp";
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) {
      std::cerr << "srfc: cannot write " << temporary << "\n";
      std::remove(temporary.c_str());
      return 1;
    }
  }
  if (std::rename(temporary.c_str(), output.c_str()) != 0) {
    std::cerr << "srfc: cannot rename " << temporary << " to " << output << "\n";
    std::remove(temporary.c_str());
    return 1;
  }
  return 0;
}
