#!/usr/bin/env bash
# Holds the guides to what is there, and their commands to being run by somebody: see guides.py.
set -euo pipefail
cd "$(dirname "$0")/../.."
exec python3 tests/e2e/guides.py "$@"
