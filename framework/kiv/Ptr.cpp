#include "kiv/Ptr.h"

#include <atomic>
#include <cassert>
#include <cstdlib>
#include <cxxabi.h>
#include <deque>
#include <memory>

#include "kiv/Exception.h"

namespace Kiv {

namespace {

struct Registry {
   std::map< std::string, std::uint16_t > ids;
   // counts[id]; a deque, so that counters never move as types join.
   std::deque< std::int64_t > counts{0};
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

std::uint16_t LiveCount::idFor(const std::type_info & type) {
   Registry & r = registry();
   auto [it, added] = r.ids.emplace(demangle(type.name()), 0);
   if (added) {
      it->second = static_cast< std::uint16_t >(r.counts.size());
      r.counts.push_back(0);
   }
   return it->second;
}

std::int64_t LiveCount::count(const std::string & typeName) {
   auto it = registry().ids.find(typeName);
   return it == registry().ids.end() ? 0 : registry().counts[it->second];
}

std::int64_t LiveCount::total() {
   std::int64_t sum = 0;
   for (std::int64_t c : registry().counts) sum += c;
   return sum;
}

std::map< std::string, std::int64_t > LiveCount::snapshot() {
   std::map< std::string, std::int64_t > result;
   for (const auto & [name, id] : registry().ids) result[name] = registry().counts[id];
   return result;
}

PtrInterface::~PtrInterface() {
   if (liveTypeId_) bump(&registry().counts[liveTypeId_], -1);
}

void PtrInterface::kivTrackLive(std::uint16_t typeId) noexcept {
   liveTypeId_ = typeId;
   bump(&registry().counts[typeId], 1);
}

void throwNullValidPtr() { throwRangeException("null ValidPtr"); }

} // namespace Kiv
