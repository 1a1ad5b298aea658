#!/usr/bin/env bash
# Installs what is missing, builds camkit and runs the command-line tool on
# its embedded default (the bundled demo camera when no board is attached).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DCAMKIT_BUILD_TESTS=OFF -DCAMKIT_BUILD_BENCH=OFF \
  -DCAMKIT_BUILD_TOOLS=ON >/dev/null
cmake --build build/release --target camkit_demo
exec build/release/tools/camkit "$@"
