#!/usr/bin/env bash
# Runs a GigE Vision test inside a private network namespace that holds only loopback, so that
# discovery broadcasts and stream packets never leave this machine. Test listing runs as is.
# Exit code 77 (a skip for CTest) when no such namespace can be made; never falls back to the
# host's network.
set -u
for arg in "$@"; do
    [[ "$arg" == --gtest_list_tests ]] && exec "$@"
done
if [[ "${LUMO_GEV_NETNS:-}" == 1 ]]; then
    exec "$@"
fi
if ! command -v unshare >/dev/null || ! command -v ip >/dev/null; then
    echo "SKIP: unshare or ip is missing, cannot make a private network namespace"
    exit 77
fi
if ! unshare -n true 2>/dev/null; then
    echo "SKIP: cannot create a private network namespace here (needs root or user namespaces)"
    exit 77
fi
if ! command -v arv-fake-gv-camera-0.8 >/dev/null; then
    echo "SKIP: arv-fake-gv-camera-0.8 is missing (Debian package aravis-tools)"
    exit 77
fi
exec unshare -n bash -c '
    ip link set lo up || { echo "SKIP: cannot bring up loopback in the namespace"; exit 77; }
    others=$(ip -o link show | awk -F": " "{print \$2}" | grep -vx lo)
    if [[ -n "$others" ]]; then
        echo "SKIP: the namespace holds more than loopback: $others"
        exit 77
    fi
    export LUMO_GEV_NETNS=1
    exec "$@"' netns "$@"
