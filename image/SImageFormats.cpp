// The format registry of SImage: the fixed table, the driver rows and the
// format lists.

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "image/SImage.h"
#include "image/SImagePrivate.h"

namespace {

enum class Kind { Contone, Linework, Device };

// A row as it is written down; SImage_Init turns each into a driver row.
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
// Rows that no driver is asked about: the devices, and the formats on file
// systems of other machines.
constexpr char kDeviceSuffix[] = ".dev";
constexpr char kForeignFSPrefix[] = ".al";

std::array<SImage_Format, kSImageMaxDrivers> rows;
std::array<bool, kSImageMaxDrivers> used{};
// Whether a row is line work by the table, for rows without a driver.
std::array<bool, kSImageMaxDrivers> tableLinework{};
// The listed rows sorted by description: the order of every format list;
// made again after a driver registers.
std::vector<const SImage_Format*> masterList;
bool masterListReady = false;

void Complain(const char* what) { std::fprintf(stderr, "FEHLER in Bildtreiber-Registrierung: %s\n", what); }

void Fill(SImage_Format& row, StrIn driver, StrIn name, StrIn suffix, StrIn regExpr, char typeFlag) {
  row = SImage_Format{};
  Strings_Assign(driver, row.driver);
  Strings_Assign(name, row.name);
  Strings_Assign(suffix, row.suffix);
  Strings_Assign(regExpr, row.regExpr);
  row.typeFlag = typeFlag;
  row.recognize = SImage_DummyRecognize;
  row.limits = SImage_DummyLimits;
}

// What a row's driver says about a file named "image" with the row's suffix.
void AskDriver(SImage_Format& row, bool linework) {
  const std::string suffix = StrIn(row.suffix).Str();
  row.isDevice = suffix == kDeviceSuffix;
  if (row.isDevice || suffix.starts_with(kForeignFSPrefix)) {
    row.canRead = row.canWrite = true;
    row.isLinework = false;
    row.onUnixFS = row.isDevice;  // the devices are local, the other preset formats are not
    return;
  }
  const std::string name = "image" + suffix;
  const std::uint32_t read = row.capabilities != nullptr ? row.capabilities(name, SImage_kRead) : 0;
  const std::uint32_t write = row.capabilities != nullptr ? row.capabilities(name, SImage_kWrite) : 0;
  row.canRead = (read & SImage_kCapKinds) != 0;
  row.canWrite = (write & SImage_kCapKinds) != 0;
  row.isLinework = row.capabilities != nullptr ? ((read | write) & SImage_kCapLinework) != 0 : linework;
  row.onUnixFS = ((read | write) & SImage_kCapNotUnixFS) == 0;
  row.isDevice = ((read | write) & SImage_kCapDevice) != 0;
}

void MakeMasterList() {
  if (masterListReady) return;
  masterListReady = true;
  masterList.clear();
  for (std::size_t n = 0; n < rows.size(); ++n) {
    if (!used[n]) continue;
    AskDriver(rows[n], tableLinework[n]);
    if (rows[n].typeFlag != kUnlisted) masterList.push_back(&rows[n]);
  }
  std::stable_sort(masterList.begin(), masterList.end(), [](const SImage_Format* a, const SImage_Format* b) {
    return Strings_CompareStr(a->name, b->name) < 0;
  });
}

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
  for (std::size_t n = 0; n < std::size(kRows); ++n) {
    const Row& row = kRows[n];
    Fill(rows[n], StrIn::C(row.driver), StrIn::C(row.name), StrIn::C(row.suffix), StrIn::C(row.regExpr),
         row.typeFlag);
    tableLinework[n] = row.kind == Kind::Linework;
    used[n] = true;
  }
  SImage_InitImages();
}

std::size_t SImage_FormatCount() { return std::size(kRows); }

const SImage_Format* SImage_GetFormat(std::size_t number) {
  SImage_Init();
  MakeMasterList();
  return number < rows.size() && used[number] ? &rows[number] : nullptr;
}

SImage_Format* SImage_Row(std::uint8_t number) {
  SImage_Init();
  return number < rows.size() && used[number] ? &rows[number] : nullptr;
}

bool SImage_RegisterDriverStatic(std::uint8_t number, SImage_OpenProc open, SImage_CreateProc create,
                                 SImage_CapabilitiesProc capabilities) {
  SImage_Format* row = number < std::size(kRows) ? SImage_Row(number) : nullptr;
  if (row == nullptr || row->open != nullptr || row->create != nullptr || row->capabilities != nullptr) {
    Complain("Schon registriert");
    return false;
  }
  row->open = open;
  row->create = create;
  row->capabilities = capabilities;
  masterListReady = false;
  return true;
}

std::uint8_t SImage_RegisterDriver(StrIn suffix, StrIn description, StrIn regExpr, char typeFlag,
                                   SImage_OpenProc open, SImage_CreateProc create,
                                   SImage_CapabilitiesProc capabilities) {
  SImage_Init();
  for (std::size_t n = kSImageFirstDynamicDriver; n < rows.size(); ++n) {
    if (used[n]) continue;
    Fill(rows[n], "", description, suffix, regExpr, typeFlag);
    rows[n].open = open;
    rows[n].create = create;
    rows[n].capabilities = capabilities;
    used[n] = true;
    masterListReady = false;
    return static_cast<std::uint8_t>(n);
  }
  return SImage_kNoDriver;
}

SImage_FormatList SImage_NilFormatList() { return nullptr; }

SImage_FormatList SImage_GetListOfSupportedFormats() { return SImage_GetListOfSelectedSupportedFormats(0); }

SImage_FormatList SImage_GetListOfSelectedSupportedFormats(unsigned mask) {
  SImage_Init();
  MakeMasterList();
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
