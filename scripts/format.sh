#!/usr/bin/env bash
# Lays out every C++ file of the repository as .clang-format says, or, with
# --check, only lists the files that differ and fails when there are any.
#
#   bash scripts/format.sh            # rewrite in place
#   bash scripts/format.sh --check    # CI
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
bash scripts/install-deps.sh
mapfile -t files < <(git ls-files -- '*.h' '*.cpp')
if [[ "${1:-}" == --check ]]; then
   clang-format --dry-run --Werror "${files[@]}"
   echo "format: ${#files[@]} files as .clang-format lays them out"
else
   clang-format -i "${files[@]}"
fi
