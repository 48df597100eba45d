#!/bin/bash
# Whole-process media load: `vremo --info --media` on a chart naming 1,000
# one-second OGG keysounds (tools/make_keysounds, written once into
# $KEYSOUNDS, default /tmp/vremo-keysounds), decoded on one thread
# (LoadThreads=1) and on one thread a core (LoadThreads=0). Prints each run's
# own figure, wall time, CPU time and peak memory.
# Usage: bench/media_load.sh [BUILD_DIR] [RUNS]
set -euo pipefail
build=${1:-build}
runs=${2:-3}
folder=${KEYSOUNDS:-/tmp/vremo-keysounds}
if [ ! -f "$folder/keysounds.bms" ]; then
  "$build/tools/make_keysounds" "$folder" 1000 1 ogg
fi
export QT_QPA_PLATFORM=offscreen SDL_AUDIODRIVER=dummy
for threads in 1 0; do
  for run in $(seq "$runs"); do
    figure=$( { /usr/bin/time -f "%e s wall, %U s user, %S s sys, %M KB peak" \
      "$build/app/vremo" --info --media --option ModernReading=True --option "LoadThreads=$threads" \
      "$folder/keysounds.bms" | tail -1; } 2>&1 | tr '\n' ' ')
    echo "LoadThreads=$threads run $run: $figure"
  done
done
