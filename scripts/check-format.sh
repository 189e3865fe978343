#!/bin/sh
# Fails when a tracked C++ file differs from what .clang-format makes of it.
# Fix with: git ls-files '*.cpp' '*.h' | xargs clang-format -i
set -eu
cd "$(dirname "$0")/.."
git ls-files '*.cpp' '*.h' | grep -v '^tests/data/' | xargs clang-format --dry-run --Werror
