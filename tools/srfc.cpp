// srfc: compiles message catalog sources into one ".srf" file.
//   srfc -o OUTPUT SOURCE...
// The output is written under a temporary name and renamed into place, so a
// failed run never leaves a half-written catalog.
#include "tools/BuildFiles.h"
#include "tools/SrfWriter.h"

int main(int argc, char** argv) {
  SrfCatalog catalog;
  return BuildFiles_CompilerMain(
      argc, argv, "srfc",
      [&](std::istream& source, const std::string& origin, std::string& error) {
        return Srf_ParseSource(source, origin, catalog, error);
      },
      [&](std::vector<unsigned char>& bytes, std::string& error) { return Srf_Encode(catalog, bytes, error); });
}
