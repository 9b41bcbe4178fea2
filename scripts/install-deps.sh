#!/bin/sh
# Installs the Debian packages the build, the tools and the tests need.
# Does nothing when every package is already present. With the argument
# "fuzz" it also installs clang and its fuzzer runtime, for `make fuzz`.
set -e

PACKAGES="
cmake
ninja-build
g++
pkg-config
make
juce-modules-source-data
libcairo2-dev
libfontconfig-dev
libsndfile1-dev
libx11-dev
libxcursor-dev
libxtst-dev
libexpat1-dev
libgtest-dev
libgmock-dev
libbenchmark-dev
xvfb
xauth
fonts-dejavu-core
"
if [ "$1" = "fuzz" ]; then
    PACKAGES="$PACKAGES clang libclang-rt-14-dev"
fi

missing=""
for p in $PACKAGES; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing="$missing $p"
    fi
done

if [ -z "$missing" ]; then
    exit 0
fi

echo "install-deps: installing$missing"
SUDO=""
if [ "$(id -u)" -ne 0 ]; then
    SUDO="sudo"
fi
$SUDO apt-get update -q
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -q --no-install-recommends $missing
