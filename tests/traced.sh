#!/bin/bash
# Entry lines of the trace name what dll/base/traced.def lists: traced.sh PROGRAMS ROOT
#
# Plays all scripts with every line of the trace, and compares the operations and files of its entry lines with the rows.
set -euo pipefail
readonly vorlix=$1/vorlix root=$2

# No call comes to these lines: the first is the host's side of a transfer, the others say what earlier checks prevent.
readonly UNREACHED='CSDX_ReceiveNext VarCurrSection VarCurrValue VarRealName'

listed() {
  sed -nE 's/^TRACED\((\w+), "(.*)"\)$/\1 \2/p' "$root/dll/base/traced.def" | grep -vE "^(${UNREACHED// /|}) " | sort
}

# Scripts keep their traces on, and go on where they miss what they would have traced themselves.
traced() {
  local script
  for script in "$root"/tests/calls/*.vx "$root"/examples/*.vx; do
    (
      cd "$(dirname "$script")"
      sed -E 's/^dll_SetDebugFlags .*/dll_SetDebugFlags *3 ""/' "$script" |
        "$vorlix" --flags '*3' run --quiet --keep-going - 2>&1 >/dev/null || true
    )
  done | grep -aoE '\w+\(\): file [^,]*, line' | sed -E 's/\(\): file (.*), line/ \1/' | sort -u
}

diff <(listed) <(traced) && echo "all $(listed | wc -l) rows are traced"
