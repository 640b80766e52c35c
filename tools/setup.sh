#!/bin/bash
# Installs what building and testing need (Debian 12, as root), only what is
# missing, then configures and builds the tree in ./build.
set -euo pipefail
cd "$(dirname "$0")/.."

PACKAGES=(g++-mingw-w64-x86-64-posix mingw-w64-tools wine64 wine xvfb xauth cmake googletest fonts-wine
          xdotool imagemagick x11-utils fp-utils wixl wixl-data msitools python3-fusepy fuse3)
missing=()
for p in "${PACKAGES[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

BUILD_DIR=${BUILD_DIR:-build}
cmake -S . -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$BUILD_DIR" -j"$(nproc)"
