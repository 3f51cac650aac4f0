#pragma once

// The node debug mode: when on, the user level "Debug" exists and shows invisible features and
// the raw properties of nodes. Switched on by the environment variable TARPO_NODE_DEBUG=1,
// read once per process.
// Thread-safe.

bool isNodeDebugModeEnabled();
