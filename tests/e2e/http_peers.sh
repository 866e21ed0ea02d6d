#!/usr/bin/env bash
# The Windows client, under Wine, against real and hostile servers.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
export TARNWELL_TIMEOUT=120
exec timeout -k 5 240 python3 "$root/tests/e2e/http_peers.py" \
    "$root/scripts/wine-run" "$TARNWELL_BUILD/http_client.exe"
