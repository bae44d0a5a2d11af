#!/bin/bash
# What the documents show is what happens: documents.sh PROGRAM_DIRECTORY DOCUMENT...
#
# In an indented block, "$ COMMAND" is run, with its here-document when it has one; the lines from there to the next
# command, or to the end of the block, must be what it prints.
set -euo pipefail
export PATH=$1:$PATH LANG=C
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE
shift

# Prints each command of a document and then what it shows, both ended by a NUL.
commands() {
  awk '
    function finish() {
      sub(/\n+$/, "", shown)
      if (command != "") printf "%s%c%s%c", command, 0, shown, 0
      command = shown = ""
    }
    { line = substr($0, 5) }
    /^    \$ / {
      finish()
      command = substr(line, 3)
      if (match(command, /<<.[A-Z]+/)) here_end = substr(command, RSTART + 3, RLENGTH - 3)
      next
    }
    here_end != "" {
      command = command "\n" line
      if (line == here_end) here_end = ""
      next
    }
    /^[^ ]/ { finish() }
    command != "" { shown = shown (shown == "" ? "" : "\n") line }
    END { finish() }' "$1"
}

fail=0
ran=0
for document in "$@"; do
  while IFS= read -r -d '' command && IFS= read -r -d '' shown; do
    ran=$((ran + 1))
    printed=$(bash -c "$command" 2>&1 </dev/null) || true
    if [[ $printed != "$shown" ]]; then
      printf '%s: %s\n--- shown\n%s\n--- printed\n%s\n\n' "$document" "$command" "$shown" "$printed"
      fail=1
    fi
  done < <(commands "$document")
done
if ((ran == 0)); then
  echo "no commands were found"
  fail=1
fi
exit $fail
