#!/usr/bin/env bash
# Asks shellprobe's doctor about a sound installation and about broken ones: see doctor.py.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/e2e/installed.sh
python3 tests/e2e/doctor.py "$@"
