#!/usr/bin/env bash
# Installs every Debian package the build, the tests, the benchmarks, the
# fuzzers and the coverage report use. Quick and silent when all of them are
# present; otherwise needs root (apt-get).
#
#   sudo scripts/install-deps.sh     # fresh machine
#   scripts/install-deps.sh          # anyone, once everything is installed
set -euo pipefail

packages=(
   cmake
   ninja-build
   g++
   libgtest-dev
   libgmock-dev
   libbenchmark-dev
   nlohmann-json3-dev
   libcli11-dev
   # The agent's event loop and HTTP (Boost.Asio, Boost.Beast; header-only).
   libboost-dev
   libssl-dev
   clang
   clang-format
   # libFuzzer and clang's sanitizer runtimes; only recommended by clang.
   libclang-rt-14-dev
   gcovr
)

installed() {
   [[ "$(dpkg-query -W -f='${Status}' "$1" 2>/dev/null)" == "install ok installed" ]]
}

missing=()
for p in "${packages[@]}"; do
   installed "$p" || missing+=("$p")
done
if ((${#missing[@]} == 0)); then
   exit 0
fi

if [[ "$(id -u)" != 0 ]]; then
   echo "install-deps: missing packages: ${missing[*]}" >&2
   echo "install-deps: run this script as root (sudo $0) to install them" >&2
   exit 1
fi

echo "install-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update
apt-get install -y --no-install-recommends "${missing[@]}"
