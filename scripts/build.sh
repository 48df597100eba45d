#!/usr/bin/env bash
# Configures and builds Vremo. Usage: scripts/build.sh [--sanitize|--tsan]
#   (default)   release build with debug info in build/
#   --sanitize  AddressSanitizer + UndefinedBehaviorSanitizer build in build-asan/
#   --tsan      ThreadSanitizer build in build-tsan/: only the programs whose
#               tests run threads (sound device, command channel, player processes,
#               library scan)
set -euo pipefail
cd "$(dirname "$0")/.."

dir=build
flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
targets=()
if [ "${1:-}" = "--sanitize" ]; then
  dir=build-asan
  flags=(-DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g" -DVREMO_SANITIZE=ON -DVREMO_BENCH=OFF)
elif [ "${1:-}" = "--tsan" ]; then
  dir=build-tsan
  flags=(-DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g" -DVREMO_TSAN=ON -DVREMO_BENCH=OFF)
  targets=(display_tests shell_tests shell_window_tests library_tests)
fi

cmake -S . -B "$dir" -G Ninja "${flags[@]}" >/dev/null
ninja -C "$dir" -j "$(nproc)" "${targets[@]}"
