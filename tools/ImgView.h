// ImgView: the picture the image viewer shows: an image reduced to fit a
// box of pixels, in RGB, read line by line through SImage so that an image
// of any size takes no more memory than a few of its lines and the picture.
//
// The normal form averages every pixel of the image into the pixel of the
// picture it falls on; the quick form reads only the lines the picture
// needs (passing over the others) and takes one pixel each. Channels: one
// is grey (0 black), three RGB, four and more CMYK inks (others ignored),
// two the first as grey. An image never grows: one that fits the box is
// shown as it is.
//
// Reading goes in steps, so that a window can show the lines done and stay
// alive while a large image is read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "image/SImage.h"
#include "image/SScan.h"

class ImgView_Picture {
 public:
  ImgView_Picture() = default;
  ~ImgView_Picture();
  ImgView_Picture(const ImgView_Picture&) = delete;
  ImgView_Picture& operator=(const ImgView_Picture&) = delete;

  // Opens the image `name` to be read into a picture that fits
  // maxWidth x maxHeight. False, with SImage_imgError set and the reason
  // pushed, when it can't be read.
  bool Open(const std::string& name, int maxWidth, int maxHeight, bool quick);
  // Reads up to `lines` lines of the image. True while more remain; false
  // when all were read or reading failed (Failed() tells, the image is closed).
  bool Step(std::uint32_t lines);
  bool Failed() const { return failed_; }

  // The image's size and channels, and the picture's size.
  std::uint32_t ImageWidth() const { return imageWidth_; }
  std::uint32_t ImageHeight() const { return imageHeight_; }
  std::uint32_t Channels() const { return channels_; }
  int Width() const { return width_; }
  int Height() const { return height_; }
  // The picture's rows done so far, counted from the top.
  int RowsDone() const { return rowsDone_; }
  // Row `row` (from the top) of the picture: Width() pixels of 3 bytes.
  const std::uint8_t* Row(int row) const { return rgb_.data() + static_cast<std::size_t>(row) * width_ * 3; }

 private:
  void Accumulate(const SScan scan);
  void Sample(const SScan scan, int row);
  void FinishRow(int row);
  void PutPixel(std::uint8_t* rgb, const std::uint64_t* sums, std::uint64_t count) const;
  void Close();

  SImage image_ = nullptr;
  SScan scan_ = nullptr;
  bool quick_ = false, failed_ = false;
  std::uint32_t imageWidth_ = 0, imageHeight_ = 0, channels_ = 0, used_ = 0, line_ = 0;
  int width_ = 0, height_ = 0, rowsDone_ = 0;
  std::vector<int> columnOf_;        // the picture's column of each image column
  std::vector<std::uint32_t> columnCount_;  // image columns falling on each picture column
  std::vector<std::uint64_t> sums_;  // the row being gathered: used_ sums a column
  std::uint32_t linesInRow_ = 0;
  std::vector<std::uint8_t> rgb_;
};
