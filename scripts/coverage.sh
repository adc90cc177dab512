#!/usr/bin/env bash
# Builds with coverage (gcc --coverage, -O0), runs the whole test suite and
# prints line and branch coverage of the checker (ConfigCheck/) and of the
# framework (framework/). Fails when the checker's line coverage is under
# 95 % or its branch coverage under 85 %.
#
#   bash scripts/coverage.sh              # build-cov
#   bash scripts/coverage.sh my-build-dir
#
# Branch figures leave out the branches the compiler adds for exceptions
# (--exclude-throw-branches: every call that may throw has one, no test can
# take them all), the ones it proves unreachable
# (--exclude-unreachable-branches), and those on trace and assertion lines:
# each trace statement registers itself once through a function-local
# static, whose guard branches (another thread initialising it at the same
# time) no single-threaded test can take, and a failing assertion stops the
# process. Both ways of a trace's level test are taken by the tests all the
# same. The line figures count every line.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
dir="${1:-build-cov}"
cd "$root"

bash scripts/install-deps.sh
# Counts of an earlier build no longer match rebuilt objects; the test
# listing that runs at build time writes new ones. Neither may be counted.
if [[ -d "$dir" ]]; then find "$dir" -name '*.gcda' -delete; fi
bash scripts/build.sh "$dir" -DMLAG_COVERAGE=ON -DCMAKE_BUILD_TYPE=Debug -DMLAG_WERROR=ON
find "$dir" -name '*.gcda' -delete
log="$dir/coverage-tests.log"
if ! ctest --test-dir "$dir" --output-on-failure --no-tests=error --timeout 600 -j "$(nproc)" \
   >"$log" 2>&1; then
   tail -n 40 "$log" >&2
   echo "coverage: tests failed (whole output in $log); no figures" >&2
   exit 1
fi

# The per-file report goes next to the build (gcovr replaces its output file,
# so it must never be pointed at a device).
summary() {
   gcovr --root "$root" --object-directory "$dir" --filter "$root/$1/" \
      --exclude-throw-branches --exclude-unreachable-branches \
      --exclude-branches-by-pattern '.*(MLAG_TRACE|KIV_TRACE|KIV_ASSERT).*' --print-summary \
      --output "$dir/coverage-$1.txt" "$dir"
}

status=0
for part in ConfigCheck framework; do
   out="$(summary "$part")"
   lines="$(sed -n 's/^lines: \([0-9.]*\)%.*/\1/p' <<<"$out")"
   branches="$(sed -n 's/^branches: \([0-9.]*\)%.*/\1/p' <<<"$out")"
   printf '%-12s lines %6s %%   branches %6s %%\n' "$part/" "$lines" "$branches"
   if [[ $part == ConfigCheck ]]; then
      if ! awk -v l="$lines" -v b="$branches" 'BEGIN { exit !(l >= 95 && b >= 85) }'; then
         echo "coverage: ConfigCheck/ is under 95 % of lines or 85 % of branches" >&2
         status=1
      fi
   fi
done
tests="$(grep -E '^[0-9]+% tests passed' "$log" || true)"
if ((status == 0)); then
   echo "coverage: ${tests:-tests passed}; ConfigCheck/ meets 95 % of lines and 85 % of branches"
fi
exit $status
