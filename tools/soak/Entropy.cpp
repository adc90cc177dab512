#include "Entropy.h"

namespace MlagSim {

// The slight bias of a plain modulo does not matter for choosing steps, and
// keeps the number of draws per choice fixed, so replays stay aligned.

std::uint64_t SeededEntropy::below(std::uint64_t bound) {
   if (bound <= 1) return 0;
   // splitmix64
   std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ull);
   z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
   z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
   return (z ^ (z >> 31)) % bound;
}

std::uint64_t ByteEntropy::below(std::uint64_t bound) {
   if (bound <= 1) return 0;
   std::uint64_t value = 0;
   for (std::uint64_t reach = 1; reach < bound && reach != 0; reach <<= 8) {
      value = (value << 8) | (at_ < size_ ? data_[at_++] : 0);
   }
   return value % bound;
}

} // namespace MlagSim
