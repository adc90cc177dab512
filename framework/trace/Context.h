// The trace context: the part of the process that the running code works
// for, such as one switch of a pair that one process simulates. Each text
// line carries the context current when its statement ran (Line::context),
// and the default sink writes it in front of the line ("leaf1: ...").
//
//   const Kiv::Trace::Context leaf1 = Kiv::Trace::contextNamed("leaf1");
//   {
//      Kiv::Trace::ContextScope scope(leaf1);   // lines from here say "leaf1"
//      ...
//   }                                           // the previous context again
//
// A context is an interned name: contextNamed gives one pointer per name,
// valid for the life of the process, so copying and comparing one is free
// and a holder never dangles. The null context is "none". Clock reactors
// take the context current when they are made and fire in it (kiv/Clock.h),
// so deferred work keeps the context of the code that set it up.
// Single-threaded, like the rest of the framework.
#pragma once

#include <string>
#include <string_view>

namespace Kiv::Trace {

using Context = const std::string *;

// The context named `name`; null for the empty name.
Context contextNamed(std::string_view name);

inline Context currentContext_ = nullptr;

inline Context context() noexcept { return currentContext_; }
inline void contextIs(Context c) noexcept { currentContext_ = c; }

// Sets a context for its own lifetime and then restores the one before.
class ContextScope {
 public:
   explicit ContextScope(Context c) noexcept : previous_(context()) { contextIs(c); }
   ~ContextScope() { contextIs(previous_); }
   ContextScope(const ContextScope &) = delete;
   ContextScope & operator=(const ContextScope &) = delete;

 private:
   Context previous_;
};

} // namespace Kiv::Trace
