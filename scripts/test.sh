#!/usr/bin/env bash
# Builds for development and runs every test. Arguments go to ctest: scripts/test.sh -R NelderMead
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

set_up test

cmake --preset development -D ZEIBREKU_WITH_PYTHON=ON
cmake --build --preset development
ctest --preset development --output-on-failure "$@"
