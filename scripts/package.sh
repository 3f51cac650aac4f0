#!/usr/bin/env bash
# Builds the Debian package of Tarpo Viewer from the release build: build/release/tarpo-viewer_*.deb.
# Install it with: sudo apt install ./build/release/tarpo-viewer_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target tarpo-viewer tarpo-cli SaturationHighlight tarpo_manual tarpo_packaging_files tarpo_resources
cd build/release
cpack -G DEB >/dev/null
ls -1 "$PWD"/tarpo-viewer_*.deb
