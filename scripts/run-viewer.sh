#!/usr/bin/env bash
# Installs what is missing, builds the release configuration and starts the viewer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target tarpo-viewer
exec ./build/release/app/tarpo-viewer "$@"
