#!/bin/bash
# The live preview in a real browser: browser.sh PROGRAM_DIRECTORY ROOT [PICTURE]
set -euo pipefail
readonly SKIPPED=77  # which ctest says
export VORLIX=$1/vorlix PYTHONDONTWRITEBYTECODE=1
for python in python3 /usr/bin/python3; do
  if "$python" -c 'import selenium' 2>/dev/null; then found=$python; fi
done
if [[ -z ${found:-} ]] || ! command -v chromium >/dev/null || ! command -v chromedriver >/dev/null; then
  echo "chromium, chromium-driver or python3-selenium is not there: the page is not looked at"
  exit $SKIPPED
fi
# The look at accessibility is that of axe-core.
axe=$("$2/tests/npm.sh" "$1" axe-core@4.10.2 axe.min.js)
if [[ -n $axe ]]; then export AXE=$axe; else echo "axe-core is not there: accessibility is not looked at"; fi
exec "$found" "$2/tests/preview/browser.py" "$2/examples" "${@:3}"
