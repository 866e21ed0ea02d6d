#!/usr/bin/env bash
# Judges signed files through Wine's certificate chains, with authorities and revocation lists made
# on the spot: see validity.py.
set -euo pipefail
cd "$(dirname "$0")/../.."
. tests/e2e/prefix.sh
python3 tests/e2e/validity.py "$@"
