#!/usr/bin/env bash
# Configures (when needed) and builds one build directory with Ninja on all
# cores. Extra arguments go to the configure step; a directory configured
# before keeps its generator and gets the new arguments.
#
#   scripts/build.sh build -DMLAG_WERROR=ON
#   scripts/build.sh build-asan -DSANITIZE=ON -DCMAKE_BUILD_TYPE=Debug
set -euo pipefail

if (($# < 1)); then
   echo "usage: $0 BUILD_DIR [CMAKE_ARGS...]" >&2
   exit 2
fi
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
dir="$1"
shift
[[ "$dir" = /* ]] || dir="$root/$dir"

generator=()
[[ -f "$dir/CMakeCache.txt" ]] || generator=(-G Ninja)
cmake -S "$root" -B "$dir" "${generator[@]}" "$@"
cmake --build "$dir" -j "$(nproc)"
