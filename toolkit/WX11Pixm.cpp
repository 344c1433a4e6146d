#include "toolkit/WX11Pixm.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstdio>
#include <list>
#include <string>
#include <vector>

#include "base/DirAcces.h"
#include "base/Messages.h"
#include "toolkit/WX11Grap.h"
#include "toolkit/WX11Text.h"
#include "toolkit/WX11Win.h"
#include "toolkit/WXWHash.h"

namespace {

char section[kSectionCap] = "WX11Pixmap";

constexpr int kMaxSide = 1000;
constexpr int kRampBreadth = 32;

struct Record {
  char name[kPathCap];
  W_Pixmap pixmap;
  W_Pixmap mask;
  int width, height;
  int refCount;
};

// In order of insertion.
std::list<Record> pixmaps;

struct Image {
  int width = 0, height = 0;
  std::vector<std::uint8_t> rgb;    // rows from the top, 3 bytes per pixel
  std::vector<std::uint8_t> alpha;  // one byte per pixel; empty: opaque
};

// What the name asks for besides the file or ramp.
struct Request {
  std::string base;
  bool dither = false;
  int channel = -1;
  bool disabled = false;
  W_Color disabledColor{192, 192, 192};
};

bool ParseNumbers(const std::string& text, std::vector<int>& numbers) {
  numbers.clear();
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t end = text.find(',', at);
    if (end == std::string::npos) end = text.size();
    const std::string item = text.substr(at, end - at);
    if (item.empty() || item.find_first_not_of("-0123456789") != std::string::npos) return false;
    numbers.push_back(std::stoi(item));
    at = end + 1;
  }
  return true;
}

Request ParseName(const std::string& name) {
  Request r;
  r.base = name;
  if (!r.base.empty() && r.base.back() == '*') {
    r.dither = true;
    r.base.pop_back();
  }
  if (r.base.size() >= 2 && r.base[r.base.size() - 2] == '!' && std::isdigit(static_cast<unsigned char>(r.base.back()))) {
    r.channel = r.base.back() - '0';
    r.base.resize(r.base.size() - 2);
  }
  if (const std::size_t at = r.base.rfind('@'); at != std::string::npos) {
    std::vector<int> rgb;
    const std::string rest = r.base.substr(at + 1);
    if (rest.empty() || (ParseNumbers(rest, rgb) && rgb.size() == 3)) {
      r.disabled = true;
      if (!rest.empty())
        r.disabledColor = W_Color{static_cast<std::uint32_t>(rgb[0]), static_cast<std::uint32_t>(rgb[1]),
                                  static_cast<std::uint32_t>(rgb[2])};
      r.base.resize(at);
    }
  }
  return r;
}

std::uint8_t Clamp(int value) { return static_cast<std::uint8_t>(std::clamp(value, 0, 255)); }

// "vramp-R,G,B,H,A" and "hramp-R,G,B,W,A" (the ".~" already cut).
bool ComputeRamp(const std::string& ramp, Image& image) {
  const bool vertical = ramp.rfind("vramp-", 0) == 0;
  if (!vertical && ramp.rfind("hramp-", 0) != 0) return false;
  std::vector<int> n;
  if (!ParseNumbers(ramp.substr(6), n) || n.size() != 5 || n[3] < 1 || n[3] > kMaxSide) return false;
  const int length = n[3], amplitude = n[4];
  image.width = vertical ? kRampBreadth : length;
  image.height = vertical ? length : kRampBreadth;
  image.rgb.assign(static_cast<std::size_t>(image.width) * image.height * 3, 0);
  for (int row = 0; row < image.height; ++row)
    for (int col = 0; col < image.width; ++col) {
      // Position 0 at the bottom (or left), 1 at the top (or right).
      const int step = vertical ? image.height - 1 - row : col;
      const double t = length > 1 ? static_cast<double>(step) / (length - 1) : 0.5;
      const int delta = static_cast<int>(amplitude * (t - 0.5));
      std::uint8_t* p = &image.rgb[(static_cast<std::size_t>(row) * image.width + col) * 3];
      for (int c = 0; c < 3; ++c) p[c] = Clamp(n[c] + delta);
    }
  return true;
}

bool ReadToken(std::FILE* file, int& value) {
  int c = std::fgetc(file);
  while (c == '#' || std::isspace(c)) {
    if (c == '#')
      while (c != '\n' && c != EOF) c = std::fgetc(file);
    c = std::fgetc(file);
  }
  if (!std::isdigit(c)) return false;
  value = 0;
  while (std::isdigit(c)) {
    value = value * 10 + (c - '0');
    if (value > 100000) return false;
    c = std::fgetc(file);
  }
  return true;  // the one blank after the last number is consumed
}

// The header of "P7" after the magic: WIDTH, HEIGHT, DEPTH, MAXVAL lines up
// to ENDHDR (TUPLTYPE and comments are passed over).
bool ReadPamHeader(std::FILE* file, int& width, int& height, int& depth, int& maxValue) {
  char line[128];
  while (std::fgets(line, sizeof line, file) != nullptr) {
    std::string text(line);
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
    if (text == "ENDHDR") return true;
    const std::size_t blank = text.find(' ');
    if (blank == std::string::npos) continue;
    const std::string key = text.substr(0, blank);
    const int value = std::atoi(text.c_str() + blank + 1);
    if (key == "WIDTH") width = value;
    else if (key == "HEIGHT") height = value;
    else if (key == "DEPTH") depth = value;
    else if (key == "MAXVAL") maxValue = value;
  }
  return false;
}

// Binary PPM ("P6") or PAM ("P7", RGB or RGB_ALPHA), 8 bits a sample. The
// alpha channel becomes the mask. Reports the message of the failure.
bool ReadImageFile(const std::string& name, Image& image) {
  PathStr path;
  Strings_Assign(name, path);
  if (!name.empty() && name[0] != '/') {
    PathStr fallback;
    DirAcces_IncludeSpecialPath(DirAcces_MARLLIB, "icons", fallback);
    if (!DirAcces_Lookup("ICONS", fallback, name, DirAcces_Mode::Read, path)) Strings_Assign(name, path);
  }
  std::FILE* file = std::fopen(StrIn(path).Str().c_str(), "rb");
  if (file == nullptr) {
    Messages_SupplyAdditionalInfo(name);
    Messages_Error(section, 2);
    return false;
  }
  char magic[3] = {};
  int maxValue = 0, depth = 3;
  bool header = std::fread(magic, 1, 2, file) == 2 && magic[0] == 'P';
  if (header && magic[1] == '7') header = ReadPamHeader(file, image.width, image.height, depth, maxValue);
  else header = header && ReadToken(file, image.width) && ReadToken(file, image.height) && ReadToken(file, maxValue);
  int failure = 0;
  if (!header || maxValue < 1 || maxValue > 255) failure = 2;
  else if ((magic[1] != '6' && magic[1] != '7') || (depth != 3 && depth != 4)) failure = 1;
  else if (image.width < 1 || image.height < 1 || image.width > kMaxSide || image.height > kMaxSide) failure = 3;
  if (failure == 0) {
    const std::size_t pixels = static_cast<std::size_t>(image.width) * image.height;
    std::vector<std::uint8_t> samples(pixels * static_cast<std::size_t>(depth));
    if (std::fread(samples.data(), 1, samples.size(), file) != samples.size()) failure = 2;
    image.rgb.resize(pixels * 3);
    if (depth == 4) image.alpha.resize(pixels);
    for (std::size_t i = 0; failure == 0 && i < pixels; ++i) {
      for (int c = 0; c < 3; ++c) image.rgb[i * 3 + c] = samples[i * depth + c];
      if (depth == 4) image.alpha[i] = samples[i * 4 + 3];
    }
  }
  std::fclose(file);
  if (failure != 0) {
    Messages_SupplyAdditionalInfo(name);
    Messages_Error(section, failure);  // messages: WX11Pixmap 1-3
    return false;
  }
  return true;
}

// The mask of an image with alpha: a pixel at half opacity or more shows.
W_Pixmap MakeMask(Display* d, const Image& image) {
  if (image.alpha.empty()) return 0;
  const int rowBytes = (image.width + 7) / 8;
  std::vector<char> bits(static_cast<std::size_t>(rowBytes) * image.height, 0);
  for (int row = 0; row < image.height; ++row)
    for (int col = 0; col < image.width; ++col)
      if (image.alpha[static_cast<std::size_t>(row) * image.width + col] >= 128)
        bits[static_cast<std::size_t>(row) * rowBytes + col / 8] |= static_cast<char>(1 << (col % 8));
  const Pixmap mask = XCreateBitmapFromData(d, WX11Win_HiddenWindow(), bits.data(),
                                            static_cast<unsigned>(image.width), static_cast<unsigned>(image.height));
  WXWHash_EnterPixmap(mask, image.width, image.height);
  return mask;
}

void ApplyLooks(const Request& r, Image& image) {
  for (std::size_t i = 0; i + 2 < image.rgb.size(); i += 3) {
    std::uint8_t* p = &image.rgb[i];
    if (r.channel >= 0 && r.channel < 3) p[0] = p[1] = p[2] = p[r.channel];
    if (r.disabled) {
      const int gray = (p[0] + 2 * p[1] + p[2]) / 4;
      p[0] = Clamp((gray + static_cast<int>(r.disabledColor.red)) / 2);
      p[1] = Clamp((gray + static_cast<int>(r.disabledColor.green)) / 2);
      p[2] = Clamp((gray + static_cast<int>(r.disabledColor.blue)) / 2);
    }
  }
}

W_Pixmap Transfer(Display* d, const Image& image, bool dither) {
  const Pixmap pixmap = XCreatePixmap(d, WX11Win_HiddenWindow(), static_cast<unsigned>(image.width),
                                      static_cast<unsigned>(image.height),
                                      static_cast<unsigned>(WX11Disp_deepestDepth));
  WXWHash_EnterPixmap(pixmap, image.width, image.height);
  const W_GC gc = WX11Grap_CreateGC();
  // Row by row, the top row of the image at the top of the pixmap.
  for (int row = 0; row < image.height; ++row)
    WX11Grap_PutScan3(pixmap, gc, 0, image.height - 1 - row, image.width,
                      &image.rgb[static_cast<std::size_t>(row) * image.width * 3], dither);
  WX11Grap_DestroyGC(gc);
  return pixmap;
}

Record* FindByPixmap(W_Pixmap pixmap) {
  for (Record& r : pixmaps)
    if (r.pixmap == pixmap) return &r;
  return nullptr;
}

void FreeServerPixmap(Display* d, W_Pixmap pixmap) {
  WX11Text_WinDestroyed(pixmap);
  std::vector<W_Window> removed;
  WXWHash_RemoveTree(pixmap, removed);
  XFreePixmap(d, pixmap);
}

}  // namespace

bool WX11Pixm_HaveFewColors() { return WX11Disp_deepestDepth < 15; }

void WX11Pixm_DisplayClosed() { pixmaps.clear(); }

W_Pixmap WX11Pixm_ReadPixmapFile(StrIn name, int& width, int& height) {
  width = height = 0;
  Display* d = WX11Disp_Use();
  const std::string text = name.Str();
  if (d == nullptr || text.empty() || text == "!") return 0;
  for (Record& r : pixmaps)
    if (text == r.name) {
      ++r.refCount;
      width = r.width;
      height = r.height;
      return r.pixmap;
    }
  const Request request = ParseName(text);
  Image image;
  if (request.base.size() > 2 && request.base.compare(request.base.size() - 2, 2, ".~") == 0) {
    if (WX11Pixm_HaveFewColors() || !ComputeRamp(request.base.substr(0, request.base.size() - 2), image))
      return 0;
  } else if (!ReadImageFile(request.base, image)) {
    return 0;
  }
  ApplyLooks(request, image);
  Record r{};
  Strings_Assign(text, r.name);
  r.pixmap = Transfer(d, image, request.dither);
  r.mask = MakeMask(d, image);
  r.width = width = image.width;
  r.height = height = image.height;
  r.refCount = 1;
  pixmaps.push_back(r);
  return r.pixmap;
}

W_Pixmap WX11Pixm_CreateBitmap(int width, int height, StrIn hex) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || width < 1 || height < 1 || width > 32 || height > 32) return 0;
  const std::string digits = hex.Str().substr(0, 255);
  const int rowBytes = (width + 7) / 8;
  std::vector<char> bits(static_cast<std::size_t>(rowBytes * height), 0);
  for (std::size_t i = 0; i + 1 < digits.size() + 1 && i / 2 < bits.size(); i += 2) {
    const std::string pair = digits.substr(i, 2);
    if (pair.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) break;
    bits[i / 2] = static_cast<char>(std::stoi(pair, nullptr, 16));
  }
  const Pixmap bitmap = XCreateBitmapFromData(d, WX11Win_HiddenWindow(), bits.data(),
                                              static_cast<unsigned>(width), static_cast<unsigned>(height));
  WXWHash_EnterPixmap(bitmap, width, height);
  return bitmap;
}

void WX11Pixm_FreePixmap(W_Pixmap pixmap) {
  Display* d = WX11Disp_Use();
  if (d == nullptr || pixmap == 0) return;
  Record* r = FindByPixmap(pixmap);
  if (r == nullptr) {
    FreeServerPixmap(d, pixmap);
    return;
  }
  if (--r->refCount > 0) return;
  FreeServerPixmap(d, r->pixmap);
  if (r->mask != 0) FreeServerPixmap(d, r->mask);
  pixmaps.remove_if([&](const Record& each) { return each.pixmap == pixmap; });
}

bool WX11Pixm_GetPixmapGeometry(W_Pixmap pixmap, int& width, int& height) {
  width = height = 0;
  if (WX11Disp_Use() == nullptr || pixmap == 0) return false;
  width = WX11Win_Width(pixmap);
  height = WX11Win_Height(pixmap);
  return width > 0 && height > 0;
}

void WX11Pixm_CopyPixmap(W_Pixmap pixmap, W_Drawable d, W_GC gc, int x, int y) {
  int width, height;
  if (WX11Pixm_GetPixmapGeometry(pixmap, width, height))
    WX11Grap_CopyArea(pixmap, d, gc, 0, 0, width, height, x, y);
}

void WX11Pixm_CopyTPixmap(W_Pixmap pixmap, W_Drawable d, W_GC gc, int x, int y) {
  Display* display = WX11Disp_Use();
  const Record* r = FindByPixmap(pixmap);
  if (display == nullptr || r == nullptr || r->mask == 0) {
    WX11Pixm_CopyPixmap(pixmap, d, gc, x, y);
    return;
  }
  // The mask goes on a private GC so that the caller's clip stays as it is.
  GC masked = XCreateGC(display, d, 0, nullptr);
  const int top = WX11Win_TransformY(d, y, r->height);
  XSetClipMask(display, masked, r->mask);
  XSetClipOrigin(display, masked, x, top);
  XCopyArea(display, pixmap, d, masked, 0, 0, static_cast<unsigned>(r->width),
            static_cast<unsigned>(r->height), x, top);
  XFreeGC(display, masked);
}
