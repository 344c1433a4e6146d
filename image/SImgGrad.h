// SImgGrad: gradation tables kept with an image, one 256-entry table per
// channel that maps stored samples to the tones they stand for.
//
// In a QIF they are the tag "GRADATION": the tables of channels 0, 1, ... one
// after the other, 256 bytes each.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "image/SQIF.h"

using SImgGrad_LUT = std::array<std::uint8_t, 256>;

inline constexpr char SImgGrad_qifTag[] = "GRADATION";

// The tables of a QIF, channel by channel; false (luts empty) when it has
// none or the tag is not whole tables.
bool SImgGrad_QIFgetGrdLUTs(SQIF qif, std::vector<SImgGrad_LUT>& luts);
// Stores the tables of a QIF opened for writing; at least one, at most one
// per channel.
bool SImgGrad_QIFputGrdLUTs(SQIF qif, const std::vector<SImgGrad_LUT>& luts);
