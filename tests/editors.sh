#!/bin/bash
# Neovim with the setup of docs/editors.md, over copies of the examples: editors.sh PROGRAM_DIRECTORY ROOT
set -euo pipefail
if ! command -v nvim >/dev/null; then
  echo "neovim is not installed"
  exit 77
fi
export PATH=$1:$PATH LANG=C.UTF-8
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export HOME=$work
sed -n '/^```lua$/,/^```$/p' "$2/docs/editors.md" | sed '/^```/d' >"$work/init.lua"
cp "$2"/examples/dict/* "$work"
cd "$work"
nvim --headless -u init.lua -i NONE -n -S "$2/tests/editors.lua"
