#!/bin/bash
# Runs a fuzz target from its seeds and from what earlier runs found worth keeping: run.sh PROGRAM SECONDS [OPTION...]
#
# What is worth keeping goes beside the program into corpus/, an input that fails into findings/. Output of the target
# itself is not shown.
set -euo pipefail
program=$1
seconds=$2
shift 2

name=${program##*/fuzz_}
here=$(cd "$(dirname "$0")" && pwd)
work=$(cd "$(dirname "$program")" && pwd)
mkdir -p "$work/corpus/$name" "$work/findings/$name"

options=(-max_total_time="$seconds" -max_len=1024 -entropic=0 -timeout=20 -close_fd_mask=3 -print_final_stats=1
  -artifact_prefix="$work/findings/$name/")
if [[ -e $here/$name.dict ]]; then options+=(-dict="$here/$name.dict"); fi
# Files in memory are several times as fast.
TMPDIR=$(mktemp -d -p "$([[ -w /dev/shm ]] && echo /dev/shm || echo "${TMPDIR:-/tmp}")")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
export ASAN_OPTIONS=quarantine_size_mb=16:malloc_context_size=8${ASAN_OPTIONS:+:$ASAN_OPTIONS}
"$program" "${options[@]}" "$@" "$work/corpus/$name" "$here/corpus/$name"
