// Where the random simulation takes its choices from: a seeded generator for
// soak runs (the same seed gives the same choices on every machine and
// library, so a failing seed replays anywhere), or the bytes of a fuzzer's
// input, so that coverage feedback steers the choices.
//
//   MlagSim::SeededEntropy entropy(42);
//   std::uint64_t die = entropy.below(6);       // 0..5
//   if (entropy.chance(1, 4)) ...               // one time in four
//
// Not thread-safe; one per run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace MlagSim {

class Entropy {
 public:
   virtual ~Entropy() = default;
   // A number in [0, bound); 0 when bound is 0 or 1.
   virtual std::uint64_t below(std::uint64_t bound) = 0;
   // True `times` out of `outOf`.
   bool chance(std::uint64_t times, std::uint64_t outOf) { return below(outOf) < times; }
   // One element of a non-empty list.
   template < typename T >
   const T & pick(const std::vector< T > & items) {
      return items[static_cast< std::size_t >(below(items.size()))];
   }
};

// splitmix64: small, fast, and fully defined by its seed.
class SeededEntropy : public Entropy {
 public:
   explicit SeededEntropy(std::uint64_t seed) : state_(seed) {}
   std::uint64_t below(std::uint64_t bound) override;

 private:
   std::uint64_t state_;
};

// As few input bytes per choice as its bound needs (one for up to 256
// choices); zeros once the input is used up, so every input, however short,
// makes a complete run.
class ByteEntropy : public Entropy {
 public:
   ByteEntropy(const std::uint8_t * data, std::size_t size) : data_(data), size_(size) {}
   std::uint64_t below(std::uint64_t bound) override;

 private:
   const std::uint8_t * data_; // not owned: the caller's input outlives the run
   std::size_t size_;
   std::size_t at_ = 0;
};

} // namespace MlagSim
