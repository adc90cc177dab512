// Kiv::System: the process's time source.
//
// Time is a monotonic real clock unless a test or a scenario switches the
// process to virtual time, which moves only when told to. Virtual time can
// also be made to jump on every read, so that a test can let a deadline pass
// in the middle of a time slice without sleeping.
//
//   Kiv::System::virtualTimeIs(100.0);
//   Kiv::System::virtualTimeAdvance(0.5);    // currentTime() == 100.5
//   Kiv::System::realTimeIs();
//
// The state is process-wide and belongs to the one event thread.
#pragma once

#include <cstdint>

namespace Kiv {

// A point in time or a duration, in seconds.
using Seconds = double;

class System {
 public:
   // The current time; counted in timeReads(). With a read step set, the read
   // returns the present virtual time and then moves it forward by the step.
   static Seconds currentTime();
   // REQUIRES: `now` is finite. Keeps a read step that is already set.
   static void virtualTimeIs(Seconds now);
   // Also clears the read step: the step belongs to the virtual clock.
   static void realTimeIs();
   static bool virtualTime();
   // REQUIRES: virtualTime(); `delta` is finite and not negative.
   static void virtualTimeAdvance(Seconds delta);
   // REQUIRES: virtualTime(); `step` is finite and not negative (0 = off).
   static void timeReadStepIs(Seconds step);
   static Seconds timeReadStep();
   // Calls of currentTime() since the process started.
   static std::uint64_t timeReads();
   // The present time for the framework's own bookkeeping (placing and
   // firing clock reactors, accounting slices): not counted as a read and
   // never moves a jumping clock, so that timeReads() and the read step
   // concern only the code being driven.
   static Seconds bookkeepingTime();
};

} // namespace Kiv
