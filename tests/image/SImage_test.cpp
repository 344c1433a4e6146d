#include "image/SImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "base/SRegExpr.h"
#include "image/SIqif.h"
#include "image/SItiff.h"
#include "image/SQIF.h"
#include "tests/support/TestFiles.h"

namespace {

const bool drivers = [] {
  SIqif_Init();
  SItiff_Init();
  return true;
}();

// The format table written down again, row by row, with a file name of each
// format. 'C' continuous tone, 'L' line work, 'D' device; unlisted rows are
// the pseudo formats that no list may offer.
struct Expected {
  const char* driver;
  const char* description;
  const char* suffix;
  const char* regExpr;
  bool listed;
  char kind;
  const char* sample;
};

const Expected kTable[] = {
    {"SIqif", "QIF (Tavrin Image Format)", ".qif", "\\.(qif|QIF)$", true, 'C', "a.QIF"},
    {"SIqlf", "QLF (Tavrin Linework)", ".qlf", "\\.qlf$", true, 'L', "a.qlf"},
    {"SITitFP", "TIFF/IT-FP (Tagged Image File Format for Image Technology)", ".fp",
     "\\.(fp|FP|p|P|ifp|IFP)$", true, 'C', "a.IFP"},
    {"SITitCT", "TIFF/IT-CT (Tagged Image File Format for Image Technology)", ".ct",
     "\\.([c,i,m,y,k,0-9]?|[C,I,M,Y,K,0-9]?)(ct|CT)$", true, 'C', "a.3ct"},
    {"SITitLW", "TIFF/IT-LW (Tagged Image File Format for Image Technology)", ".lw", "\\.(i?lw|I?LW)$", true, 'L',
     "a.ILW"},
    {"SITitHC", "TIFF/IT-HC (Tagged Image File Format for Image Technology)", ".hc", "\\.(i?hc|I?HC)$", true, 'C',
     "a.ihc"},
    {"SItiff", "TIFF (Tagged Image File Format)", ".tif", "\\.(tiff?|TIFF?|tff|TFF|ldf)$", true, 'C', "a.TIFF"},
    {"SIps", "PS  (Postscript)", ".ps", "\\.(PS|PS.|ps|ps.)$", true, 'C', "a.PS2"},
    {"SIps", "EPS (Encapsulated Postscript)", ".eps", "\\.(EPS|EPS.|eps|eps.|eps\\..|e)$", true, 'C', "a.eps.1"},
    {"SIppf", "CIP3-PPF", ".ppf", "\\.(ppf|PPF)$", true, 'C', "a.PPF"},
    {"SIrgb", "RGB (Tavrin RGB-Format)", ".rgb", "\\.rgb$", true, 'C', "a.rgb"},
    {"SIsciFP", "SCITEX FLYT Format", ".Spg", "\\.(Spg|flyt|FLYT)$", true, 'C', "a.flyt"},
    {"SIsciCT", "SCITEX (SCT) Handshake Image Format", ".sct", "\\.sct$", true, 'C', "a.sct"},
    {"SIsciCT", "SCITEX (E-SCT) Ext-Handshake Image Format", ".Sct", "\\.(Sct|ch)$", true, 'C', "a.ch"},
    {"SIsciLW", "SCITEX (SLW) Handshake Linework Format", ".slw", "\\.slw$", true, 'L', "a.slw"},
    {"SIsciLW", "SCITEX (E-SLW) Ext-Handshake Linework Format", ".Slw", "\\.(Slw|lh)$", true, 'L', "a.lh"},
    {"SIufsFP", "SCITEX UFS FLYT File Format", ".Xpg", "\\.Xpg$", true, 'C', "a.Xpg"},
    {"SIufsCT", "SCITEX (XCT) UFS CT Handshake Image Format", ".xct", "\\.xct$", true, 'C', "a.xct"},
    {"SIufsCT", "SCITEX (E-XCT) UFS Ext-CT Handshake Image Format", ".Xct", "\\.Xct$", true, 'C', "a.Xct"},
    {"SIufsLW", "SCITEX (XLW) UFS LW Handshake Linework Format", ".xlw", "\\.xlw$", true, 'L', "a.xlw"},
    {"SIufsLW", "SCITEX (E-XLW) UFS Ext-LW Handshake Linework Format", ".Xlw", "\\.Xlw$", true, 'L', "a.Xlw"},
    {"SIngsct", "CROSFIELD (RCn) Vollfarbraster", "", "(\\.|-)(r|R)(c|C).$", true, 'C', "a-Rc4"},
    {"SIngslw", "CROSFIELD (LCn) Linework Farbe", "", "(-|\\.)(l|L)(c|C).$", true, 'L', "a.lC1"},
    {"SIngslw", "CROSFIELD (EBn) Linework SW", "", "(-|\\.)(e|E)(b|B).$", true, 'L', "a-EB2"},
    {"SIngspc", "CROSFIELD (RPn) Pseudofarbraster", "", "(-|\\.)(r|R)(p|P)$", true, 'C', "a.rP"},
    {"SIshut", "Hell Chromacom CT", ".hct", "\\.hct$", true, 'C', "a.hct"},
    {"SIshut", "Hell Chromacom LW", ".hlw", "\\.hlw$", true, 'L', "a.hlw"},
    {"SIoeeCT", "OEE (Ohio Engraving)", ".oct", "\\.oct$", true, 'C', "a.oct"},
    {"SIoeeLW", "OEE LW (Ohio Engraving)", ".olw", "\\.olw$", true, 'L', "a.olw"},
    {"SIlen", "LEN (BSL)", ".len", "\\.(len|LEN)$", true, 'C', "a.LEN"},
    {"SIpcx", "PCX (Zsoft)", ".pcx", "\\.(pcx|PCX)$", true, 'C', "a.PCX"},
    {"SIpipe", "PPM (Portable PixMap)", ".ppm", "\\.(ppm|PPM|pnm|pbm|pgm)$", true, 'C', "a.pgm"},
    {"SIpixmap", "PXM (Pixmap format)", ".pxm", "\\.pxm$", true, 'C', "a.pxm"},
    {"SIrla", "RLA (Wavefront)", ".rla", "\\.rla$", true, 'C', "a.rla"},
    {"SIdras", "DRAS (Dicomed raster)", ".dra", "\\.dras?$", true, 'C', "a.dras"},
    {"SIstork", "PRE (Stork image data)", ".pre", "\\.pre$", true, 'C', "a.pre"},
    {"SItf", "TF  (Textur format)", ".tf", "\\.tf$", true, 'C', "a.tf"},
    {"SItga", "IRI (Iris Druckerformat)", ".iri", "\\.iri$", true, 'C', "a.iri"},
    {"SItga", "TGA (Truevision)", ".tga", "\\.tga$", true, 'C', "a.tga"},
    {"SIyade", "YCT (YADE Raster)", ".Yct", "\\.Yct$", true, 'C', "a.Yct"},
    {"SIyade", "YLX (YADE Linework)", ".ylx", "\\.ylx$", true, 'L', "a.ylx"},
    {"SIprf", "PRF (Printfile)", ".prf", "\\.prf$", false, 'C', "a.prf"},
    {"SIprfS", "PRS (Printfile, separations)", ".prs", "\\.prs$", false, 'C', "a.prs"},
    {"SIpmf", "PMF (Pseudo Merge Format)", ".pmf", "\\.pmf$", false, 'C', "a.pmf"},
    {"SIbitmap", "BMF (Pseudo Bitmap File)", ".bmf", "\\.bmf$", false, 'L', "a.bmf"},
    {"SIqhfR", "QHF (Tavrin High-Resolution Format)", ".qhf", "\\.qhf$", true, 'C', "a.qhf"},
    {"SIqhfX", "QILF (QIF with separate QLF)", ".qilf", "\\.qilf$", true, 'C', "a.qilf"},
    {"SIcntR", "CNT (Tavrin Contour Format)", ".cnt", "\\.cnt$", true, 'L', "a.cnt"},
    {"SIqgf", "QGF (Tavrin Gravure Format)", ".qgf", "\\.qgf$", true, 'C', "a.qgf"},
    {"SIqtf", "QTF (Tavrin Tile Format)", ".qtf", "\\.qtf$", true, 'C', "a.qtf"},
    {"", "Special Devices", ".dev", "\\.dev$", true, 'D', "pipe.dev"},
    {"SI6rn", "6RN Format", ".6rn", "\\.6rn$", true, 'C', "a.6rn"},
};

// The one pair of formats whose names overlap: the TIFF/IT-CT expression
// takes any one-letter prefix of ".ct", YADE's ".Yct" among them.
bool KnownOverlap(const Expected& claiming, const Expected& other) {
  return std::string(claiming.suffix) == ".ct" && std::string(other.suffix) == ".Yct";
}

// The formats whose drivers are built in read and write; the others can do
// nothing until a driver registers.
bool Served(const Expected& row) { return std::string(row.suffix) == ".qif" || std::string(row.suffix) == ".tif"; }

// What a selection mask lets through, told from the expected table alone.
bool ModelPasses(const Expected& row, unsigned mask) {
  if (!row.listed) return false;
  if (row.kind == 'D') return (mask & 0x20) == 0;
  if ((mask & 0x03) != 0 && !Served(row)) return false;
  if ((mask & 0x08) != 0 && row.kind != 'C') return false;
  if ((mask & 0x10) != 0 && row.kind != 'L') return false;
  return true;
}

// The descriptions a list should hold for `mask`, in byte order.
std::vector<std::string> ModelDescriptions(unsigned mask) {
  std::vector<std::string> result;
  for (const Expected& row : kTable) {
    if (ModelPasses(row, mask)) result.push_back(row.description);
  }
  std::sort(result.begin(), result.end());
  return result;
}

std::vector<std::string> Descriptions(SImage_FormatList list) {
  std::vector<std::string> result;
  for (SImage_FormatList e = list; e != nullptr; e = e->next) result.push_back(StrIn(e->description).Str());
  return result;
}

bool Matches(const std::string& regExpr, const std::string& name) {
  SRegExpr expr = SRegExpr_Create(regExpr);
  const bool match = SRegExpr_Match(expr, name);
  SRegExpr_Destroy(expr);
  return match;
}

const Expected* ExpectedBySuffix(const std::string& suffix) {
  for (const Expected& row : kTable) {
    if (suffix == row.suffix) return &row;
  }
  return nullptr;
}

}  // namespace

TEST(SImageTable, EveryRowAsWrittenDown) {
  ASSERT_EQ(SImage_FormatCount(), std::size(kTable));
  for (std::size_t i = 0; i < std::size(kTable); ++i) {
    const Expected& want = kTable[i];
    const SImage_Format* got = SImage_GetFormat(i);
    ASSERT_NE(got, nullptr) << i;
    EXPECT_EQ(StrIn(got->driver).Str(), want.driver) << i;
    EXPECT_EQ(StrIn(got->name).Str(), want.description) << i;
    EXPECT_EQ(StrIn(got->suffix).Str(), want.suffix) << want.description;
    EXPECT_EQ(StrIn(got->regExpr).Str(), want.regExpr) << want.description;
    EXPECT_EQ(got->typeFlag != ' ', want.listed) << want.description;
    EXPECT_EQ(got->isLinework, want.kind == 'L') << want.description;
    EXPECT_EQ(got->isDevice, want.kind == 'D') << want.description;
    EXPECT_EQ(got->canRead, Served(want) || want.kind == 'D') << want.description;
    EXPECT_EQ(got->canWrite, Served(want) || want.kind == 'D') << want.description;
    EXPECT_TRUE(got->onUnixFS) << want.description;
  }
  EXPECT_EQ(SImage_GetFormat(std::size(kTable)), nullptr);
}

TEST(SImageTable, ExpressionsRecogniseTheirOwnNamesOnly) {
  for (const Expected& row : kTable) {
    SRegExpr expr = SRegExpr_Create(StrIn::C(row.regExpr));
    ASSERT_NE(expr, SRegExpr_Nil()) << row.regExpr;
    if (*row.suffix != '\0') {
      EXPECT_TRUE(SRegExpr_Match(expr, std::string("image") + row.suffix)) << row.regExpr;
    }
    EXPECT_TRUE(SRegExpr_Match(expr, StrIn::C(row.sample))) << row.regExpr;
    EXPECT_FALSE(SRegExpr_Match(expr, "image.txt")) << row.regExpr;
    EXPECT_FALSE(SRegExpr_Match(expr, std::string(row.sample) + ".bak")) << row.regExpr;
    for (const Expected& other : kTable) {
      if (&other == &row || KnownOverlap(row, other)) continue;
      EXPECT_FALSE(SRegExpr_Match(expr, StrIn::C(other.sample))) << row.regExpr << " takes " << other.sample;
    }
    SRegExpr_Destroy(expr);
  }
}

TEST(SImageLists, SelectionMasksFollowCapabilities) {
  // Single bits, the sets the front ends and the demon use, and bits that
  // exclude each other.
  for (unsigned mask : {0x00u, 0x01u, 0x02u, 0x04u, 0x08u, 0x10u, 0x20u, 0x28u, 0x30u, 36u, 37u, 38u, 0x18u, 0x38u,
                        0x40u, 0xffu}) {
    SImage_FormatList list = SImage_GetListOfSelectedSupportedFormats(mask);
    EXPECT_EQ(Descriptions(list), ModelDescriptions(mask)) << "mask " << mask;
    for (SImage_FormatList e = list; e != nullptr; e = e->next) {
      EXPECT_EQ(e->preselected, StrIn(e->suffix).Str() == ".qif");
    }
    SImage_DestroyListOfSupportedFormats(list);
  }
  // Continuous tone and line work at once leave only the device, and without
  // it nothing: the list is nil.
  SImage_FormatList none = SImage_GetListOfSelectedSupportedFormats(0x38);
  EXPECT_EQ(none, SImage_NilFormatList());
}

TEST(SImageLists, TileFormatTakesImpositionFilesOnlyWhenAsked) {
  SImage_FormatList plain = SImage_GetListOfSelectedSupportedFormats(36);
  SImage_FormatList extended = SImage_GetListOfSelectedSupportedFormats(36 | SImage_kTileWithImposition);
  ASSERT_EQ(Descriptions(plain), Descriptions(extended));
  for (SImage_FormatList p = plain, x = extended; p != nullptr; p = p->next, x = x->next) {
    const std::string suffix = StrIn(p->suffix).Str();
    if (suffix == ".qtf") {
      EXPECT_FALSE(Matches(p->regExpr, "sheet.jxk"));
      EXPECT_TRUE(Matches(x->regExpr, "sheet.jxk"));
      EXPECT_TRUE(Matches(x->regExpr, "tiles.qtf"));
      EXPECT_FALSE(Matches(x->regExpr, "sheet.jxk.txt"));
    } else {
      EXPECT_EQ(StrIn(x->regExpr).Str(), StrIn(p->regExpr).Str()) << suffix;
    }
  }
  SImage_DestroyListOfSupportedFormats(plain);
  SImage_DestroyListOfSupportedFormats(extended);
}

// The demon joins the expressions of the Unix formats without devices into
// one, which has to compile and fit a configuration value.
TEST(SImageLists, AllImageExpressionsJoinIntoOne) {
  SImage_FormatList list = SImage_GetListOfSelectedSupportedFormats(36);
  std::string joined;
  for (SImage_FormatList e = list; e != nullptr; e = e->next) joined += StrIn(e->regExpr).Str() + "|";
  joined += "\\.(pdf|PDF)$";
  SImage_DestroyListOfSupportedFormats(list);
  EXPECT_LT(joined.size(), kTextCap);
  SRegExpr all = SRegExpr_Create(joined);
  ASSERT_NE(all, SRegExpr_Nil());
  for (const Expected& row : kTable) {
    EXPECT_EQ(SRegExpr_Match(all, StrIn::C(row.sample)), row.listed && row.kind != 'D') << row.sample;
  }
  EXPECT_TRUE(SRegExpr_Match(all, "doc.PDF"));
  EXPECT_FALSE(SRegExpr_Match(all, "notes.txt"));
  SRegExpr_Destroy(all);
}

TEST(SImageLists, FindBySuffixExactly) {
  SImage_FormatList list = SImage_GetListOfSupportedFormats();
  for (const char* suffix : {".sct", ".Sct", ".qif", ".dev", ".6rn"}) {
    const SImage_FormatListEntry* entry = SImage_FindSupportedFormat(list, StrIn::C(suffix));
    ASSERT_NE(entry, nullptr) << suffix;
    EXPECT_EQ(StrIn(entry->description).Str(), ExpectedBySuffix(suffix)->description);
  }
  // Case counts, unlisted formats are not found, and the formats without a
  // suffix are not found by an empty one.
  for (const char* suffix : {".QIF", ".prf", "", ".pdf", "qif"}) {
    EXPECT_EQ(SImage_FindSupportedFormat(list, StrIn::C(suffix)), nullptr) << suffix;
  }
  EXPECT_EQ(SImage_FindSupportedFormat(SImage_NilFormatList(), ".qif"), nullptr);
  SImage_DestroyListOfSupportedFormats(list);
}

// --- Drivers and images ------------------------------------------------------------------

namespace {

std::uint8_t Sample(std::uint32_t x, std::uint32_t y, std::uint32_t c) {
  return static_cast<std::uint8_t>(x * 3 + y * 5 + c * 77);
}

// A QIF of the sample pattern, made through the format module.
void MakeQif(const std::string& path, std::uint32_t w, std::uint32_t h, std::uint32_t ch) {
  SQIF qif = SQIF_Create(path, w, h, ch);
  ASSERT_NE(qif, nullptr);
  std::vector<std::uint8_t> row(w);
  for (std::uint32_t c = 0; c < ch; ++c) {
    for (std::uint32_t y = 0; y < h; ++y) {
      for (std::uint32_t x = 0; x < w; ++x) row[x] = Sample(x, y, c);
      ASSERT_TRUE(SQIF_PutScan(qif, 0, y, w, c, row.data()));
    }
  }
  ASSERT_TRUE(SQIF_Close(qif));
}

// The first sample of every channel of the next scan, and whether it came.
bool Next(SImage image, SScan scan, std::uint32_t at, std::vector<unsigned>& firsts) {
  firsts.clear();
  if (!SImage_ReadScan(image, scan)) return false;
  for (std::uint32_t c = 0; c < SScan_Channels(scan); ++c) firsts.push_back(SScan_Samples(scan, c)[at]);
  return true;
}

class SImageFiles : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.Path() + "/" + name; }
  TempDir dir_;
};

}  // namespace

TEST_F(SImageFiles, OrdersRunTheirWayAndRandomAccessAnyWay) {
  const std::string path = Path("orders.qif");
  MakeQif(path, 130, 50, 2);
  struct Case {
    std::uint8_t order;
    std::uint32_t length, first, last;  // scan length, index of the first and last scan
  };
  for (const Case& c : {Case{SImage_kTopBottom, 130, 49, 0}, Case{SImage_kBottomTop, 130, 0, 49},
                        Case{SImage_kLeftRight, 50, 0, 129}, Case{SImage_kRightLeft, 50, 129, 0}}) {
    SImage image = SImage_Open(path, 0, SImage_kRead, c.order);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(std::tuple(image->format, image->hRes, image->vRes, image->channelMask),
              std::tuple(SImage_kDriverQIF, 130u, 50u, 0b11u));
    const bool columns = c.order >= SImage_kLeftRight;
    auto expected = [&](std::uint32_t index, std::uint32_t ch) {
      return columns ? Sample(index, 0, ch) : Sample(0, index, ch);
    };
    SScan scan = SScan_Create(c.length, 2);
    std::vector<unsigned> firsts;
    ASSERT_TRUE(Next(image, scan, 0, firsts));
    EXPECT_EQ(firsts, (std::vector<unsigned>{expected(c.first, 0), expected(c.first, 1)}));
    const std::uint32_t total = columns ? 130 : 50;
    ASSERT_TRUE(SImage_SkipScan(image, total - 2));
    ASSERT_TRUE(Next(image, scan, 0, firsts));
    EXPECT_EQ(firsts[1], expected(c.last, 1));
    EXPECT_FALSE(SImage_ReadScan(image, scan));
    EXPECT_EQ(SImage_imgError, 1);
    SScan_Destroy(scan);

    SScan row = SScan_Create(130, 2), column = SScan_Create(50, 2);
    ASSERT_TRUE(SImage_RandomRead(image, 10, row));
    EXPECT_EQ(SScan_Samples(row, 1)[129], Sample(129, 10, 1));
    ASSERT_TRUE(SImage_RandomColumnRead(image, 129, column));
    EXPECT_EQ(SScan_Samples(column, 0)[49], Sample(129, 49, 0));
    // A scan of the wrong length is refused, and so is a write to an image opened for reading.
    EXPECT_FALSE(SImage_RandomRead(image, 10, column));
    EXPECT_EQ(SImage_imgError, 9);
    EXPECT_FALSE(SImage_RandomWrite(image, 0, row));
    EXPECT_EQ(SImage_imgError, 9);
    SScan_Destroy(row);
    SScan_Destroy(column);
    EXPECT_TRUE(SImage_Close(image));
    EXPECT_EQ(image, nullptr);
  }
}

TEST_F(SImageFiles, ChannelsAndDepthsOfScans) {
  const std::string path = Path("channels.qif");
  MakeQif(path, 20, 5, 2);
  SImage image = SImage_Open(path, 0, SImage_kUpdate, SImage_kBottomTop);
  ASSERT_NE(image, nullptr);
  // Bits above the file's channels are cut; the unselected channel stays.
  ASSERT_TRUE(SImage_SelectChannels(image, 0xF2));
  EXPECT_EQ(image->channelMask, 0b10u);
  SScan deep = SScan_Create16Bit(20, 2);
  SScan_Samples16(deep, 0)[3] = 4242;
  ASSERT_TRUE(SImage_ReadScan(image, deep));
  EXPECT_EQ(SScan_Samples16(deep, 1)[3], Sample(3, 0, 1) * 257);
  EXPECT_EQ(SScan_Samples16(deep, 0)[3], 4242);
  // Written at 16 bits, stored rounded to 8.
  SScan_Samples16(deep, 1)[3] = 200 * 257 + 100;
  ASSERT_TRUE(SImage_RandomWrite(image, 4, deep));
  SScan one = SScan_Create(20, 1);
  EXPECT_FALSE(SImage_RandomRead(image, 4, one));  // channel 1 selected, the scan has none
  SScan_Destroy(one);
  ASSERT_TRUE(SImage_Close(image));
  SQIF qif = SQIF_Open(path, false);
  std::uint8_t value = 0;
  ASSERT_TRUE(SQIF_GetPixel(qif, 3, 4, 1, value));
  EXPECT_EQ(value, 200);
  ASSERT_TRUE(SQIF_GetPixel(qif, 3, 4, 0, value));
  EXPECT_EQ(value, Sample(3, 4, 0));
  SQIF_Close(qif);
  SScan_Destroy(deep);
}

// A new image is written beside its target and put in place at closing;
// the resolution in its name is its own and doesn't stick to the next image.
TEST_F(SImageFiles, NewImagesArriveWholeWithTheirResolution) {
  const std::string target = Path("new.qif");
  PutFile(target, "old content");
  SImage image = SImage_Create(target + "@60x30", 10, 3, 1, SImage_kTopBottom);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(StrIn(image->name).Str(), target);
  EXPECT_EQ(FileText(target), "old content");
  EXPECT_TRUE(std::filesystem::exists(image->fileName));
  EXPECT_EQ(SImage_crlinesCMx, 120.0);
  ASSERT_TRUE(SImage_SetCreator(image, "unit test"));
  SScan scan = SScan_Create(10, 1);
  for (int y = 2; y >= 0; --y) {
    std::fill_n(SScan_Samples(scan, 0), 10, static_cast<std::uint8_t>(y));
    ASSERT_TRUE(SImage_WriteScan(image, scan));
  }
  EXPECT_FALSE(SImage_WriteScan(image, scan));
  const std::string temporary = image->fileName;
  ASSERT_TRUE(SImage_Close(image));
  EXPECT_FALSE(std::filesystem::exists(temporary));

  image = SImage_Open(target, 0, SImage_kRead, SImage_kBottomTop);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(std::tuple(image->resX, image->resY, StrIn(image->creator).Str()), std::tuple(60.0, 30.0, "unit test"));
  ASSERT_TRUE(SImage_SkipScan(image, 2));
  ASSERT_TRUE(SImage_ReadScan(image, scan));
  EXPECT_EQ(SScan_Samples(scan, 0)[9], 2);
  SImage_Close(image);

  // Abandoned: the target stays as it was.
  image = SImage_Create(target, 10, 3, 1, SImage_kTopBottom);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->resX, 120.0);
  const std::string abandoned = image->fileName;
  ASSERT_TRUE(SImage_Remove(image));
  EXPECT_FALSE(std::filesystem::exists(abandoned));
  image = SImage_Open(target + "@50", 0, SImage_kRead, SImage_kBottomTop);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->resX, 60.0);  // the file's own resolution stands
  SImage_Close(image);

  // The end of the process takes the temporaries of unclosed images along.
  image = SImage_Create(Path("unclosed.qif"), 10, 3, 1, SImage_kTopBottom);
  ASSERT_NE(image, nullptr);
  const std::string left = image->fileName;
  SImage_RemoveTmpFiles();
  EXPECT_FALSE(std::filesystem::exists(left));
  EXPECT_FALSE(SImage_Remove(image));
  SScan_Destroy(scan);
}

TEST_F(SImageFiles, OpeningFailsWithTheErrorOfItsCause) {
  const std::string qif = Path("a.qif");
  MakeQif(qif, 4, 4, 1);
  EXPECT_EQ(SImage_Open(qif, 0, SImage_kWrite, SImage_kTopBottom), nullptr);
  EXPECT_EQ(SImage_imgError, 5);
  EXPECT_EQ(SImage_Open(Path("a.txt"), 0, SImage_kRead, SImage_kTopBottom), nullptr);
  EXPECT_EQ(SImage_imgError, 4);
  EXPECT_EQ(SImage_Open(Path("missing.qif"), 0, SImage_kRead, SImage_kTopBottom), nullptr);
  EXPECT_EQ(SImage_imgError, 6);
  // A TIFF can't be read by columns.
  EXPECT_FALSE(SImage_SequencePossible("a.tif", SImage_kLeftRight) || SImage_SequencePossible("a.sct", SImage_kTopBottom));
  EXPECT_TRUE(SImage_SequencePossible("a.tif", SImage_kBottomTop) && SImage_SequencePossible("a.QIF", SImage_kRightLeft));

  // A file without a telling name is tried with every driver when asked to.
  std::filesystem::copy_file(qif, Path("scan0001"));
  EXPECT_EQ(SImage_Open(Path("scan0001"), 0, SImage_kRead, SImage_kTopBottom), nullptr);
  SImage found = SImage_Open(Path("scan0001"), SImage_kTryFormats, SImage_kRead, SImage_kTopBottom);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->format, SImage_kDriverQIF);
  SImage_Close(found);
  PutFile(Path("one"), "x");
  EXPECT_EQ(SImage_Open(Path("one"), SImage_kTryFormats, SImage_kRead, SImage_kTopBottom), nullptr);
  EXPECT_EQ(SImage_imgError, 4);

  // A resolution of 0 in the file is no resolution.
  SQIF bad = SQIF_Open(qif, true);
  const std::string zero = "0.0, 0.0";
  ASSERT_TRUE(SQIF_PutTag(bad, SQIF_lineResTag, std::vector<std::uint8_t>(zero.begin(), zero.end())));
  SQIF_Close(bad);
  EXPECT_EQ(SImage_Open(qif, 0, SImage_kRead, SImage_kTopBottom), nullptr);
  EXPECT_EQ(SImage_imgError, 15);
  double x, y;
  std::uint32_t w, h;
  EXPECT_FALSE(SImage_GetResolution(qif, x, y, w, h));

  // A format the table knows but no driver serves.
  PutFile(Path("a.sct"), "scitex");
  testing::internal::CaptureStderr();
  EXPECT_EQ(SImage_Open(Path("a.sct"), 0, SImage_kRead, SImage_kTopBottom), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "FEHLER in Bildtreiber-Registrierung: Kein Treiber registriert\n");
  EXPECT_EQ(SImage_imgError, 9);
}

TEST_F(SImageFiles, TagsAndTablesGoThroughTheDriver) {
  const std::string path = Path("tags.qif");
  MakeQif(path, 4, 4, 2);
  SImage image = SImage_Open(path, 0, SImage_kUpdate, SImage_kTopBottom);
  ASSERT_NE(image, nullptr);
  std::uint8_t lut[256];
  EXPECT_FALSE(SImage_GetLUT(image, 0, lut));
  EXPECT_EQ(SImage_imgError, 12);
  for (int i = 0; i < 256; ++i) lut[i] = static_cast<std::uint8_t>(255 - i);
  ASSERT_TRUE(SImage_SetLUT(image, 1, lut));
  ASSERT_TRUE(SImage_PutTag(image, "JOB", {'4', '2'}));
  EXPECT_EQ(SImage_TagSize(image, "JOB"), 2);
  ASSERT_TRUE(SImage_SetLineRes(image, 47.25, 47.25));
  EXPECT_FALSE(SImage_SetLineRes(image, 0.0, 47.25));
  EXPECT_EQ(SImage_imgError, 15);
  ASSERT_TRUE(SImage_Close(image));

  image = SImage_Open(path, 0, SImage_kRead, SImage_kTopBottom);
  ASSERT_TRUE(SImage_GetLUT(image, 0, lut));
  EXPECT_EQ(lut[10], 10);  // the channel without a table of its own
  ASSERT_TRUE(SImage_GetLUT(image, 1, lut));
  EXPECT_EQ(lut[10], 245);
  EXPECT_EQ(image->resX, 47.25);
  std::vector<std::uint8_t> profile;
  EXPECT_FALSE(SImage_GetEmbeddedProfile(image, profile));
  EXPECT_EQ(SImage_imgError, 9);
  SImage_Close(image);
}

TEST(SImageDrivers, RegistrationAndRecognition) {
  std::uint8_t driver = 0, qif = 0;
  EXPECT_TRUE(SImage_RecognizeFormat(SImage_kRead, "x/a.QIF", ".QIF", qif));
  EXPECT_TRUE(SImage_RecognizeFormat(SImage_kRead, "a.TIFF", ".TIFF", driver));
  EXPECT_EQ(std::tuple(qif, driver), std::tuple(SImage_kDriverQIF, SImage_kDriverTIFF));
  EXPECT_TRUE(SImage_RecognizeFormat(SImage_kWrite, "/out/pipe.dev", ".dev", driver));
  EXPECT_TRUE(SImage_GetFormat(driver)->isDevice);
  EXPECT_FALSE(SImage_RecognizeFormat(SImage_kRead, "a-Rc4", "", driver));  // a format without a driver
  EXPECT_EQ(driver, SImage_kNoDriver);

  std::uint32_t h = 0, v = 0;
  ASSERT_TRUE(SImage_GetLimits("a.qif", h, v));
  EXPECT_EQ(h, 65535u);
  EXPECT_FALSE(SImage_GetLimits("a.doc", h, v));
  EXPECT_NE(SImage_InquireCapabilities("a.tif", SImage_kRead) & SImage_kCapDeep, 0u);
  EXPECT_EQ(SImage_InquireCapabilities("a.tif", SImage_kWrite) & SImage_kCapDeep, 0u);

  NameStr related, back;
  EXPECT_TRUE(SImage_GetRelatedFormat(".qif", related) && SImage_GetRelatedFormat(".Slw", back));
  EXPECT_EQ(StrIn(related).Str() + StrIn(back).Str(), ".qlf.Sct");
  EXPECT_FALSE(SImage_GetRelatedFormat(".tif", related));

  testing::internal::CaptureStderr();
  EXPECT_FALSE(SImage_RegisterDriverStatic(SImage_kDriverQIF, nullptr, nullptr, nullptr));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "FEHLER in Bildtreiber-Registrierung: Schon registriert\n");

  // An external driver gets the first dynamic number, and a row in the
  // lists as soon as it says what it can do.
  auto capabilities = [](StrIn, std::uint8_t) -> std::uint32_t { return SImage_kCapLinework | SImage_kCapBilevel; };
  const std::uint8_t number =
      SImage_RegisterDriver(".xyz", "XYZ (external)", R"(\.xyz$)", 'S', nullptr, nullptr, capabilities);
  EXPECT_EQ(number, kSImageFirstDynamicDriver);
  SImage_FormatList list = SImage_GetListOfSelectedSupportedFormats(SImage_kNeedRead | SImage_kNeedLinework | SImage_kNoDevices);
  EXPECT_EQ(Descriptions(list), std::vector<std::string>{"XYZ (external)"});
  SImage_DestroyListOfSupportedFormats(list);
  EXPECT_TRUE(SImage_RecognizeFormat(SImage_kRead, "a.xyz", ".xyz", driver));
  EXPECT_EQ(driver, number);
}

TEST_F(SImageFiles, ResolutionsOfImagesAndOfPageDescriptions) {
  MakeQif(Path("a.qif"), 30, 20, 1);
  double x = 0, y = 0;
  std::uint32_t w = 0, h = 0;
  ASSERT_TRUE(SImage_GetResolution(Path("a.qif@80"), x, y, w, h));
  EXPECT_EQ(std::tuple(w, h, x), std::tuple(30u, 20u, 80.0));

  const double points = 72 / 2.54;
  // The box at the end where the header defers to it; the finer box first.
  PutFile(Path("a.eps"), "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: (atend)\n" + std::string(70000, ' ') +
                             "\n%%Trailer\n%%BoundingBox: 10 20 110 220\n");
  ASSERT_TRUE(SImage_GetResolution(Path("a.eps"), x, y, w, h));
  EXPECT_EQ(std::tuple(w, h), std::tuple(100u, 200u));
  EXPECT_NEAR(x, points, 1e-9);
  PutFile(Path("b.EPS"), "%!PS\n%%BoundingBox: 0 0 10 10\n%%HiResBoundingBox: 0 0 9.5 10.2\n");
  ASSERT_TRUE(SImage_GetResolution(Path("b.EPS"), x, y, w, h));
  EXPECT_EQ(std::tuple(w, h), std::tuple(10u, 11u));
  PutFile(Path("c.pdf"), "%PDF-1.4\n1 0 obj << /Type /Page /MediaBox [0 0 595.28 841.89] >> endobj\n");
  ASSERT_TRUE(SImage_GetResolution(Path("c.pdf"), x, y, w, h));
  EXPECT_EQ(std::tuple(w, h), std::tuple(596u, 842u));
  PutFile(Path("d.ps"), "%!PS\nshowpage\n");
  EXPECT_FALSE(SImage_GetResolution(Path("d.ps"), x, y, w, h));
}
