#!/usr/bin/env bash
# Builds the project in build/ and runs the checker's command-line tool with
# the given arguments. Build output goes to stderr, so stdout is the tool's.
# Without arguments it shows the shipped examples/default.json, whose
# mismatches are deliberate: the tool's status 1 then counts as success.
#
#   scripts/run.sh                      # the default scenario
#   scripts/run.sh --json scenario.json # the tool's own exit status
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
{
   "$root/scripts/install-deps.sh"
   "$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMLAG_WERROR=ON
} >&2

tool="$root/build/tools/mlag-config-check"
if [[ ! -x "$tool" ]]; then
   echo "run: $tool was not built (is the tools/ target missing?)" >&2
   exit 1
fi
if (($# == 0)); then
   status=0
   "$tool" "$root/examples/default.json" || status=$?
   ((status <= 1)) || exit "$status"
   exit 0
fi
exec "$tool" "$@"
