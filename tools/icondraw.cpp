// icondraw: draws one icon from its sources into a ".pxm" file (binary PAM
// with alpha).
//   icondraw -o OUTPUT SOURCE...
// The sources are read in turn into one drawing (tools/IconDraw.h tells the
// form). The output is written under a temporary name and renamed into
// place; a fault in a source is told with its name and line.
#include "tools/BuildFiles.h"
#include "tools/IconDraw.h"

int main(int argc, char** argv) {
  IconDraw_Icon icon;
  return BuildFiles_CompilerMain(
      argc, argv, "icondraw",
      [&](std::istream& source, const std::string& origin, std::string& error) {
        return IconDraw_ParseSource(source, origin, icon, error);
      },
      [&](std::vector<unsigned char>& bytes, std::string& error) { return IconDraw_EncodePam(icon, bytes, error); });
}
