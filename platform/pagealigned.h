// Memory that file data is read into, aligned to a page. The system copies
// from its page cache into it; a destination a few bytes past a page
// boundary (where a large allocation of its own starts) makes that copy
// three times as slow on x86. Dask workers, for one, allocate every large
// block fresh from the system, so a reader there meets it on every file.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace platform {

constexpr std::align_val_t kPageAlignment{4096};

struct PageAlignedDelete {
  void operator()(uint8_t* bytes) const { ::operator delete[](bytes, kPageAlignment); }
};
using PageAlignedBytes = std::unique_ptr<uint8_t[], PageAlignedDelete>;

// Uninitialised; throws std::bad_alloc when there is no memory.
inline PageAlignedBytes AllocatePageAligned(size_t size) {
  return PageAlignedBytes(static_cast<uint8_t*>(::operator new[](size, kPageAlignment)));
}

}  // namespace platform
