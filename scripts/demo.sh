#!/usr/bin/env bash
# Installs what is missing, builds camkit and runs the command-line tool on
# its embedded default (the bundled demo camera when no board is attached).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=Release -DCAMKIT_BUILD_TESTS=OFF -DCAMKIT_BUILD_BENCH=OFF >/dev/null
cmake --build build --target camkit_cli
exec build/tools/camkit "$@"
