#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test: the debug build runs the whole suite;
# the sanitizer builds (ASan+UBSan, TSan) build and run the tests labelled "sanitize".
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh

cmake --preset debug >/dev/null
cmake --build --preset debug
ctest --preset debug

if [ "${TARPO_SKIP_SANITIZERS:-0}" != "1" ]; then
    for preset in asan-ubsan tsan; do
        # GigE tests run Aravis' and GLib's own threads, whose futex-based locking TSan cannot
        # see; they run under ASan+UBSan only.
        exclude=()
        [ "$preset" = tsan ] && exclude=(-LE gige)
        cmake --preset "$preset" >/dev/null
        # Only what the sanitized tests need: their own executables and what they depend on.
        mapfile -t targets < <(ctest --preset "$preset" -N -L sanitize "${exclude[@]}" | sed -n 's/^ *Test *#[0-9]*: *\(tst_[A-Za-z0-9_]*\)$/\1/p')
        cmake --build --preset "$preset" --target "${targets[@]}"
        ctest --preset "$preset" -L sanitize "${exclude[@]}"
    done
fi
