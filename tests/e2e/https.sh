#!/usr/bin/env bash
# The Windows HTTPS client and server, under Wine, against foreign and hostile peers, with Wine's
# chain engine as the judge of servers.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/e2e/prefix.sh
export TARNWELL_TIMEOUT=120
timeout -k 5 240 python3 tests/e2e/https.py "$TARNWELL_WINEPREFIX" \
    "$root/scripts/wine-run" "$TARNWELL_BUILD/http_client.exe" -- \
    "$root/scripts/wine-run" "$TARNWELL_BUILD/https_server.exe"
