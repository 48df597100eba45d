#!/usr/bin/env bash
# Installs what Vremo needs, builds it and runs every test.
# Usage: scripts/test.sh [--sanitize|--tsan]
#   --sanitize  every test under ASan + UBSan
#   --tsan      the tests that run threads under ThreadSanitizer
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh "$@"
export QT_QPA_PLATFORM=offscreen SDL_AUDIODRIVER=dummy
if [ "${1:-}" = "--tsan" ]; then
  # The sound device's audio thread against the UI thread, the load's decoder
  # threads, the command channel's sockets, and the real player run as
  # processes beside the test.
  export TSAN_OPTIONS="halt_on_error=1 second_deadlock_stack=1 suppressions=$PWD/tests/tsan.supp"
  cd build-tsan/tests
  display/display_tests --gtest_filter='AudioDevice*:Mixer*:SoundBank*:MediaPrefetch*'
  shell/shell_window_tests --gtest_filter='CommandChannel*:Instance*'
  # The library scan's chart readers and writer against a reading connection.
  library/library_tests --gtest_filter='LibraryScan.ReaderSees*:LibraryScan.Stopped*'
  # (The first process test's client waits only briefly for a load's notice,
  # which this slower build can miss.)
  shell/shell_tests --gtest_filter='PlayerProcess*:PlayerFaults*:PlayerLoading*:-PlayerProcess.ChannelLoadsSeeksHandsOverAndQuits'
  exit 0
fi
dir=build
[ "${1:-}" = "--sanitize" ] && dir=build-asan
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp"
cd "$dir" && ctest --output-on-failure -j "$(nproc)"
