// The format registry of SImage: the fixed table and the format lists.

#include <algorithm>
#include <memory>
#include <vector>

#include "image/SImage.h"

namespace {

enum class Kind { Contone, Linework, Device };

// A row as it is written down; SImage_Init turns each into an SImage_Format.
struct Row {
  const char* driver;
  const char* name;
  const char* suffix;
  const char* regExpr;
  char typeFlag;
  Kind kind;
};

constexpr char kListed = 'S';
// Pseudo formats have a driver but no file of their own, so no hot folder and
// no choice box may offer them.
constexpr char kUnlisted = ' ';

// Descriptions are the formats' fixed names, the same in every language,
// German words and double blanks included.
constexpr Row kRows[] = {
    {"SIqif", "QIF (Tavrin Image Format)", ".qif", R"(\.(qif|QIF)$)", kListed, Kind::Contone},
    {"SIqlf", "QLF (Tavrin Linework)", ".qlf", R"(\.qlf$)", kListed, Kind::Linework},
    {"SITitFP", "TIFF/IT-FP (Tagged Image File Format for Image Technology)", ".fp", R"(\.(fp|FP|p|P|ifp|IFP)$)",
     kListed, Kind::Contone},
    {"SITitCT", "TIFF/IT-CT (Tagged Image File Format for Image Technology)", ".ct",
     R"(\.([c,i,m,y,k,0-9]?|[C,I,M,Y,K,0-9]?)(ct|CT)$)", kListed, Kind::Contone},
    {"SITitLW", "TIFF/IT-LW (Tagged Image File Format for Image Technology)", ".lw", R"(\.(i?lw|I?LW)$)", kListed,
     Kind::Linework},
    {"SITitHC", "TIFF/IT-HC (Tagged Image File Format for Image Technology)", ".hc", R"(\.(i?hc|I?HC)$)", kListed,
     Kind::Contone},
    {"SItiff", "TIFF (Tagged Image File Format)", ".tif", R"(\.(tiff?|TIFF?|tff|TFF|ldf)$)", kListed, Kind::Contone},
    {"SIps", "PS  (Postscript)", ".ps", R"(\.(PS|PS.|ps|ps.)$)", kListed, Kind::Contone},
    {"SIps", "EPS (Encapsulated Postscript)", ".eps", R"(\.(EPS|EPS.|eps|eps.|eps\..|e)$)", kListed, Kind::Contone},
    {"SIppf", "CIP3-PPF", ".ppf", R"(\.(ppf|PPF)$)", kListed, Kind::Contone},
    {"SIrgb", "RGB (Tavrin RGB-Format)", ".rgb", R"(\.rgb$)", kListed, Kind::Contone},
    {"SIsciFP", "SCITEX FLYT Format", ".Spg", R"(\.(Spg|flyt|FLYT)$)", kListed, Kind::Contone},
    {"SIsciCT", "SCITEX (SCT) Handshake Image Format", ".sct", R"(\.sct$)", kListed, Kind::Contone},
    {"SIsciCT", "SCITEX (E-SCT) Ext-Handshake Image Format", ".Sct", R"(\.(Sct|ch)$)", kListed, Kind::Contone},
    {"SIsciLW", "SCITEX (SLW) Handshake Linework Format", ".slw", R"(\.slw$)", kListed, Kind::Linework},
    {"SIsciLW", "SCITEX (E-SLW) Ext-Handshake Linework Format", ".Slw", R"(\.(Slw|lh)$)", kListed, Kind::Linework},
    {"SIufsFP", "SCITEX UFS FLYT File Format", ".Xpg", R"(\.Xpg$)", kListed, Kind::Contone},
    {"SIufsCT", "SCITEX (XCT) UFS CT Handshake Image Format", ".xct", R"(\.xct$)", kListed, Kind::Contone},
    {"SIufsCT", "SCITEX (E-XCT) UFS Ext-CT Handshake Image Format", ".Xct", R"(\.Xct$)", kListed, Kind::Contone},
    {"SIufsLW", "SCITEX (XLW) UFS LW Handshake Linework Format", ".xlw", R"(\.xlw$)", kListed, Kind::Linework},
    {"SIufsLW", "SCITEX (E-XLW) UFS Ext-LW Handshake Linework Format", ".Xlw", R"(\.Xlw$)", kListed, Kind::Linework},
    // These systems number the separations in the last character of the name.
    {"SIngsct", "CROSFIELD (RCn) Vollfarbraster", "", R"((\.|-)(r|R)(c|C).$)", kListed, Kind::Contone},
    {"SIngslw", "CROSFIELD (LCn) Linework Farbe", "", R"((-|\.)(l|L)(c|C).$)", kListed, Kind::Linework},
    {"SIngslw", "CROSFIELD (EBn) Linework SW", "", R"((-|\.)(e|E)(b|B).$)", kListed, Kind::Linework},
    {"SIngspc", "CROSFIELD (RPn) Pseudofarbraster", "", R"((-|\.)(r|R)(p|P)$)", kListed, Kind::Contone},
    {"SIshut", "Hell Chromacom CT", ".hct", R"(\.hct$)", kListed, Kind::Contone},
    {"SIshut", "Hell Chromacom LW", ".hlw", R"(\.hlw$)", kListed, Kind::Linework},
    {"SIoeeCT", "OEE (Ohio Engraving)", ".oct", R"(\.oct$)", kListed, Kind::Contone},
    {"SIoeeLW", "OEE LW (Ohio Engraving)", ".olw", R"(\.olw$)", kListed, Kind::Linework},
    {"SIlen", "LEN (BSL)", ".len", R"(\.(len|LEN)$)", kListed, Kind::Contone},
    {"SIpcx", "PCX (Zsoft)", ".pcx", R"(\.(pcx|PCX)$)", kListed, Kind::Contone},
    {"SIpipe", "PPM (Portable PixMap)", ".ppm", R"(\.(ppm|PPM|pnm|pbm|pgm)$)", kListed, Kind::Contone},
    {"SIpixmap", "PXM (Pixmap format)", ".pxm", R"(\.pxm$)", kListed, Kind::Contone},
    {"SIrla", "RLA (Wavefront)", ".rla", R"(\.rla$)", kListed, Kind::Contone},
    {"SIdras", "DRAS (Dicomed raster)", ".dra", R"(\.dras?$)", kListed, Kind::Contone},
    {"SIstork", "PRE (Stork image data)", ".pre", R"(\.pre$)", kListed, Kind::Contone},
    {"SItf", "TF  (Textur format)", ".tf", R"(\.tf$)", kListed, Kind::Contone},
    {"SItga", "IRI (Iris Druckerformat)", ".iri", R"(\.iri$)", kListed, Kind::Contone},
    {"SItga", "TGA (Truevision)", ".tga", R"(\.tga$)", kListed, Kind::Contone},
    {"SIyade", "YCT (YADE Raster)", ".Yct", R"(\.Yct$)", kListed, Kind::Contone},
    {"SIyade", "YLX (YADE Linework)", ".ylx", R"(\.ylx$)", kListed, Kind::Linework},
    // Pseudo formats: a tool writes to them to print, merge or collect bitmaps.
    {"SIprf", "PRF (Printfile)", ".prf", R"(\.prf$)", kUnlisted, Kind::Contone},
    {"SIprfS", "PRS (Printfile, separations)", ".prs", R"(\.prs$)", kUnlisted, Kind::Contone},
    {"SIpmf", "PMF (Pseudo Merge Format)", ".pmf", R"(\.pmf$)", kUnlisted, Kind::Contone},
    {"SIbitmap", "BMF (Pseudo Bitmap File)", ".bmf", R"(\.bmf$)", kUnlisted, Kind::Linework},
    // The suite's own working formats.
    {"SIqhfR", "QHF (Tavrin High-Resolution Format)", ".qhf", R"(\.qhf$)", kListed, Kind::Contone},
    {"SIqhfX", "QILF (QIF with separate QLF)", ".qilf", R"(\.qilf$)", kListed, Kind::Contone},
    {"SIcntR", "CNT (Tavrin Contour Format)", ".cnt", R"(\.cnt$)", kListed, Kind::Linework},
    {"SIqgf", "QGF (Tavrin Gravure Format)", ".qgf", R"(\.qgf$)", kListed, Kind::Contone},
    {"SIqtf", "QTF (Tavrin Tile Format)", ".qtf", R"(\.qtf$)", kListed, Kind::Contone},
    {"", "Special Devices", ".dev", R"(\.dev$)", kListed, Kind::Device},
    {"SI6rn", "6RN Format", ".6rn", R"(\.6rn$)", kListed, Kind::Contone},
};

constexpr char kMainSuffix[] = ".qif";
// The tile format's driver also reads imposition files; only a caller that
// asks for them finds them in the tile format's expression.
constexpr char kTileSuffix[] = ".qtf";
constexpr char kTileWithImpositionRegExpr[] = R"(\.(qtf|jxk)$)";

std::vector<SImage_Format> formats;
// The listed rows sorted by description: the order of every format list.
std::vector<const SImage_Format*> masterList;

bool Passes(const SImage_Format& format, unsigned mask) {
  if (format.isDevice) return (mask & SImage_kNoDevices) == 0;
  if ((mask & SImage_kNeedRead) != 0 && !format.canRead) return false;
  if ((mask & SImage_kNeedWrite) != 0 && !format.canWrite) return false;
  if ((mask & SImage_kNeedUnixFS) != 0 && !format.onUnixFS) return false;
  if ((mask & SImage_kNeedContone) != 0 && format.isLinework) return false;
  if ((mask & SImage_kNeedLinework) != 0 && !format.isLinework) return false;
  return true;
}

}  // namespace

void SImage_Init() {
  static bool done = false;
  if (done) return;
  done = true;

  formats.reserve(std::size(kRows));
  for (const Row& row : kRows) {
    SImage_Format& format = formats.emplace_back();
    Strings_Assign(StrIn::C(row.driver), format.driver);
    Strings_Assign(StrIn::C(row.name), format.name);
    Strings_Assign(StrIn::C(row.suffix), format.suffix);
    Strings_Assign(StrIn::C(row.regExpr), format.regExpr);
    format.typeFlag = row.typeFlag;
    format.canRead = true;
    format.canWrite = true;
    format.isLinework = row.kind == Kind::Linework;
    format.onUnixFS = true;
    format.isDevice = row.kind == Kind::Device;
  }

  for (const SImage_Format& format : formats) {
    if (format.typeFlag != kUnlisted) masterList.push_back(&format);
  }
  std::stable_sort(masterList.begin(), masterList.end(), [](const SImage_Format* a, const SImage_Format* b) {
    return Strings_CompareStr(a->name, b->name) < 0;
  });
}

std::size_t SImage_FormatCount() {
  SImage_Init();
  return formats.size();
}

const SImage_Format* SImage_GetFormat(std::size_t index) {
  SImage_Init();
  return index < formats.size() ? &formats[index] : nullptr;
}

SImage_FormatList SImage_NilFormatList() { return nullptr; }

SImage_FormatList SImage_GetListOfSupportedFormats() { return SImage_GetListOfSelectedSupportedFormats(0); }

SImage_FormatList SImage_GetListOfSelectedSupportedFormats(unsigned mask) {
  SImage_Init();
  SImage_FormatList list = nullptr;
  SImage_FormatList* end = &list;
  for (const SImage_Format* format : masterList) {
    if (!Passes(*format, mask)) continue;
    auto entry = std::make_unique<SImage_FormatListEntry>();
    entry->next = nullptr;
    entry->preselected = Strings_Equal(format->suffix, kMainSuffix);
    Strings_Assign(format->name, entry->description);
    Strings_Assign(format->suffix, entry->suffix);
    const bool extended = (mask & SImage_kTileWithImposition) != 0 && Strings_Equal(format->suffix, kTileSuffix);
    Strings_Assign(extended ? StrIn(kTileWithImpositionRegExpr) : StrIn(format->regExpr), entry->regExpr);
    *end = entry.release();
    end = &(*end)->next;
  }
  return list;
}

void SImage_DestroyListOfSupportedFormats(SImage_FormatList& list) {
  while (list != nullptr) {
    SImage_FormatList next = list->next;
    delete list;
    list = next;
  }
}

const SImage_FormatListEntry* SImage_FindSupportedFormat(SImage_FormatList list, StrIn suffix) {
  if (suffix.Empty()) return nullptr;
  for (SImage_FormatList entry = list; entry != nullptr; entry = entry->next) {
    if (Strings_Equal(entry->suffix, suffix)) return entry;
  }
  return nullptr;
}
