#!/bin/sh
# Installs the Debian packages that build and tests need, and those named. Does nothing, quickly, when all are there.
#   tools/setup.sh [PACKAGE...]
set -eu
packages="g++ cmake ninja-build ccache git nlohmann-json3-dev libfmt-dev python3 python3-dev pybind11-dev python3-numpy
python3-matplotlib libcli11-dev libgtest-dev libcpp-httplib-dev libgmock-dev libbenchmark-dev libsimdjson-dev libxxhash-dev libzip-dev zlib1g-dev graphviz librsvg2-bin $*"
missing=""
for package in $packages; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing="$missing $package"
done
[ -n "$missing" ] || exit 0
echo "installing:$missing" >&2
as_root=""
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "setup: run as root, or install sudo, to install:$missing" >&2; exit 1; }
    as_root=sudo
fi
export DEBIAN_FRONTEND=noninteractive
$as_root apt-get update -qq
# shellcheck disable=SC2086
$as_root apt-get install -y -qq --no-install-recommends $missing >&2
