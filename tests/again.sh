#!/bin/bash
# What `vorlix run` prints is a script that prints the same again: again.sh PROGRAM_DIRECTORY SCRIPT...
set -euo pipefail
export PATH=$1:$PATH LANG=C
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE
shift
printed=$(mktemp -d)
trap 'rm -rf "$printed"' EXIT

fail=0
for script in "$@"; do
  vorlix run "$script" >"$printed/once"
  if ! vorlix run "$printed/once" >"$printed/again" || ! diff "$printed/once" "$printed/again"; then
    echo "$script: what it prints does not run again"
    fail=1
  fi
done
exit $fail
