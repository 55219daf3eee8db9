#!/usr/bin/env bash
# Fails when a source file is not formatted as .clang-format says.
set -euo pipefail
cd "$(dirname "$0")/.."
find src engine hosts tests bench tools -name '*.h' -o -name '*.cpp' -o -name '*.c' | xargs clang-format --dry-run -Werror
