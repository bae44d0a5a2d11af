#!/bin/bash
# The C library as programs in C meet it, and all compiled example hosts: c.sh LIBRARY ROOT [OPTION...]
#
# Builds the example hosts, and the program that the pieces of docs/c.md make, as strictly as compilers can be, and
# compares what they print. The names that the library exports, and the sizes of what the header lays open, are those of
# tests/c_abi.txt, so that no change breaks a program that is already built. The options go to the compiler; with any,
# only gcc is tried, for they are about sanitizers, which differ.
set -euo pipefail
readonly LIBRARY=$1 ROOT=$2
DIRECTORY=$(dirname "$LIBRARY")
shift 2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export LANG=C
fail=0

strictly() {  # COMPILER SOURCE PROGRAM OPTION...
  "$1" -Wall -Wextra -Werror -pedantic -o "$3" "$2" "${@:4}"
}

build() {  # COMPILER SOURCE PROGRAM OPTION...
  strictly "${@:1:3}" -std=c11 "${@:4}" -I"$ROOT/host/c" -L"$DIRECTORY" -lvorlix -Wl,-rpath,"$DIRECTORY"
}

# The pieces as a program: what includes stands at the top, all else in main().
tour() {
  awk '
    /^```c$/ { inside = 1; next }
    /^```$/ { inside = 0 }
    inside && /^#include/ { top = top $0 "\n"; next }
    inside { body = body $0 "\n" }
    END { printf "%s\nint main(void) {\n%sreturn 0;\n}\n", top, body }' "$ROOT/docs/c.md"
}

# What it has to print: the comments behind its puts and printf.
told() {
  sed -nE 's|^ *(.*\))?(puts\|printf)\(.*\); */\* (.*) \*/$|\3|p' "$ROOT/docs/c.md"
}

abi() {
  nm -D --defined-only "$LIBRARY" | awk '$2 != "A" { print $3 }' | sed 's/@@/@/' | LC_ALL=C sort
  {
    printf '#include <stdio.h>\n#include <vorlix.h>\nint main(void) {\n'
    sed -nE 's|^\} (vorlix_[a-z_]+);$|  printf("%s %zu\\n", "\1", sizeof(\1));|p' "$ROOT/host/c/vorlix.h"
    printf '  return 0;\n}\n'
  } >"$work/sizes.c"
  build gcc "$work/sizes.c" "$work/sizes" "$@"
  "$work/sizes"
}

same() {  # WHAT EXPECTED COMMAND...
  diff --label "$1: expected" --label "$1" -u "$2" <("${@:3}" 2>&1) || fail=1
}

tour >"$work/tour.c"
told >"$work/told"
cat >"$work/shown" <<'END'
name       [Meier & Co]
umsatz     [     1234.50]
kunde_seit [27.02.01]
END
cd "$ROOT"
for compiler in gcc clang; do
  if [[ $compiler == clang ]] && { (($# > 0)) || ! command -v clang >/dev/null; }; then continue; fi
  build "$compiler" examples/hosts/host.c "$work/host" "$@"
  build "$compiler" "$work/tour.c" "$work/tour" "$@"
  same "host.c by $compiler" "$work/shown" "$work/host"
  same "docs/c.md by $compiler" "$work/told" "$work/tour"

  strictly "${compiler/%cc/}++" examples/hosts/host.cpp "$work/host++" -std=c++20 "$@" -I. "$DIRECTORY/libvorlix++.a"
  same "host.cpp by $compiler" "$work/shown" env PATH="$DIRECTORY:$PATH" "$work/host++"
  strictly "$compiler" examples/hosts/bare.c "$work/bare" -std=c11 "$@"
  same "bare.c by $compiler" <(echo 31.12.1999) env VORLIX_RECORD="$work/%p.vx" "$work/bare" "$DIRECTORY/vorlix.dll"
  same "bare.c recorded" <(echo 1) bash -c "'$DIRECTORY/vorlix' run '$work'/*.vx | grep -c ^fmt_Date"
  rm "$work"/*.vx
done
same 'names and sizes' tests/c_abi.txt abi "$@"
exit $fail
