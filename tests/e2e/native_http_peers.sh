#!/usr/bin/env bash
# The native client against real and hostile servers.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
exec timeout -k 5 240 python3 "$root/tests/e2e/http_peers.py" "$TARNWELL_BUILD/http_client"
