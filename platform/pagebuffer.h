// PageBuffer: memory for a buffer that grows to hundreds of MiB and is then
// handed on whole. Its pages come straight from the system: growing remaps
// them instead of copying, and each new part is faulted in ahead of use, as
// huge pages where the system offers them, rather than one small page per
// trap (a trap costs several microseconds on a virtual machine).
//
// The system zeroes every fresh page, which costs as much as filling it. So
// only the part a Reserve asks for is faulted in on the caller's thread; the
// rest of a large new part is faulted in on a thread of its own while the
// caller fills the front. Whichever side reaches a page first zeroes it, so
// the work splits by itself and nothing is zeroed twice.
//
// On Windows a buffer commits more of one large reservation as it grows,
// and its pages arrive zeroed on first touch: nothing is faulted ahead.
#pragma once

#include <cstddef>
#include <thread>

namespace platform {

class PageBuffer {
 public:
  // Memory given up by Release; PageBuffer::Free returns it.
  struct Block {
    void* data = nullptr;
    size_t capacity = 0;
  };

  PageBuffer() = default;
  PageBuffer(PageBuffer&& other) noexcept;
  PageBuffer& operator=(PageBuffer&& other) noexcept;
  PageBuffer(const PageBuffer&) = delete;
  PageBuffer& operator=(const PageBuffer&) = delete;
  ~PageBuffer();

  // Makes room for at least `bytes`, keeping the contents (which may move).
  // False when the system refuses; the buffer is then unchanged.
  bool Reserve(size_t bytes);
  void* data() const { return block_.data; }
  size_t capacity() const { return block_.capacity; }
  // Gives the memory to the caller, who frees it with Free; the buffer is
  // empty afterwards. Faulting ahead stops first: what is left unfaulted
  // arrives on first touch.
  Block Release();
  static void Free(Block block);

 private:
  // Stops faulting ahead and waits for it (before the pages move or go).
  void StopFaultingAhead();

  Block block_;
  std::jthread faultingAhead_;
};

}  // namespace platform
