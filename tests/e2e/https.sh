#!/usr/bin/env bash
# The Windows HTTPS client and server, under Wine, against foreign and hostile peers, with Wine's
# chain engine as the judge of servers.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
TARNWELL_WINEPREFIX=$("$root/scripts/wine-prefix.sh" new)
export TARNWELL_WINEPREFIX TARNWELL_TIMEOUT=120
trap '"$root/scripts/wine-prefix.sh" drop "$TARNWELL_WINEPREFIX"' EXIT
timeout -k 5 240 python3 "$root/tests/e2e/https.py" "$TARNWELL_WINEPREFIX" \
    "$root/scripts/wine-run" "$TARNWELL_BUILD/http_client.exe" -- \
    "$root/scripts/wine-run" "$TARNWELL_BUILD/https_server.exe"
