#!/usr/bin/env bash
# Builds the project in build/ (as scripts/run.sh does) and runs the agent,
# mlag-config-checkd, on one of the shipped switch files, in the foreground,
# its log on standard error. Stop it with Ctrl-C.
#
#   scripts/agent.sh                    # leaf1, API on 127.0.0.1:7340
#   scripts/agent.sh leaf2 --listen-api 127.0.0.1:7341
#
# While it runs: curl -s 127.0.0.1:7340/v1/status, or
# build/tools/mlag-config-check show --from http://127.0.0.1:7340
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
switch="${1:-leaf1}"
(($# > 0)) && shift
file="$root/examples/switches/$switch.switch.json"
if [[ ! -f "$file" ]]; then
   echo "agent: no shipped switch file $file" >&2
   exit 2
fi
{
   "$root/scripts/install-deps.sh"
   "$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMLAG_WERROR=ON
} >&2
exec "$root/build/agent/mlag-config-checkd" "$file" "$@"
