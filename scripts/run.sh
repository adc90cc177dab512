#!/usr/bin/env bash
# Builds the project in build/ and runs the checker's command-line tool with
# the given arguments. Build output goes to stderr, so stdout is the tool's.
#
#   scripts/run.sh scenario.json
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
exec "$tool" "$@"
