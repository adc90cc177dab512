// One run of mlag-config-check over a loaded scenario: the pair started, its
// steps applied, and what the options ask for written out. A step costs what
// it changed: the whole result is built only where it is shown (after the
// start for the per-step views, after every step for --each-step, at the
// end for the rest), and --changes compares only the entries each step
// touched.
//
//   MlagTool::RunOptions o;
//   o.changes = true;
//   int status = MlagTool::runScenario(MlagSim::loadScenario("s.json"), o, std::cout);
//
// Plain function; the pair lives for the call.
#pragma once

#include <ostream>

#include "sim/Scenario.h"

namespace MlagTool {

struct RunOptions {
   bool json = false;       // the result JSON of both switches, alone
   bool reportJson = false; // every compared value with its verdict, alone
   bool mismatches = false; // only what does not agree
   bool summary = false;    // collections as their set lines
   bool eachStep = false;   // the tables after the start and every step
   bool changes = false;    // the tables after the start, then what each step changed
   bool colour = false;
};

// Returns 1 when an entry of either switch's results is a mismatch at the
// end, else 0. Raises what loading or running raises.
int runScenario(const MlagSim::Scenario & scenario, const RunOptions & options, std::ostream & out);

} // namespace MlagTool
