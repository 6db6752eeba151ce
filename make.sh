#!/bin/sh
# make, for a machine that may not have it yet: installs what the build needs, then does what make is told.
#   ./make.sh run      as 'make run'; root or sudo is needed where packages are missing
set -eu
cd "$(dirname "$0")"
tools/setup.sh make
exec make "$@"
