#include "image/SImgGrad.h"

#include <algorithm>

#include "image/SImage.h"

bool SImgGrad_QIFgetGrdLUTs(SQIF qif, std::vector<SImgGrad_LUT>& luts) {
  luts.clear();
  std::vector<std::uint8_t> data;
  if (SQIF_TagSize(qif, SImgGrad_qifTag) < 0 || !SQIF_GetTag(qif, SImgGrad_qifTag, data)) return false;
  if (data.size() % 256 != 0) return false;
  luts.resize(data.size() / 256);
  for (std::size_t i = 0; i < luts.size(); ++i) std::copy_n(data.begin() + 256 * i, 256, luts[i].begin());
  return true;
}

bool SImgGrad_QIFputGrdLUTs(SQIF qif, const std::vector<SImgGrad_LUT>& luts) {
  if (qif == nullptr || luts.empty() || luts.size() > SQIF_GetHeader(qif).channels) {
    SImage_imgError = 9;
    return false;
  }
  std::vector<std::uint8_t> data;
  for (const SImgGrad_LUT& lut : luts) data.insert(data.end(), lut.begin(), lut.end());
  return SQIF_PutTag(qif, SImgGrad_qifTag, data);
}
