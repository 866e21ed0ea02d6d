#!/usr/bin/env bash
# Packs the built programs, with and without signatures, and installs, repairs, upgrades and removes
# them with Wine's installer service: see package.py.
#
#   TARNWELL_BUILD  the folder with the built programs (default: build/windows/bin)
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib.sh
need python3 openssl osslsigncode wixl msiinfo
export TARNWELL_BUILD=${TARNWELL_BUILD:-$PWD/build/windows/bin}
exec python3 tests/e2e/package.py "$@"
