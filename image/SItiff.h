// SItiff: the SImage driver of TIFF files, through libtiff.
//
// Reading: the first image of a file, in strips or tiles, with its planes
// together or apart, in any compression libtiff decodes, at 1, 8 or 16 bits
// per sample (unsigned) and 1 to 64 samples per pixel. Samples are given as
// they are stored (palette images as indices, "min is white" images as they
// stand); JPEG-compressed YCbCr comes as RGB. The file's first row is the
// image's top row. Rows are read in the row orders and at random, through a
// buffer of one row of strips or tiles, so memory stays bounded whatever the
// image's size; strips too large for that buffer are decoded line by line.
// The embedded ICC profile is offered.
//
// Writing: 8-bit images in the top-to-bottom order, uncompressed strips
// (BigTIFF beyond 4 GB): one channel is grey, three RGB, four CMYK, others
// separations. Rows not written are zero. The line resolution is kept in
// pixels per centimetre.
#pragma once

// Registers the driver under SImage_kDriverTIFF; every name of the TIFF
// expression is recognised.
void SItiff_Init();
