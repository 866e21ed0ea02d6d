#!/usr/bin/env bash
# Registers and unregisters the DLL with Wine's regsvr32 and compares the registry's classes
# before and after: see registration.py.
#
#   TARNWELL_BUILD  the folder with Tarnwell.dll (default: build/windows/bin)
set -euo pipefail
cd "$(dirname "$0")/../.."
export TARNWELL_BUILD=${TARNWELL_BUILD:-$PWD/build/windows/bin}
if [[ ! -f $TARNWELL_BUILD/Tarnwell.dll ]]; then
    echo "There is no Tarnwell.dll in $TARNWELL_BUILD: build it first, or set TARNWELL_BUILD." >&2
    exit 2
fi
exec python3 tests/e2e/registration.py "$@"
