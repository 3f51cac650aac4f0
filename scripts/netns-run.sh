#!/usr/bin/env bash
# Runs a command inside a private user and network namespace with only loopback up, so that
# GigE Vision traffic stays on this host and the fake camera's port 3956 is free.
set -euo pipefail
if [ "${TARPO_IN_NETNS:-}" = "1" ]; then
    ip link set lo up
    exec "$@"
fi
export TARPO_IN_NETNS=1
exec unshare -rn "$0" "$@"
