// drfc: compiles dialog catalog sources into one ".drf" file.
//   drfc -o OUTPUT SOURCE...
// The output is written under a temporary name and renamed into place, so a
// failed run never leaves a half-written catalog. Faults in a source are
// told with its name and line.
#include "tools/BuildFiles.h"
#include "tools/DrfSource.h"

int main(int argc, char** argv) {
  IdlgCat_Catalog catalog;
  return BuildFiles_CompilerMain(
      argc, argv, "drfc",
      [&](std::istream& source, const std::string& origin, std::string& error) {
        return Drf_ParseSource(source, origin, catalog, error);
      },
      [&](std::vector<unsigned char>& bytes, std::string&) {
        bytes = IdlgCat_Encode(catalog.contexts, catalog.aobjTemplates, catalog.robjTemplates);
        return true;
      });
}
