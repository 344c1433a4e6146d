// What the parts of SImage share and nobody else uses.
#pragma once

#include <cstdint>

#include "image/SImage.h"

// The row of driver `number`, to be changed; nullptr for an empty slot.
SImage_Format* SImage_Row(std::uint8_t number);
// Starts the image part (the removal of temporary files at the end).
void SImage_InitImages();
// The size of a PostScript or PDF file from its bounding box or page box,
// in points, with the resolution of points. `isBoxFile` tells whether the
// name is of such a file; false when it is not, or has no box.
bool SImage_BoxResolution(StrIn name, bool& isBoxFile, double& resX, double& resY, std::uint32_t& hRes,
                          std::uint32_t& vRes);
