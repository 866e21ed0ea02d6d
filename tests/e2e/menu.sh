#!/usr/bin/env bash
# Drives the registered DLL's context menu through shellprobe, installed in the real layout, down
# to signed files that openssl verifies: see menu.py.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/e2e/installed.sh
python3 tests/e2e/menu.py "$@"
