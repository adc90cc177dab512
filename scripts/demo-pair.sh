#!/usr/bin/env bash
# The pair for real, on this machine: two agents (mlag-config-checkd) on
# 127.0.0.1, one per switch file of the default example, joined by their
# peer link with a fresh pre-shared key. Shows leaf1's view of the pair,
# edits leaf2's file (Port-Channel20's MTU, 1500 -> 9214), shows the change
# arrive at leaf1, and stops both. Everything lives in a scratch directory
# that is removed at the end.
#
#   bash scripts/demo-pair.sh
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
{
   "$root/scripts/install-deps.sh"
   "$root/scripts/build.sh" build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMLAG_WERROR=ON
} >/dev/null
agent="$root/build/agent/mlag-config-checkd"
tool="$root/build/tools/mlag-config-check"

work="$(mktemp -d)"
pids=()
finish() {
   ((${#pids[@]} == 0)) || kill "${pids[@]}" 2>/dev/null || true
   wait 2>/dev/null || true
   rm -rf "$work"
}
trap finish EXIT

# A port in the ephemeral range with nothing listening on it.
free_port() {
   local port
   while :; do
      port=$((32768 + RANDOM % 28000))
      if ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
         echo "$port"
         return
      fi
   done
}

wait_for() { # description, command...
   local what="$1"
   shift
   for _ in $(seq 200); do
      if "$@" >/dev/null 2>&1; then return 0; fi
      sleep 0.05
   done
   echo "demo-pair: timed out waiting for $what" >&2
   cat "$work"/*.log >&2
   exit 1
}

head -c 32 /dev/urandom | od -An -tx1 | tr -d ' \n' >"$work/key"
cp "$root/examples/switches/leaf1.switch.json" "$root/examples/switches/leaf2.switch.json" "$work/"
link1=$(free_port)
link2=$(free_port)
while [[ $link2 == "$link1" ]]; do link2=$(free_port); done
start() { # switch, own link port, peer's link port
   "$agent" --listen-api 127.0.0.1:0 --port-file "$work/$1.port" \
      --listen "127.0.0.1:$2" --peer "127.0.0.1:$3" --peer-key-file "$work/key" \
      "$work/$1.switch.json" 2>"$work/$1.log" &
   pids+=($!)
}
start leaf1 "$link1" "$link2"
start leaf2 "$link2" "$link1"
wait_for "the agents' API ports" test -s "$work/leaf1.port" -a -s "$work/leaf2.port"
api="http://127.0.0.1:$(cat "$work/leaf1.port")"
# (show exits 1 while anything disagrees, which is no failure here)
connected() { { "$tool" show --from "$api" || true; } | grep -q '^peer link: leaf2, connected'; }
wait_for "the peer link" connected

echo "== leaf1 and leaf2 joined by their peer link (leaf1's view, mismatches only)"
echo "\$ mlag-config-check show --from $api --mismatches"
"$tool" show --from "$api" --mismatches || true

echo
echo "== leaf2's file: Port-Channel20's MTU 1500 -> 9214"
sed -i 's/"mtu": 1500/"mtu": 9214/' "$work/leaf2.switch.json"
arrived() { { "$tool" show --from "$api" --json || true; } | grep -A4 '"mtu mlag20"' | grep -q '"peer": "9214"'; }
wait_for "the change to reach leaf1" arrived
echo "\$ mlag-config-check show --from $api --mismatches"
"$tool" show --from "$api" --mismatches || true

echo
echo "== the agents' logs"
cat "$work/leaf1.log" "$work/leaf2.log"
