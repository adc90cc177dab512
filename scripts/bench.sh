#!/usr/bin/env bash
# Builds the benchmark suite (Release) and runs it; extra arguments go to the
# benchmark binary. The README's performance table comes from this command:
# five repetitions of each benchmark, run in random interleaved order so that
# a slow spell of a shared machine falls on all sizes alike instead of on the
# one that happened to be running, reported as medians.
#
#   scripts/bench.sh
#   scripts/bench.sh --benchmark_filter=PairStart
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" build-bench -DCMAKE_BUILD_TYPE=Release -DMLAG_BUILD_BENCH=ON \
   -DMLAG_BUILD_TESTS=OFF -DMLAG_WERROR=ON >&2
"$root/build-bench/bench/mlag-config-check-bench" --benchmark_min_time=0.5 \
   --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true \
   --benchmark_report_aggregates_only=true "$@"
