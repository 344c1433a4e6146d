// What the parts of SImage share and nobody else uses.
#pragma once

#include <cstdint>

#include "image/SImage.h"

// The row of driver `number`, to be changed; nullptr for an empty slot.
SImage_Format* SImage_Row(std::uint8_t number);
// Starts the image part (the removal of temporary files at the end).
void SImage_InitImages();
