// Kiv::RecentStrings: a small table of recently seen texts, so that equal
// texts made apart can share one buffer.
//
//   Kiv::RecentStrings recent;
//   Kiv::String a = recent.shared(Kiv::String("9214"));
//   Kiv::String b = recent.shared(Kiv::String("9214"));   // a's buffer
//
// Each text has one place, chosen by its hash; a text takes the place of
// whatever stood there. The table holds at most `places` texts and never
// grows, so it cannot hold on to more than a few kilobytes.
#pragma once

#include <array>
#include <cstddef>

#include "kiv/String.h"

namespace Kiv {

template < std::size_t places = 256 >
class RecentStrings {
   static_assert((places & (places - 1)) == 0, "places is a power of two");

 public:
   // `text`, or an equal text seen before (same characters, shared buffer).
   String shared(const String & text) {
      String & place = texts_[text.hash() & (places - 1)];
      if (!(place == text)) place = text;
      return place;
   }

 private:
   std::array< String, places > texts_;
};

} // namespace Kiv
