// The suite's entry point: Google Benchmark's own, run on a heap that keeps
// what it frees.
//
// By default glibc maps blocks above a threshold afresh and hands the top of
// the heap back to the system, with thresholds it adapts from earlier frees.
// Repeating a start then pays page faults at some sizes and not at others:
// a 4096-interface start gives its largest blocks and the top of its heap
// back on every repetition and faults them in again, a 1024-interface start
// only at its first, and what ran before shifts the thresholds again. A
// running agent keeps its heap, so the suite does too, and its figures are
// the checker's work rather than the kernel's page zeroing.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <malloc.h>

namespace {

// glibc's ceiling for the mapping threshold on 64-bit systems.
constexpr int largestMappingThreshold = 32 * 1024 * 1024;
constexpr int neverTrim = 1024 * 1024 * 1024;

} // namespace

int main(int argc, char ** argv) {
   if (mallopt(M_MMAP_THRESHOLD, largestMappingThreshold) != 1 ||
       mallopt(M_TRIM_THRESHOLD, neverTrim) != 1) {
      std::fprintf(stderr, "mlag-config-check-bench: cannot set the heap policy\n");
      return 1;
   }
   benchmark::Initialize(&argc, argv);
   if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
   benchmark::RunSpecifiedBenchmarks();
   benchmark::Shutdown();
   return 0;
}
