#!/bin/bash
# Includes run one way: includes.sh ROOT
#
# Prints every include that a room may not have, or that is not written from the root, and fails when there is one.
set -euo pipefail
cd "$1"

# A room, and what its files may include, as a pattern over paths from the root. tests, fuzz and bench may include
# anything that is there.
readonly RULES='
  hostif      hostif/
  dll/base    dll/base/
  dll/wire    hostif/(layout|math)[.]h|dll/(base|wire)/
  dll/field   dll/(base|field)/
  dll/ini     dll/(base|ini)/
  dll/shared  hostif/(dllifutil|layout)[.]h|dll/(base|wire|field|ini|shared)/
  dll/record  hostif/|dll/(base|wire|record)/
  dll/server  hostif/|dll/
  host        hostif/(layout|math)[.]h|dll/(base|wire)/|host/[^/]+$
  host/c      hostif/math[.]h|dll/(base|wire)/|host/
  tools       dll/(base|wire)/|host/|tools/
  tools/check dll/(base|wire|field|ini|shared)/|dll/server/nls[.]h|tools/
  tools/lsp   dll/(base|wire|field|ini|shared)/|tools/
  examples    host/[^/]+$
  tests       [a-z]+/
  fuzz        [a-z]+/
  bench       [a-z]+/
'

# Reads lines "FILE<tab>INCLUDED" and prints those that break a rule.
broken_rules() {
  awk -F'\t' -v rules="$RULES" '
    BEGIN {
      count = split(rules, words, /[ \n]+/)
      for (i = 2; i < count; i += 2) allowed[words[i]] = "^(" words[i + 1] ")"
    }
    {
      room = $1
      do sub(/\/[^\/]*$/, "", room); while (!(room in allowed) && room ~ /\//)
      if (!(room in allowed) || $2 !~ allowed[room]) print $1 " may not include \"" $2 "\""
    }'
}

includes() {
  find . \( -path './build' -o -path './.*' \) -prune -o \( -name '*.h' -o -name '*.cpp' -o -name '*.def' \) -print0 |
    xargs -0 grep -HE '^ *# *include +"' | sed -E 's|^\./([^:]*): *# *include +"([^"]*)".*|\1\t\2|'
}

# The rules at work: a file, what it includes, and whether it may.
readonly EXAMPLES='
  hostif/math.cpp         hostif/math.h           yes
  hostif/dllmain.cpp      dll/server/nls.h        no
  hostif/dllmain.cpp      math.h                  no
  dll/base/text.cpp       dll/base/text.h         yes
  dll/base/text.cpp       dll/wire/xbuf.h         no
  dll/base/text.cpp       hostif/layout.h         no
  dll/wire/functable.h    hostif/layout.h         yes
  dll/wire/csdx.cpp       hostif/dllifutil.h      no
  dll/field/numfield.cpp  dll/base/locale.h       yes
  dll/field/numfield.cpp  dll/shared/numfmt.h     no
  dll/ini/iniread.cpp     dll/wire/xbuf.h         no
  dll/shared/numfmt.cpp   hostif/dllifutil.h      yes
  dll/shared/numfmt.cpp   hostif/dllif.h          no
  dll/shared/numfmt.cpp   dll/server/functions.h  no
  dll/shared/numfmt.cpp   numfmt.h                no
  dll/record/callline.cpp hostif/dllif.h          yes
  dll/record/callline.cpp dll/server/functions.h  no
  dll/server/lists.cpp    hostif/dllif.h          yes
  dll/server/lists.cpp    host/server.h           no
  host/block.cpp          hostif/layout.h         yes
  host/block.cpp          hostif/dllif.h          no
  host/block.cpp          tools/call.h            no
  host/xbuf.cpp           dll/wire/xbuf.h         yes
  host/call.cpp           host/c/handles.h        no
  host/c/call.cpp         host/decimal.h          yes
  host/xbuf.cpp           dll/shared/xpack.h      no
  tools/call.cpp          host/server.h           yes
  tools/call.cpp          hostif/math.h           no
  tools/call.cpp          dll/shared/dictfile.h   no
  tools/check/judge.cpp   dll/shared/dictfile.h   yes
  tools/check/judge.cpp   host/server.h           no
  examples/hosts/host.cpp host/server.h           yes
  examples/hosts/host.cpp dll/wire/xbuf.h         no
  tests/support/heap.cpp  dll/server/functions.h  yes
  tests/support/heap.cpp  heap.h                  no
  elsewhere/file.cpp      hostif/math.h           no
'

fail=0
while read -r file included may; do
  [[ -n $file ]] || continue
  broken=$(printf '%s\t%s\n' "$file" "$included" | broken_rules)
  if [[ -z $broken && $may == no || -n $broken && $may == yes ]]; then
    echo "the rules are wrong: $file, \"$included\", $may"
    fail=1
  fi
done <<<"$EXAMPLES"

while IFS=$'\t' read -r file included; do
  if [[ ! -e $included ]]; then
    echo "$file includes \"$included\", which does not exist"
    fail=1
  fi
done < <(includes)

broken=$(includes | broken_rules)
if [[ -n $broken ]]; then
  echo "$broken"
  fail=1
fi
exit $fail
