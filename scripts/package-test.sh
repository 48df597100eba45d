#!/usr/bin/env bash
# Checks Vremo as a Linux desktop sees it: the desktop entry, the manual page
# and the MIME association in a scratch prefix and home; then builds the
# Debian package from build/, installs it, runs the installed program as a
# plain user with an empty home, and removes it again, checking that nothing
# of it is left. Needs root for dpkg (sudo otherwise). Reuses build/: run
# after scripts/test.sh (or scripts/build.sh), no second full build.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
bash scripts/build.sh

SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
USER_NAME=vremo-pkg-test
DEMO=/usr/share/vremo/demo/demo.bms
DEMO_TITLE="* title:Vremo Demo - Paper Lanterns"
scratch=$(mktemp -d)
made_user=""
cleanup() {
  $SUDO rm -rf "$scratch"
  [ -n "$made_user" ] && $SUDO userdel "$USER_NAME" 2>/dev/null
  return 0
}
trap cleanup EXIT
fail() {
  echo "package-test: $*" >&2
  exit 1
}
step() { echo "== $*"; }

step "desktop entry and manual page"
desktop-file-validate packaging/vremo.desktop || fail "desktop-file-validate found problems"
warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l packaging/vremo.1 2>&1 >/dev/null)
[ -z "$warnings" ] || fail "man --warnings: $warnings"

step "install into a scratch prefix; MIME types and their handler"
prefix=$scratch/prefix
cmake --install build --prefix "$prefix" >/dev/null
XDG_DATA_DIRS="$prefix/share" update-mime-database "$prefix/share/mime"
update-desktop-database "$prefix/share/applications"
mkdir -p "$scratch/home" "$scratch/files"
printf '#TITLE x\r\n' >"$scratch/files/song.bme"
printf 'Vremo Play List\0\0\0\0\0\377\377\377\377' >"$scratch/files/list.dat"
xdg() {
  env -i PATH=/usr/bin:/bin HOME="$scratch/home" XDG_DATA_HOME="$scratch/home/.local/share" \
    XDG_CONFIG_HOME="$scratch/home/.config" XDG_DATA_DIRS="$prefix/share" XDG_CONFIG_DIRS="$scratch/etc" \
    xdg-mime "$@"
}
[ "$(xdg query filetype "$scratch/files/song.bme")" = "text/x-bms" ] || fail "song.bme is not text/x-bms"
[ "$(xdg query filetype "$scratch/files/list.dat")" = "application/x-vremo-playlist" ] ||
  fail "a list without its extension is not recognised by its signature"
for type in text/x-bms application/x-vremo-playlist application/x-vremo-record; do
  [ "$(xdg query default "$type")" = "vremo.desktop" ] || fail "vremo.desktop does not handle $type"
done

step "relocated prefix finds its assets"
mv "$prefix" "$scratch/moved"
out=$(env -i PATH=/usr/bin:/bin HOME="$scratch/home" QT_QPA_PLATFORM=offscreen \
  "$scratch/moved/bin/vremo" --snapshot "$scratch/frame.png" --at 768 "$scratch/moved/share/vremo/demo/demo.bms")
grep -q "loadrect complete." <<<"$out" || fail "the relocated vremo did not load its default layout"

step "build the Debian package"
rm -rf build/packages
(cd build && cpack -G DEB >/dev/null)
deb=$(ls build/packages/vremo_*.deb)
dpkg-deb -f "$deb" Depends | grep -q libqt6widgets6 || fail "computed dependencies are missing"
dpkg-query -W -f='${Status}' vremo 2>/dev/null | grep -q "installed" && $SUDO dpkg --purge vremo >/dev/null

step "install $(basename "$deb")"
if ! $SUDO dpkg -i "$deb" >/dev/null; then
  $SUDO apt-get -f install -y -qq >/dev/null
fi
dpkg-query -W -f='${Status}' vremo | grep -q "install ok installed" || fail "vremo is not installed"
dpkg -L vremo >"$scratch/files.txt"
[ "$(command -v vremo)" = /usr/bin/vremo ] || fail "vremo is not on the PATH"
[ -e /usr/share/mime/text/x-bms.xml ] || fail "the MIME cache was not refreshed"
grep -q "text/x-bms=.*vremo.desktop" /usr/share/applications/mimeinfo.cache ||
  fail "the desktop database was not refreshed"

step "run the installed vremo as a plain user with an empty home"
if ! id -u "$USER_NAME" >/dev/null 2>&1; then
  $SUDO useradd --system --no-create-home --shell /usr/sbin/nologin "$USER_NAME"
  made_user=1
fi
home=$scratch/user-home
mkdir -p "$home"
: >"$home/keys.txt"
$SUDO chown -R "$USER_NAME:" "$home"
chmod 755 "$scratch"
stamp=$scratch/stamp
touch "$stamp"
as_user() {
  $SUDO runuser -u "$USER_NAME" -- env -i PATH=/usr/bin:/bin HOME="$home" QT_QPA_PLATFORM=offscreen \
    SDL_AUDIODRIVER=dummy "$@"
}
as_user vremo --info "$DEMO" | grep -qF "$DEMO_TITLE" || fail "vremo --info did not print the demo's title"
as_user vremo --render "$home/demo.wav" "$DEMO" >/dev/null || fail "vremo --render failed"
[ "$(head -c 4 "$home/demo.wav")" = RIFF ] && [ "$(stat -c %s "$home/demo.wav")" -gt 1000000 ] ||
  fail "vremo --render wrote no mix"
as_user vremo --render "$home/user.wav" --option UserPlay=True --input "$home/keys.txt" "$DEMO" >/dev/null
[ -s "$home/.local/share/vremo/vremoscore.txt" ] || fail "the score log is not in ~/.local/share/vremo"
# Run by root, too, an installed vremo keeps its files out of /usr.
env -i PATH=/usr/bin:/bin HOME="$scratch/root-home" SDL_AUDIODRIVER=dummy \
  vremo --render "$scratch/root.wav" --option UserPlay=True --input "$home/keys.txt" "$DEMO" >/dev/null
[ -s "$scratch/root-home/.local/share/vremo/vremoscore.txt" ] || fail "root's score log is not in its home"
[ -z "$(find /usr/bin /usr/share/vremo -newer "$stamp" -type f)" ] || fail "vremo wrote under /usr"

step "remove the package"
$SUDO dpkg --purge vremo >/dev/null
! dpkg-query -W -f='${Status}' vremo 2>/dev/null | grep -q "ok installed" || fail "vremo is still installed"
while read -r path; do
  if [ ! -d "$path" ] && [ -e "$path" ]; then fail "$path is left after removal"; fi
done <"$scratch/files.txt"
[ ! -e /usr/share/vremo ] || fail "/usr/share/vremo is left after removal"
[ ! -e /usr/share/mime/text/x-bms.xml ] || fail "text/x-bms is still in the MIME cache"
! grep -q "vremo.desktop" /usr/share/applications/mimeinfo.cache 2>/dev/null || fail "the desktop database still names vremo"
echo "package-test: all checks passed"
