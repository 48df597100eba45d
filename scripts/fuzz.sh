#!/usr/bin/env bash
# Builds the libFuzzer targets in build-fuzz/ (clang, ASan + UBSan), writes
# their seed inputs and runs each for a bounded time.
# Usage: scripts/fuzz.sh [SECONDS]   (default 30 a target)
# Exits non-zero when a target fails; its crash input lands in build-fuzz/crashes/.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-30}"
dir=build-fuzz
targets=(bms_chart chart_header layout settings key_map list_file record_file
         command_line command_channel key_script picture sound chart_facts score_import)
declare -A dictionaries=([bms_chart]=bms [chart_header]=bms [chart_facts]=bms [layout]=layout [settings]=settings
                         [command_line]=command [command_channel]=command [key_script]=key_script)

VREMO_FUZZ_DEPS=1 bash scripts/install-deps.sh
export QT_QPA_PLATFORM=offscreen SDL_AUDIODRIVER=dummy

cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++-14 -DVREMO_FUZZ=ON -DVREMO_BENCH=OFF >/dev/null
ninja -C "$dir" -j "$(nproc)" fuzz_targets

rm -rf "$dir/seeds"
"$dir/tools/make_fuzz_seeds" "$dir/seeds"
mkdir -p "$dir/crashes"

failed=()
for t in "${targets[@]}"; do
  corpus="$dir/corpus/$t"
  mkdir -p "$corpus"
  args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
        -artifact_prefix="$dir/crashes/$t-")
  [ -n "${dictionaries[$t]:-}" ] && args+=(-dict="fuzz/${dictionaries[$t]}.dict")
  echo "== $t (${seconds} s)"
  if ! "$dir/fuzz/${t}_fuzz" "${args[@]}" "$corpus" "$dir/seeds/$t" >"$dir/$t.log" 2>&1; then
    failed+=("$t")
    tail -n 40 "$dir/$t.log"
  fi
  grep -E "^stat::number_of_executed_units" "$dir/$t.log" || true
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzz targets failed: ${failed[*]} (inputs in $dir/crashes/)" >&2
  exit 1
fi
echo "all ${#targets[@]} fuzz targets ran ${seconds} s without a failure"
