#!/bin/bash
# The manual is true: manual.sh PROGRAM_DIRECTORY ROOT
#
# The families, functions, signatures, sentences and answers of docs/functions.md are those of `vorlix functions`, in the same
# order, and every function is called in its section with something expected. The indented examples of each chapter
# ("##") of the manual run as one script in examples/. The examples that the program prints run when they are pasted.
set -euo pipefail
export PATH=$1:$PATH LANG=C
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE
readonly PAGE=$2/docs/functions.md
readonly MANUAL=("$PAGE" "$2"/docs/{dictionary-format,formats,ini-format}.md)

# The paragraphs that the page must have: a family's title; a function's name, signature, sentence, and
# what its answers mean.
told() {
  vorlix functions | while IFS= read -r line; do
    case $line in
      '  '*) told_of "$(awk '{ print $1 }' <<<"$line")" ;;
      ?*) echo "## $line" ;;
    esac
  done
}

told_of() {
  vorlix functions "$1" | awk -v name="$1" '
    NR == 1 { sentence = substr($0, length(name) + 4) }
    /^  [A-Za-z]/ && $2 ~ /^(integer|number|text)$/ {
      if ($3 != "out") sent = sent " " $1 ":" $2
      if ($3 != "in") returned = returned " " $1 ":" $2
    }
    /^  [a-z_]+ +(-?[0-9]+|negative) +/ {
      value = $1; number = $2
      sub(/^  [^ ]+ +[^ ]+ +/, "")
      answers = answers "\n- `" value "` " number ": " $0
    }
    END { print "### " name "\n`" name sent (returned == "" ? "" : " ->" returned) "`\n" sentence answers }'
}

# The same paragraphs as the page has them.
shown() {
  awk '
    /^## / { print }
    /^### / { print; left = 2; next }
    left > 0 && NF { print; --left; next }
    /^- `/ { print }' "$PAGE"
}

# The examples of one chapter of a page, each in its line of the page, so that failures name that line.
examples() {
  awk -v title="$2" '
    /^## / { inside = $0 == title }
    { print inside && /^    / ? substr($0, 5) : "" }' "$1"
}

# Sections whose function is not called with something expected. Behind a call without results its code is, as ever.
unproven() {
  awk '
    function finish() { if (name != "" && !proven) print name " has no example" }
    /^##/ { finish(); name = "" }
    /^### / { name = $2; proven = 0; returns = 0 }
    name != "" && /^`/ { returns = returns || / -> / }
    /^    / {
      for (i = 1; i <= 2; ++i) if ($i == name && (/ => / || $1 == "each" || !returns)) proven = 1
    }
    END { finish() }' "$PAGE"
}

# Functions whose example fails, and the commands whose help has one that does.
failing_examples() {
  local name pasted
  for name in $(vorlix functions | awk '/^  / { print $1 }'); do
    pasted=$(vorlix functions "$name" | sed -n '/^Example:/,$ { s/^Example: *//; p }')
    [[ $pasted == *vorlix*"$name"* ]] && bash <<<"$pasted" >/dev/null 2>&1 || echo "the example of $name fails"
  done
  for name in $(vorlix generate commands); do
    vorlix help "$name" | sed -n 's/^Example: //p' | bash >/dev/null 2>&1 || echo "the example of the command $name fails"
  done
}

fail=0
diff --label program --label "$PAGE" -u <(told) <(shown) || fail=1
missing=$(unproven; failing_examples)
if [[ -n $missing ]]; then
  echo "$missing"
  fail=1
fi
cd "$2/examples"
for page in "${MANUAL[@]}"; do
  while IFS= read -r title; do
    if ! examples "$page" "$title" | vorlix run - >/dev/null; then
      echo "$page: $title"
      fail=1
    fi
  done < <(grep '^## ' "$page")
done
exit $fail
