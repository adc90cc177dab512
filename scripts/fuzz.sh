#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (every library instrumented) and
# runs each for a while on a scratch copy of its seed corpus, so the corpus in
# the repository only changes when someone copies findings back on purpose.
# Exits non-zero on the first finding; the crashing input is left in
# build-fuzz/findings/<target>/.
#
#   bash scripts/fuzz.sh            # every target, 20 s each
#   bash scripts/fuzz.sh 300        # every target, 5 minutes each
#   bash scripts/fuzz.sh 60 ScenarioFuzz
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
seconds=${1:-20}
shift || true
targets=("$@")
if ((${#targets[@]} == 0)); then
   targets=(IntfIdFuzz SmCodefKeyFuzz ScenarioFuzz PairFuzz PeerProtocolFuzz)
fi

bash scripts/install-deps.sh
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
   -DMLAG_BUILD_FUZZ=ON -DMLAG_BUILD_TESTS=OFF -DMLAG_WERROR=ON >/dev/null
cmake --build build-fuzz -j "$(nproc)" --target "${targets[@]}"

declare -A corpus=([IntfIdFuzz]=intfid [SmCodefKeyFuzz]=smcodefkey [ScenarioFuzz]=scenario
   [PairFuzz]=pair [PeerProtocolFuzz]=peer)
for target in "${targets[@]}"; do
   work=build-fuzz/corpus/$target
   findings=build-fuzz/findings/$target
   rm -rf "$work"
   mkdir -p "$work" "$findings"
   cp fuzz/corpus/"${corpus[$target]}"/* "$work"/
   echo "== $target: ${seconds} s"
   options=(-max_total_time="$seconds" -artifact_prefix="$findings/" -print_final_stats=1)
   dict=fuzz/${corpus[$target]}.dict
   if [[ -f $dict ]]; then options+=(-dict="$dict"); fi
   ASAN_OPTIONS=detect_leaks=1 "build-fuzz/fuzz/$target" "${options[@]}" "$work" 2>&1 | tail -n 6
done
