#!/usr/bin/env python3
"""Compares `vremo --timeline --option ModernReading=True` with bms-js.

bms-js (the `bms` package on npm) is a BMS parsing library with its own
reader, compiler and timing. Install it outside the repository, e.g.

    mkdir -p /tmp/bmsref && cd /tmp/bmsref && npm install bms@51

then run

    tools/compare_timeline.py --bms-js /tmp/bmsref/node_modules \
        --vremo build/app/vremo [--generated] CHART...

For every chart both timelines are matched object by object (same channel
and value, in time order) and the largest time difference is printed; a
chart passes when every object is found on both sides within 1 ms.
--generated adds charts made here with tempo changes (channels 03 and 08,
fractional tempos), stops, measure lengths and long notes (51-69, #LNOBJ).
Charts with #RANDOM blocks are left out: the two readers draw differently.
"""

import argparse
import collections
import json
import os
import subprocess
import sys
import tempfile

TOLERANCE_MS = 1.0
TIMELINE_CHANNELS = {"01", "03"} | {f"{g}{d}" for g in "1256DE" for d in "123456789"}

NODE_SCRIPT = r"""
const bms = require('bms');
const fs = require('fs');
const buffer = fs.readFileSync(process.argv[1]);
const text = bms.Reader.read(buffer);
const chart = bms.Compiler.compile(text, { rng: () => 1 }).chart;
const timing = bms.Timing.fromBMSChart(chart);
const out = chart.objects.all().map((o) => [
  timing.beatToSeconds(chart.measureToBeat(o.measure, o.fraction)) * 1000,
  o.channel.toUpperCase(), o.value.toUpperCase()]);
process.stdout.write(JSON.stringify(out));
"""


def reference_timeline(node_modules, chart):
    env = dict(os.environ, NODE_PATH=node_modules)
    result = subprocess.run(["node", "-e", NODE_SCRIPT, chart], env=env, capture_output=True, text=True, check=True)
    return [(ms, ch, value) for ms, ch, value in json.loads(result.stdout) if ch in TIMELINE_CHANNELS]


def vremo_timeline(vremo, chart):
    result = subprocess.run([vremo, "--timeline", "--option", "ModernReading=True", "--seed", "1", chart],
                            capture_output=True, text=True)
    lines = [line.split("\t") for line in result.stdout.splitlines()]
    return [(float(ms), ch, value) for ms, ch, value in lines]


def compare(ours, theirs):
    """Largest difference and the number of objects without a partner."""
    def grouped(entries):
        groups = collections.defaultdict(list)
        for ms, ch, value in entries:
            groups[(ch, value)].append(ms)
        return {key: sorted(times) for key, times in groups.items()}

    a, b = grouped(ours), grouped(theirs)
    worst, unmatched = 0.0, 0
    for key in set(a) | set(b):
        ta, tb = a.get(key, []), b.get(key, [])
        unmatched += abs(len(ta) - len(tb))
        for x, y in zip(ta, tb):
            worst = max(worst, abs(x - y))
    return worst, unmatched


def generated_charts(folder):
    """Charts with tempo changes, stops, measure lengths and long notes."""
    charts = {}
    head = "#PLAYER 1\r\n#TITLE gen\r\n#WAV01 a.wav\r\n#WAV0Z b.wav\r\n#LNOBJ ZZ\r\n"
    charts["stops_and_tempos.bms"] = head + "\r\n".join([
        "#BPM 133.7", "#BPM01 87.25", "#BPM0A 245.5", "#STOP01 96", "#STOP02 13.5", "#STOPZZ 300",
        "#00111:0101010101010101", "#00108:0001000A", "#00109:01000200",
        "#00203:B4", "#00211:01000000000000000000000000000001", "#00209:00000000000000ZZ",
        "#00302:0.75", "#00311:010101", "#00312:0Z0Z0Z0Z0Z", "#00308:000A000001",
        "#00402:1.3", "#00403:3C", "#00409:02", "#00415:01010101010101",
        "#00511:01", "#00551:0101", "#00661:01000001", "#00616:010000ZZ", "#00701:01"]) + "\r\n"
    lines = [head + "#BPM 150"]
    for measure in range(1, 120):
        lines.append(f"#{measure:03d}11:" + "01" * (measure % 7 + 1))
        lines.append(f"#{measure:03d}13:" + "0001" * (measure % 5 + 1))
        if measure % 9 == 0:
            lines.append(f"#{measure:03d}02:{0.5 + (measure % 4) * 0.25}")
        if measure % 6 == 0:
            lines.append(f"#{measure:03d}03:{60 + measure:02X}")
        if measure % 10 == 0:
            lines.append(f"#{measure:03d}08:00000A")
        if measure % 4 == 0:
            lines.append(f"#{measure:03d}09:0100000002")
        if measure % 3 == 0:
            lines.append(f"#{measure:03d}5{measure % 9 + 1}:01000001")
    lines += ["#BPM0A 171.43", "#STOP01 48", "#STOP02 7"]
    charts["long_generated.bme"] = "\r\n".join(lines) + "\r\n"
    paths = []
    for name, text in charts.items():
        path = os.path.join(folder, name)
        with open(path, "w", newline="") as f:
            f.write(text)
        paths.append(path)
    return paths


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bms-js", required=True, help="node_modules folder holding the bms package")
    parser.add_argument("--vremo", default="build/app/vremo")
    parser.add_argument("--generated", action="store_true")
    parser.add_argument("charts", nargs="*")
    args = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        charts = list(args.charts) + (generated_charts(folder) if args.generated else [])
        failed = 0
        for chart in charts:
            with open(chart, "rb") as f:
                if b"#RANDOM" in f.read().upper():
                    print(f"skipped (random blocks)  {chart}")
                    continue
            ours = vremo_timeline(args.vremo, chart)
            theirs = reference_timeline(args.bms_js, chart)
            worst, unmatched = compare(ours, theirs)
            ok = unmatched == 0 and worst <= TOLERANCE_MS
            failed += 0 if ok else 1
            print(f"{'ok  ' if ok else 'FAIL'} {len(ours):6d} objects  max diff {worst:.6f} ms  "
                  f"unmatched {unmatched}  {os.path.basename(chart)}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
