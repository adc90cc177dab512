#!/usr/bin/env bash
# Builds the project in build/ (optimized, warnings as errors) and runs the
# whole test suite. Exits non-zero when the build or any test fails.
#
#   scripts/test.sh
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$root/scripts/install-deps.sh"
"$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMLAG_WERROR=ON
# A hung test fails on its own time limit instead of stalling the run.
ctest --test-dir "$root/build" --output-on-failure --no-tests=error --timeout 300 -j "$(nproc)"
