// Kiv::Trace::Handle: a named trace switch with ten levels, 0 to 9, and
// handle(name), the registry that creates a handle on first use.
//
//   Kiv::Trace::Handle & h = Kiv::Trace::handle("MlagConfigCheck");
//   h.levelsUpToIs(8);                    // levels 0..8 on, 9 off
//   if (h.levelEnabled(9)) { ... }
//
// A handle lives until the process ends, so a reference to one never dangles.
// Its first levels come from the environment variable KIV_TRACE, read when the
// handle is created: comma-separated entries "<name>/<max>" (levels 0..max) or
// "<name>/<from>-<to>", with "*" as a name that matches every handle. The
// levels of all entries that match add up; a malformed entry is ignored:
//
//   KIV_TRACE="MlagConfigCheck/9"         KIV_TRACE="*/7,MlagConfigCheck/8-9"
//
// Single-threaded, like the rest of the framework.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace Kiv::Trace {

class Handle {
 public:
   // Made by handle(); `levels` has bit n set for level n.
   Handle(std::string name, std::uint16_t levels) : name_(std::move(name)), levels_(levels) {}
   Handle(const Handle &) = delete;
   Handle & operator=(const Handle &) = delete;

   const std::string & name() const noexcept { return name_; }
   // Levels outside 0..9 are never enabled.
   bool levelEnabled(int level) const noexcept {
      return static_cast< unsigned >(level) <= maxLevel && ((levels_ >> level) & 1u) != 0;
   }
   // REQUIRES: 0 <= level <= 9.
   void levelIs(int level, bool enabled);
   // Enables 0..maxLevel and disables the rest; -1 disables every level.
   // REQUIRES: -1 <= maxLevel <= 9.
   void levelsUpToIs(int maxLevel);

   static constexpr unsigned maxLevel = 9;

 private:
   std::string name_;
   std::uint16_t levels_; // bit n set: level n enabled
};

// The handle named `name`, created at the first call for that name.
// REQUIRES: name is not null.
Handle & handle(const char * name);

} // namespace Kiv::Trace
