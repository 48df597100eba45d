#!/usr/bin/env bash
# Installs what Vremo needs, builds it and starts it on the bundled demo chart.
# Without a display it shows the same play headless: the loading report, a
# frame of the play as a picture and the whole mix as a WAV file.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  exec build/app/vremo assets/demo/demo.bms
fi
echo "No display: playing the demo headless."
build/app/vremo --info assets/demo/demo.bms
QT_QPA_PLATFORM=offscreen build/app/vremo --snapshot build/demo-frame.png --at 3456 assets/demo/demo.bms >/dev/null
SDL_AUDIODRIVER=dummy build/app/vremo --render build/demo-mix.wav assets/demo/demo.bms >/dev/null
echo "Wrote build/demo-frame.png (a frame of the play) and build/demo-mix.wav (the whole song)."
