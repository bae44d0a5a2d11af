#!/bin/bash
# Every source is laid out as .clang-format says: format.sh ROOT CLANG_FORMAT
set -euo pipefail
cd "$1"
clang_format=$2

rooms=()
for room in hostif dll host tools tests fuzz bench examples; do
  if [[ -d $room ]]; then rooms+=("$room"); fi
done
find "${rooms[@]}" -name '*.h' -o -name '*.cpp' | xargs "$clang_format" --dry-run --Werror
