#!/usr/bin/env bash
# Installs every Debian 12 package Vremo needs to build, test and run headless,
# and to make and check its Debian package (scripts/package-test.sh);
# with VREMO_FUZZ_DEPS set also what scripts/fuzz.sh needs.
# Idempotent: does nothing (and says nothing) when all packages are present.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  qt6-base-dev libsdl2-dev libsndfile1-dev libsqlite3-dev
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  fonts-ipafont-gothic
  xvfb xauth imagemagick
  desktop-file-utils xdg-utils libfile-mimeinfo-perl shared-mime-info librsvg2-bin man-db dpkg-dev file
)
# scripts/fuzz.sh: clang and its libFuzzer runtime.
if [ -n "${VREMO_FUZZ_DEPS:-}" ]; then
  packages+=(clang-14 libclang-rt-14-dev)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
