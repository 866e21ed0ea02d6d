#!/usr/bin/env bash
# The native HTTPS client and server against foreign and hostile peers.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
exec timeout -k 5 240 python3 "$root/tests/e2e/https.py" "" \
    "$TARNWELL_BUILD/http_client" -- "$TARNWELL_BUILD/https_server"
