#!/bin/sh
# The plug-in in a real host: Debian's Ardour 7, headless. Installs the
# bundle into ~/.vst3, makes a session with the plug-in on a track, rolls
# audio through it, saves, opens the session again, saves it again, and
# checks that the plug-in's state came back byte for byte.
#
#   scripts/host-check.sh [BUNDLE]        (make host-check)
#
# Needs ardour7-lua; with HOST_CHECK_INSTALL=1 it installs Debian's ardour.
set -e
BUNDLE=${1:-build/Corvane+Time_VST.vst3}
HERE=$(cd "$(dirname "$0")" && pwd)

if ! command -v ardour7-lua > /dev/null; then
    if [ "$HOST_CHECK_INSTALL" != 1 ]; then
        echo "host-check: needs ardour7-lua (Debian's ardour package); run with HOST_CHECK_INSTALL=1 to install it" >&2
        exit 2
    fi
    SUDO=""
    [ "$(id -u)" -ne 0 ] && SUDO="sudo"
    $SUDO apt-get update -q
    DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -q --no-install-recommends ardour
fi
[ -d "$BUNDLE" ] || { echo "host-check: no bundle at $BUNDLE (make build first)" >&2; exit 2; }

# Ardour finds VST3 bundles in ~/.vst3 through its scanner's cache.
mkdir -p "$HOME/.vst3"
rm -rf "$HOME/.vst3/Corvane+Time_VST.vst3"
cp -r "$BUNDLE" "$HOME/.vst3/"
# The scanner's cache keeps whole seconds of the bundle's time: a bundle
# copied within the current second would look newer than its cache.
find "$HOME/.vst3/Corvane+Time_VST.vst3" -exec touch -d "@$(( $(date +%s) - 60 ))" {} +
LD_LIBRARY_PATH=/usr/lib/ardour7 /usr/lib/ardour7/ardour-vst3-scanner -f -q "$HOME/.vst3/Corvane+Time_VST.vst3"

WORK=$(mktemp -d)
trap 'rm -rf "$WORK"' EXIT
SESSION="$WORK/take"
HOST_CHECK_SESSION="$SESSION" HOST_CHECK_STEP=make ardour7-lua "$HERE/host-check.lua" > "$WORK/make.log" 2>&1 ||
    { cat "$WORK/make.log" >&2; echo "host-check: making the session failed" >&2; exit 1; }
grep "host-check:" "$WORK/make.log" || true
HOST_CHECK_SESSION="$SESSION" HOST_CHECK_STEP=reopen ardour7-lua "$HERE/host-check.lua" > "$WORK/reopen.log" 2>&1 ||
    { cat "$WORK/reopen.log" >&2; echo "host-check: reopening the session failed" >&2; exit 1; }

# The plug-in's state as Ardour keeps it: the base64 chunk of its processor.
state() { sed -n 's:.*<chunk>\(.*\)</chunk>.*:\1:p' "$1"; }
saved=$(state "$SESSION/take.ardour")
reopened=$(state "$SESSION/reopened.ardour")
if [ -z "$saved" ]; then
    echo "host-check: the saved session holds no state of the plug-in" >&2
    exit 1
fi
if [ "$saved" != "$reopened" ]; then
    echo "host-check: the plug-in's state changed through a save and a reopen" >&2
    exit 1
fi
echo "host-check: the plug-in's state ($(printf %s "$saved" | base64 -d | wc -c) bytes) came back byte for byte"
