#!/usr/bin/env bash
# The corpus's expected answers against the Windows p7tool.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
exec "$root/scripts/check-corpus" "$root/tests/data/corpus" --tool "$TARNWELL_BUILD/p7tool.exe"
