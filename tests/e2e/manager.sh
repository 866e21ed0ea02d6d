#!/usr/bin/env bash
# Drives the real development manager under Wine, over loopback HTTP: see manager.py.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/e2e/prefix.sh
python3 tests/e2e/manager.py "$@"
