#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: the debug build runs the whole suite,
# the sanitizer builds (ASan+UBSan, TSan) run the tests labelled "sanitize".
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
run_preset() {
    local preset=$1; shift
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset"
    ctest --preset "$preset" "$@"
}
run_preset debug
if [ "${TARPO_SKIP_SANITIZERS:-0}" != "1" ]; then
    run_preset asan-ubsan -L sanitize
    run_preset tsan -L sanitize
fi
