#!/bin/bash
# What is installed works from any prefix: test.sh BUILD_DIRECTORY CXX
#
# Installs into a temporary prefix, moves that, and there runs the tool, a host in Python, and hosts in C++ and C that are
# built against the client libraries, once by the CMake package and once by pkg-config. They are those that README.md
# shows. Manual pages and pkg-config are passed over with a word where their programs are missing.
set -euo pipefail
readonly BUILD=$1 CXX=$2
SOURCE=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readonly PREFIX=$work/moved SHOWN='0 31.12.1999'
export LANG=C

# Fails unless the rest of the arguments print TEXT.
prints() {  # TEXT COMMAND...
  local printed
  printed=$("${@:2}") || { echo "failed: ${*:2}" && exit 1; }
  [[ $printed == "$1" ]] || { echo "${*:2}: printed '$printed', not '$1'" && exit 1; }
}

# README.md has them as they stand here, indented.
readme=$(<"$SOURCE/../../README.md")
for shown in host.cpp host.c host.py CMakeLists.txt; do
  [[ $readme == *$'\n\n'"$(sed 's/^./    &/' "$SOURCE/$shown")"$'\n\n'* ]] ||
    { echo "README.md does not show tests/install/$shown" && exit 1; }
done

cmake --install "$BUILD" --prefix "$work/prefix" >/dev/null
mv "$work/prefix" "$PREFIX"

# No other server can be found than the one in libexec.
prints 'code = 0' env PATH=/usr/bin:/bin "$PREFIX/bin/vorlix" call v_Set Name Meier

# The program that serves the preview is found beside it.
served=$(env PATH=/usr/bin:/bin timeout -s INT 1 "$PREFIX/bin/vorlix" preview "$SOURCE/../../examples/dict/kunden.dic" --serve || true)
[[ $served == http://127.0.0.1:* ]] || { echo "no preview is served: $served" && exit 1; }

packages=$(find "$PREFIX" -name dist-packages)
prints "$SHOWN" env PYTHONPATH="$packages" python3 -W error "$SOURCE/host.py"

cmake -G Ninja -S "$SOURCE" -B "$work/build" -DCMAKE_PREFIX_PATH="$PREFIX" -DCMAKE_CXX_COMPILER="$CXX" >/dev/null
cmake --build "$work/build" >/dev/null
prints "$SHOWN" "$work/build/host"
prints "$SHOWN" "$work/build/host_c"

if command -v pkg-config >/dev/null; then
  export PKG_CONFIG_PATH
  PKG_CONFIG_PATH=$(dirname "$(find "$PREFIX" -name vorlix.pc)")
  read -ra flags <<<"$(pkg-config --cflags --libs vorlix++)"
  "$CXX" -o "$work/host" "$SOURCE/host.cpp" -DVORLIX_SERVER="\"$(pkg-config --variable=server vorlix++)\"" "${flags[@]}"
  prints "$SHOWN" "$work/host"
  read -ra flags <<<"$(pkg-config --cflags --libs vorlix)"
  cc -o "$work/host_c" "$SOURCE/host.c" "${flags[@]}" -Wl,-rpath,"$(pkg-config --variable=libdir vorlix)"
  prints "$SHOWN" "$work/host_c"
else
  echo "pkg-config is not there: its file is not tested"
fi

if command -v scdoc >/dev/null; then
  for page in man1/vorlix.1 man8/vorlix.dll.8; do
    grep -q '^\.SH EXIT STATUS' "$PREFIX/share/man/$page"
  done
else
  echo "scdoc is not there: there are no manual pages"
fi
