#!/usr/bin/env bash
# Configures and builds Vremo. Usage: scripts/build.sh [--sanitize]
#   (default)   release build with debug info in build/
#   --sanitize  AddressSanitizer + UndefinedBehaviorSanitizer build in build-asan/
set -euo pipefail
cd "$(dirname "$0")/.."

dir=build
flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
if [ "${1:-}" = "--sanitize" ]; then
  dir=build-asan
  flags=(-DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g" -DVREMO_SANITIZE=ON -DVREMO_BENCH=OFF)
fi

cmake -S . -B "$dir" -G Ninja "${flags[@]}" >/dev/null
ninja -C "$dir" -j "$(nproc)"
