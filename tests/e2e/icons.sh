#!/usr/bin/env bash
# Asks the registered DLL's icon and tip handlers about files of every kind, through shellprobe and
# through the system's shell: see icons.py.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/e2e/installed.sh
python3 tests/e2e/icons.py "$@"
