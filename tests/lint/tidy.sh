#!/bin/bash
# Every source of the product passes the checks of .clang-tidy: tidy.sh ROOT CLANG_TIDY BUILD
set -euo pipefail
cd "$1"
clang_tidy=$2
build=$3

rooms=()
for room in hostif dll host tools; do
  if compgen -G "$room/*.cpp" >/dev/null || compgen -G "$room/*/*.cpp" >/dev/null; then rooms+=("$room"); fi
done
# The compiler's own warnings are the build's business (-w), and so is an option that only the compiler knows.
find "${rooms[@]}" -name '*.cpp' -print0 |
  xargs -0 -n 1 -P "$(nproc)" "$clang_tidy" -p "$build" --quiet --extra-arg=-w 2>&1 |
  { grep -vE '^[0-9]+ warnings? (and [0-9]+ errors? )?generated\.$' || true; }
