#!/bin/bash
# Whole-process library scans: `vremo --library-add` of a generated collection
# (tools/make_library: 2,000 song folders, 10,000 charts, written once into
# $LIBRARY_COLLECTION, default /tmp/vremo-library) into an empty library, then
# `vremo --library-scan` after 1 % of the charts changed, and once more with
# nothing changed. Each run prints its summary line, wall time, CPU time and
# peak memory, then times one --library-find. Targets on 2 cores: first scan
# under 10 s, rescan under 1 s.
# The files are in the page cache (the generator just wrote them).
# Usage: bench/library_scan.sh [BUILD_DIR] [TOUCH_PERCENT]
set -euo pipefail
build=${1:-build}
percent=${2:-1}
collection=${LIBRARY_COLLECTION:-/tmp/vremo-library}
if [ ! -d "$collection" ]; then
  "$build/tools/make_library" "$collection"
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# The score log is read from the program folder: an empty one here.
export VREMO_HOME="$work"
library="$work/library.db"
format="%e s wall, %U s user, %S s sys, %M KB peak"

run() {
  local name=$1
  shift
  local summary
  summary=$(/usr/bin/time -o "$work/time" -f "$format" "$build/app/vremo" --library "$library" "$@" 2>"$work/err")
  echo "$name: $summary; $(cat "$work/time")"
  grep -v '^scanning' "$work/err" | head -5 || true
}

run "first scan" --library-add "$collection"
"$build/tools/make_library" "$collection" --touch "$percent" >/dev/null
run "rescan, $percent % changed" --library-scan
run "rescan, nothing changed" --library-scan
# A script's search: the whole index read, one query, the paths printed.
/usr/bin/time -o "$work/time" -f "$format" "$build/app/vremo" --library "$library" --library-find kaze >"$work/found"
echo "find kaze: $(wc -l <"$work/found") paths; $(cat "$work/time")"
echo "library file: $(stat -c %s "$library") bytes"
