#!/usr/bin/env bash
# Installs the Debian packages the build needs, when they are missing.
set -euo pipefail
packages=(build-essential cmake ninja-build pkg-config libusb-1.0-0-dev umockdev libumockdev-dev libexpat1-dev libpng-dev libtiff-dev libjpeg-dev zlib1g-dev
          libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev help2man
          pybind11-dev python3-dev python3-numpy python3-pytest
          libavformat-dev libavcodec-dev libswscale-dev libavutil-dev)
if [[ "${1:-}" == "--dev" ]]; then
  packages+=(clang libclang-rt-14-dev gcovr)
fi
missing=()
for p in "${packages[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  if [[ $(id -u) -ne 0 ]]; then
    echo "Not root: install them with 'apt-get install ${missing[*]}' and run this again." >&2
    exit 1
  fi
  apt-get update -qq
  DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
