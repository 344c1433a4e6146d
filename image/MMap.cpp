#include "image/MMap.h"

#include <sys/mman.h>
#include <unistd.h>

#include "base/DirAcces.h"

namespace {

std::uint64_t PageSize() {
  static const auto size = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
  return size;
}

}  // namespace

bool MMap_MMapEnabled() { return !DirAcces_CheckFlag("NO_MMAP"); }

std::uint64_t MMap_RoundToPages(std::uint64_t size) { return (size + PageSize() - 1) / PageSize() * PageSize(); }

std::uint8_t* MMap_Map(int descriptor, std::uint64_t size, bool writable) {
  if (size == 0) return nullptr;
  void* address = ::mmap(nullptr, MMap_RoundToPages(size), writable ? PROT_READ | PROT_WRITE : PROT_READ,
                         MAP_SHARED, descriptor, 0);
  return address == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(address);
}

void MMap_Unmap(std::uint8_t*& address, std::uint64_t size) {
  if (address != nullptr) ::munmap(address, MMap_RoundToPages(size));
  address = nullptr;
}

void MMap_Sequential(std::uint8_t* address, std::uint64_t size) {
  if (address != nullptr) ::madvise(address, MMap_RoundToPages(size), MADV_SEQUENTIAL);
}

void MMap_Release(std::uint8_t* address, std::uint64_t from, std::uint64_t to) {
  const std::uint64_t first = MMap_RoundToPages(from), last = to / PageSize() * PageSize();
  // A shared mapping gives written pages to the file when they are taken out.
  if (address != nullptr && first < last) ::madvise(address + first, last - first, MADV_DONTNEED);
}
