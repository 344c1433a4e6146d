// ImgView: an image reduced to a picture, line by line.
#include "tools/ImgView.h"

#include <algorithm>
#include <cmath>

namespace {

std::uint8_t Ink(std::uint64_t c, std::uint64_t k) { return static_cast<std::uint8_t>(255 - std::min<std::uint64_t>(255, c + k)); }

}  // namespace

ImgView_Picture::~ImgView_Picture() { Close(); }

void ImgView_Picture::Close() {
  SScan_Destroy(scan_);
  if (image_ != nullptr) SImage_Close(image_);
  image_ = nullptr;
}

bool ImgView_Picture::Open(const std::string& name, int maxWidth, int maxHeight, bool quick) {
  image_ = SImage_Open(name, SImage_kTryFormats, SImage_kRead, SImage_kTopBottom);
  if (image_ == nullptr) return false;
  quick_ = quick;
  imageWidth_ = image_->hRes;
  imageHeight_ = image_->vRes;
  channels_ = image_->channels;
  used_ = channels_ >= 4 ? 4 : channels_ == 3 ? 3 : 1;
  SImage_SelectChannels(image_, (std::uint64_t{1} << used_) - 1);
  const double scale = std::min({1.0, static_cast<double>(std::max(maxWidth, 1)) / imageWidth_,
                                 static_cast<double>(std::max(maxHeight, 1)) / imageHeight_});
  width_ = std::max(1, static_cast<int>(std::floor(imageWidth_ * scale + 1e-9)));
  height_ = std::max(1, static_cast<int>(std::floor(imageHeight_ * scale + 1e-9)));
  columnOf_.resize(imageWidth_);
  columnCount_.assign(static_cast<std::size_t>(width_), 0);
  for (std::uint32_t x = 0; x < imageWidth_; ++x) {
    columnOf_[x] = static_cast<int>(std::uint64_t{x} * static_cast<std::uint64_t>(width_) / imageWidth_);
    ++columnCount_[static_cast<std::size_t>(columnOf_[x])];
  }
  sums_.assign(static_cast<std::size_t>(width_) * used_, 0);
  rgb_.assign(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_) * 3, 0);
  scan_ = SScan_Create(imageWidth_, used_);
  return true;
}

void ImgView_Picture::PutPixel(std::uint8_t* rgb, const std::uint64_t* sums, std::uint64_t count) const {
  const auto mean = [&](std::uint32_t c) { return (sums[c] + count / 2) / count; };
  if (used_ == 1) {
    rgb[0] = rgb[1] = rgb[2] = static_cast<std::uint8_t>(mean(0));
  } else if (used_ == 3) {
    for (std::uint32_t c = 0; c < 3; ++c) rgb[c] = static_cast<std::uint8_t>(mean(c));
  } else {
    const std::uint64_t k = mean(3);
    for (std::uint32_t c = 0; c < 3; ++c) rgb[c] = Ink(mean(c), k);
  }
}

void ImgView_Picture::Accumulate(const SScan scan) {
  for (std::uint32_t c = 0; c < used_; ++c) {
    const std::uint8_t* samples = SScan_Samples(scan, c);
    std::uint64_t* sums = sums_.data() + c;
    for (std::uint32_t x = 0; x < imageWidth_; ++x) sums[static_cast<std::size_t>(columnOf_[x]) * used_] += samples[x];
  }
  ++linesInRow_;
}

void ImgView_Picture::FinishRow(int row) {
  std::uint8_t* out = rgb_.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) * 3;
  for (int x = 0; x < width_; ++x) {
    const auto i = static_cast<std::size_t>(x);
    PutPixel(out + 3 * i, sums_.data() + i * used_, std::uint64_t{columnCount_[i]} * std::max(linesInRow_, 1u));
  }
  std::fill(sums_.begin(), sums_.end(), 0);
  linesInRow_ = 0;
  rowsDone_ = row + 1;
}

void ImgView_Picture::Sample(const SScan scan, int row) {
  std::uint8_t* out = rgb_.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(width_) * 3;
  std::uint64_t one[4] = {};
  for (int x = 0; x < width_; ++x) {
    const std::uint64_t column = (2 * std::uint64_t(x) + 1) * imageWidth_ / (2 * static_cast<std::uint64_t>(width_));
    for (std::uint32_t c = 0; c < used_; ++c) one[c] = SScan_Samples(scan, c)[column];
    PutPixel(out + 3 * static_cast<std::size_t>(x), one, 1);
  }
  rowsDone_ = row + 1;
}

bool ImgView_Picture::Step(std::uint32_t lines) {
  if (image_ == nullptr) return false;
  const auto rows = static_cast<std::uint64_t>(height_);
  for (std::uint32_t done = 0; done < lines && rowsDone_ < height_; ++done) {
    if (quick_) {
      // The middle line of the next row; the lines before it are passed over.
      const auto want = static_cast<std::uint32_t>((2 * static_cast<std::uint64_t>(rowsDone_) + 1) * imageHeight_ / (2 * rows));
      if ((want > line_ && !SImage_SkipScan(image_, want - line_)) || !SImage_ReadScan(image_, scan_)) {
        failed_ = true;
        break;
      }
      line_ = want + 1;
      Sample(scan_, rowsDone_);
      continue;
    }
    const int row = static_cast<int>(std::uint64_t{line_} * rows / imageHeight_);
    if (row != rowsDone_) FinishRow(rowsDone_);
    if (!SImage_ReadScan(image_, scan_)) {
      failed_ = true;
      break;
    }
    Accumulate(scan_);
    if (++line_ == imageHeight_) FinishRow(rowsDone_);
  }
  if (!failed_ && rowsDone_ < height_) return true;
  Close();
  return false;
}
