// MMap: files mapped into memory, the way large images are read and written.
//
// Mapping is on unless the flag NO_MMAP is set (the variable TV_NO_MMAP or
// the flag file); callers then go through their own buffers. A mapping is
// shared with the file: what is written to it reaches the file.
#pragma once

#include <cstdint>

// Whether files are to be mapped; the flag is read at each call.
bool MMap_MMapEnabled();
// `size` rounded up to whole pages.
std::uint64_t MMap_RoundToPages(std::uint64_t size);
// Maps the first `size` bytes of the open file `descriptor` (rounded up to
// pages), for reading or for reading and writing; nullptr on failure, with
// errno as the system left it.
std::uint8_t* MMap_Map(int descriptor, std::uint64_t size, bool writable);
// Unmaps what MMap_Map gave for `size` and sets `address` to nullptr;
// nullptr is accepted.
void MMap_Unmap(std::uint8_t*& address, std::uint64_t size);
// Tells the system that the mapping will be read from front to back.
void MMap_Sequential(std::uint8_t* address, std::uint64_t size);
// Takes the pages wholly inside bytes `from` to `to` - 1 of a mapping out of
// the process: they stay in the file (written ones included) and come back
// when touched again. Keeps the memory of a long sequential pass bounded.
void MMap_Release(std::uint8_t* address, std::uint64_t from, std::uint64_t to);
