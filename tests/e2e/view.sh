#!/usr/bin/env bash
# Drives shellprobe's window with a real mouse and keyboard on a virtual screen: see view.py.
set -euo pipefail
cd "$(dirname "$0")/../.."
. scripts/lib.sh
. scripts/display.sh
trap stop_display EXIT
start_display 800 600
export TARNWELL_DISPLAY=1
. tests/e2e/installed.sh
trap 'scripts/wine-prefix.sh drop "$TARNWELL_WINEPREFIX"; stop_display' EXIT
python3 tests/e2e/view.py "$@"
