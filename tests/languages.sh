#!/bin/bash
# The language changes nothing that a script prints: languages.sh PROGRAM SCRIPT...
#
# Each script is played in C and then in the other languages, and prints the same, byte for byte but for the name of its
# own directory and the time of day.
set -euo pipefail
readonly VORLIX=$1
scratch=$(mktemp -d)
trap 'rm -r "$scratch"' EXIT
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE
shift

played_in() {
  LANG=$1 "$VORLIX" run "$2" 2>&1 |
    sed 's/vorlix-[[:alnum:]]\{6\}/vorlix-XXXXXX/g; s/^#* *\*\* [A-Z].* [0-9:]\{8\} [0-9]\{4\}$/** the time/'
}

ended=0
for script in "$@"; do
  played_in C "$script" >"$scratch/C"
  for language in C.UTF-8 de_DE de_DE.UTF-8 tr_TR fr_FR; do
    played_in "$language" "$script" >"$scratch/other" || ended=1
    diff --text --label "$script in C" --label "in $language" -u "$scratch/C" "$scratch/other" || ended=1
  done
done
exit $ended
