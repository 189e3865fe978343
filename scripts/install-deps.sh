#!/bin/sh
# Installs the Debian packages the build needs, only those that are missing.
# Usage: scripts/install-deps.sh [extra-package ...]
set -eu
# The Python module: headers, pybind11, and what its tests and packaging use.
python="python3 python3-dev pybind11-dev python3-numpy python3-pandas python3-pytest python3-setuptools python3-wheel python3-pip python3-venv"
packages="cmake make g++ libgtest-dev libgmock-dev libbenchmark-dev rapidjson-dev libsimdjson-dev libutf8proc-dev $python $*"
missing=""
for p in $packages; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing="$missing $p"
done
[ -z "$missing" ] && exit 0
echo "Installing:$missing" >&2
if [ "$(id -u)" -eq 0 ]; then sudo=""; else sudo="sudo"; fi
$sudo apt-get update -qq >&2 || true
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq $missing >&2
