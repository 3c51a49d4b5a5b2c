// PageBuffer: memory for a buffer that grows to hundreds of MiB and is then
// handed on whole. Its pages come straight from the system: growing remaps
// them instead of copying, and each new part is faulted in at once, as huge
// pages where the system offers them, rather than one small page per trap
// (a trap costs several microseconds on a virtual machine).
#pragma once

#include <cstddef>

namespace platform {

class PageBuffer {
 public:
  // Memory given up by Release; PageBuffer::Free returns it.
  struct Block {
    void* data = nullptr;
    size_t capacity = 0;
  };

  PageBuffer() = default;
  PageBuffer(PageBuffer&& other) noexcept : block_(other.block_) { other.block_ = {}; }
  PageBuffer& operator=(PageBuffer&& other) noexcept;
  PageBuffer(const PageBuffer&) = delete;
  PageBuffer& operator=(const PageBuffer&) = delete;
  ~PageBuffer() { Free(block_); }

  // Makes room for at least `bytes`, keeping the contents (which may move).
  // False when the system refuses; the buffer is then unchanged.
  bool Reserve(size_t bytes);
  void* data() const { return block_.data; }
  size_t capacity() const { return block_.capacity; }
  // Gives the memory to the caller, who frees it with Free; the buffer is
  // empty afterwards.
  Block Release();
  static void Free(Block block);

 private:
  Block block_;
};

}  // namespace platform
