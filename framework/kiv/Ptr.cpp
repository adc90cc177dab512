#include "kiv/Ptr.h"

#include <atomic>
#include <cassert>
#include <cstdlib>
#include <cxxabi.h>
#include <memory>

#include "kiv/Exception.h"

namespace Kiv {

namespace {

struct Registry {
   // Counters never move once created: the map owns them through unique_ptr.
   std::map< std::string, std::unique_ptr< std::int64_t > > counters;
};

Registry & registry() {
   static Registry * r = new Registry; // lives for the whole process
   return *r;
}

std::string demangle(const char * name) {
   int status = 0;
   char * text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
   std::string result = (status == 0 && text) ? text : name;
   std::free(text);
   return result;
}

void bump(std::int64_t * counter, std::int64_t delta) {
   if (enableThreadSafePointers()) {
      std::atomic_ref< std::int64_t >(*counter).fetch_add(delta);
   } else {
      *counter += delta;
   }
}

} // namespace

std::int64_t * LiveCount::counterFor(const std::type_info & type) {
   auto & slot = registry().counters[demangle(type.name())];
   if (!slot) slot = std::make_unique< std::int64_t >(0);
   return slot.get();
}

std::int64_t LiveCount::count(const std::string & typeName) {
   auto it = registry().counters.find(typeName);
   return it == registry().counters.end() ? 0 : *it->second;
}

std::int64_t LiveCount::total() {
   std::int64_t sum = 0;
   for (const auto & entry : registry().counters) sum += *entry.second;
   return sum;
}

std::map< std::string, std::int64_t > LiveCount::snapshot() {
   std::map< std::string, std::int64_t > result;
   for (const auto & entry : registry().counters) result[entry.first] = *entry.second;
   return result;
}

PtrInterface::~PtrInterface() {
   if (liveCounter_) bump(liveCounter_, -1);
}

void PtrInterface::kivTrackLive(std::int64_t * counter) noexcept {
   liveCounter_ = counter;
   bump(counter, 1);
}

void throwNullValidPtr() { throwRangeException("null ValidPtr"); }

} // namespace Kiv
