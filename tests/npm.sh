#!/bin/bash
# Prints the path of a file of an npm package, which is fetched once; nothing where that cannot be done:
# npm.sh PROGRAM_DIRECTORY PACKAGE@VERSION FILE
set -euo pipefail
readonly FILE=$1/npm/node_modules/${2%@*}/$3
if [[ ! -e $FILE ]] && command -v npm >/dev/null; then
  timeout 60 npm install --fetch-timeout=20000 --fetch-retries=1 --silent --no-audit --no-fund --ignore-scripts --prefix "$1/npm" "$2" >/dev/null 2>&1 || true
fi
if [[ -e $FILE ]]; then echo "$FILE"; fi
