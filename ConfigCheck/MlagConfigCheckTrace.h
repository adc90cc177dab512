// The checker's one trace handle, "MlagConfigCheck", created on first use and
// kept for the life of the process, and the trace statements bound to it.
// Each source file names its source tag once:
//
//   namespace { constexpr char kivTraceSource[] = "MlagConfigCheckUtil"; }
//   MLAG_TRACE(9, "no intfTable for ", paramName);
#pragma once

#include "trace/Trace.h"

namespace Mlag::ConfigCheck {

Kiv::Trace::Handle & traceHandle();

} // namespace Mlag::ConfigCheck

#define MLAG_TRACE(level, ...) \
   KIV_TRACE(::Mlag::ConfigCheck::traceHandle(), kivTraceSource, level, __VA_ARGS__)
// The same with the function's signature text given explicitly.
#define MLAG_TRACE_FN(level, signature, ...) \
   KIV_TRACE_FN(::Mlag::ConfigCheck::traceHandle(), kivTraceSource, level, signature, __VA_ARGS__)
