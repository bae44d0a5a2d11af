#!/bin/bash
# The Python package as its users see it: python.sh PYTHON ROOT
#
# Types and stubs hold (mypy), docs/python.md is true (doctest), and the example host shows its form. The environment says
# where package, library and server are.
set -euo pipefail
readonly PYTHON=$1
cd "$2"
export PYTHONDONTWRITEBYTECODE=1
unset LC_ALL LC_CTYPE LC_COLLATE ZENDLANG
export LANG=C.UTF-8
fail=0

"$PYTHON" python/stubs.py --check python/vorlix/_functions.pyi || fail=1
mypy --strict --cache-dir=/dev/null python/vorlix python/stubs.py || fail=1
"$PYTHON" -m doctest docs/python.md || fail=1

read -r -d '' form <<'END' || true
name (T, 30): umsatz (N, 12):   a character that is not allowed, which out holds, or a wrong pvalid
umsatz (N, 12): limit (N, 9):   below pmin or above pmax
limit (N, 9): kunde_seit (D, 10): name        [Meier]
umsatz      [     1234.50]
limit       [   500.00]
kunde_seit  [31.12.99]
END
typed=$'Meier\n12x\n1234.5\n70000\n500\n31.12.99\n'
diff <(echo "$form") <(LANG=C "$PYTHON" examples/hosts/host.py <<<"$typed") || fail=1
exit $fail
