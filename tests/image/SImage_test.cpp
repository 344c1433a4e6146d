#include "image/SImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "base/SRegExpr.h"

namespace {

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

// What a selection mask lets through, told from the expected table alone.
bool ModelPasses(const Expected& row, unsigned mask) {
  if (!row.listed) return false;
  if (row.kind == 'D') return (mask & 0x20) == 0;
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
    // No driver has narrowed a format yet.
    EXPECT_TRUE(got->canRead && got->canWrite && got->onUnixFS) << want.description;
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

TEST(SImageLists, SupportedFormatsSortedWithTheMainFormatPreselected) {
  SImage_FormatList list = SImage_GetListOfSupportedFormats();
  EXPECT_EQ(Descriptions(list), ModelDescriptions(0));
  std::set<std::string> suffixes;
  for (SImage_FormatList e = list; e != nullptr; e = e->next) {
    const std::string suffix = StrIn(e->suffix).Str();
    const std::string description = StrIn(e->description).Str();
    EXPECT_EQ(e->preselected, suffix == ".qif") << description;
    // Entries carry the row of their description.
    const auto row = std::find_if(std::begin(kTable), std::end(kTable),
                                  [&](const Expected& r) { return description == r.description; });
    ASSERT_NE(row, std::end(kTable)) << description;
    EXPECT_EQ(suffix, row->suffix);
    EXPECT_EQ(StrIn(e->regExpr).Str(), row->regExpr);
    if (!suffix.empty()) {
      EXPECT_TRUE(suffixes.insert(suffix).second) << "twice: " << suffix;
    }
  }
  SImage_DestroyListOfSupportedFormats(list);
  EXPECT_EQ(list, SImage_NilFormatList());
  SImage_DestroyListOfSupportedFormats(list);  // nil is accepted
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
