#!/usr/bin/env bash
# Installs what Vremo needs, builds it and starts it on the bundled demo chart.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh
exec build/app/vremo --info assets/demo/demo.bms
