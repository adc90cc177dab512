// Reference count updates shared by counted objects and strings: plain
// integers unless the process switched to thread-safe pointers, in which case
// atomic operations. Inline, because every pointer and string copy uses them.
#pragma once

#include <atomic>
#include <cstdint>

namespace Kiv {

namespace refCountDetail {
inline bool threadSafe = false;
} // namespace refCountDetail

inline void enableThreadSafePointersIs(bool on) noexcept { refCountDetail::threadSafe = on; }
inline bool enableThreadSafePointers() noexcept { return refCountDetail::threadSafe; }

inline void refCountInc(std::uint32_t & count) noexcept {
   if (refCountDetail::threadSafe) {
      std::atomic_ref< std::uint32_t >(count).fetch_add(1, std::memory_order_relaxed);
   } else {
      ++count;
   }
}

// Returns true when the count dropped to zero.
inline bool refCountDec(std::uint32_t & count) noexcept {
   if (refCountDetail::threadSafe) {
      return std::atomic_ref< std::uint32_t >(count).fetch_sub(1, std::memory_order_acq_rel) == 1;
   }
   return --count == 0;
}

} // namespace Kiv
