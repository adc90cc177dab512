#include "trace/Message.h"

#include <deque>

#include "kiv/Assert.h"

namespace Kiv::Trace {

namespace {

// A deque, so that a descriptor in use stays put while a sink registers more.
// Never destroyed: statements may run while statics are torn down.
std::deque< Message > & messages() {
   static auto * registry = new std::deque< Message >();
   return *registry;
}

} // namespace

std::uint32_t messageIs(Message descriptor) {
   messages().push_back(std::move(descriptor));
   return static_cast< std::uint32_t >(messages().size() - 1);
}

const Message & message(std::uint32_t id) {
   KIV_ASSERT(id < messages().size());
   return messages()[id];
}

} // namespace Kiv::Trace
