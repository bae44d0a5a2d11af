#!/bin/bash
# Forms are drawn as they stand in tests/preview: preview.sh PROGRAM_DIRECTORY ROOT [--write]
#
# With --write the files are written anew.
set -euo pipefail
export PATH=$1:$PATH LANG=C
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE
cd "$2/tests/preview"
readonly WRITE=${3:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo '2024-02-29 23:59:30' >"$work/clock"
export VORLIX_CLOCK=$work/clock
fail=0

same() {  # FILE COMMAND...
  if "${@:2}" >"$work/drawn" 2>&1; then code=0; else code=$?; fi
  echo "exit status $code" >>"$work/drawn"
  if [[ $WRITE == --write ]]; then cp "$work/drawn" "$1"; fi
  diff -u "$1" "$work/drawn" || fail=1
}

# What a page has between its head and its end.
page() {
  vorlix preview --html "$work/page.html" "$@"
  sed -n '/<main>/,/<\/main>/p' "$work/page.html"
  grep -Eo '(src|href|on[a-z]+)=|<script|url\(|@import' "$work/page.html" || true
}

# A terminal of so many columns.
narrow() { script -qec "stty cols $1; vorlix --color never preview ${*:2}" /dev/null | tr -d '\r'; }

same kinds.txt vorlix preview kinds.dic
same kinds.page page kinds.dic
same kinds.german vorlix --lang de_DE preview kinds.dic
same narrow.txt narrow 40 kinds.dic
same refused.txt vorlix preview refused.dic
same nosuch.txt vorlix preview kinds.dic KIND
same models.txt vorlix preview ../../examples/dict/muster.dic
same findings.txt vorlix preview findings.dic

# Bytes of the server's language are the characters of the page.
printf '[catalog]\nA=K\xe4se\n[a.n]\nPATH=n\nFTYP=T\nFLEN=9\nDEFAULT=\xdc\n' >"$work/latin.dic"
for language in de_DE C; do
  vorlix preview --lang $language --html "$work/page.html" "$work/latin.dic"
  iconv -f UTF-8 -t UTF-8 "$work/page.html" >/dev/null || fail=1
  grep -q "$([[ $language == C ]] && echo 'K\\xe4se' || echo Käse)" "$work/page.html" || { echo "no Käse in $language"; fail=1; }
done
exit $fail
