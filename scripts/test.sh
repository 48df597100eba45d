#!/usr/bin/env bash
# Installs what Vremo needs, builds it and runs every test.
# Usage: scripts/test.sh [--sanitize]  (--sanitize: under ASan + UBSan)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh "$@"
dir=build
[ "${1:-}" = "--sanitize" ] && dir=build-asan
export QT_QPA_PLATFORM=offscreen SDL_AUDIODRIVER=dummy
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp"
cd "$dir" && ctest --output-on-failure -j "$(nproc)"
