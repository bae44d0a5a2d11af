#!/bin/bash
# The Debian packages: package.sh WORK_DIRECTORY ROOT
#
# Lintian and the hardening check find nothing, a second build is the same bytes. In a bare Debian 12, where root may make
# one, they are installed, serve, are upgraded under a server that runs, and leave nothing behind.
set -euo pipefail
work=$1
cd "$2"
rm -rf "$work" && mkdir -p "$work"
mounted=
trap '[[ -z $mounted ]] || umount "$mounted"' EXIT

fail() { echo "$1"; exit 1; }

scripts/package "$work/once" >/dev/null
mapfile -t packages < <(ls "$work"/once/*.deb)
((${#packages[@]} == 4)) || fail "packages: ${packages[*]}"
lintian --allow-root --fail-on error,warning "${packages[@]}" || fail "lintian has found something"

for package in "${packages[@]}"; do dpkg-deb -x "$package" "$work/files"; done
readonly FILES=$work/files/usr
hardening-check --nocfprotection "$FILES"/bin/vorlix "$FILES"/libexec/vorlix{.dll,-preview} "$FILES"/lib/*/libvorlix.so.3.* >"$work/hardening" ||
  { cat "$work/hardening"; fail "not hardened"; }
for page in "$FILES"/share/man/man?/*; do
  [[ -z $(man --warnings -l "$page" 2>&1 >/dev/null) ]] || fail "$page has warnings"
done

scripts/package "$work/again" >/dev/null
for package in "${packages[@]}"; do
  cmp "$package" "$work/again/${package##*/}" || fail "a second build differs"
done

readonly SKIPPED=77  # which ctest says
if ((EUID != 0)); then echo "not root: nothing is installed"; exit $SKIPPED; fi
readonly BARE=$work/bare
mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Codename: bookworm' | head -1)
if ! debootstrap --variant=minbase --include=libarchive13,libcpp-httplib0.11,libedit2,python3 bookworm "$BARE" "$mirror" >"$work/bare.log" 2>&1; then
  tail -3 "$work/bare.log"
  echo "no bare Debian could be made: nothing is installed"
  exit $SKIPPED
fi
mount -t proc proc "$BARE/proc" && mounted=$BARE/proc
in_bare() { LC_ALL=C chroot "$BARE" "$@"; }
installed_files() { (cd "$BARE" && find . -xdev \( -path ./proc -o -path ./var -o -path ./tmp -o -path ./root \) -prune -o -print | sort); }
installed_files >"$work/before"

# The version before: the same files under a lower number.
mkdir -p "$BARE/root/old" "$BARE/root/new"
cp "${packages[@]}" "$BARE/root/new"
for package in "${packages[@]}"; do
  rm -rf "$work/raw" && dpkg-deb -R "$package" "$work/raw"
  sed -i -E 's/^Version: .*/Version: 3.9/; s/3\.10\+[0-9]+/3.9/g' "$work/raw/DEBIAN/control"
  dpkg-deb --root-owner-group -b "$work/raw" "$BARE/root/old/${package##*/}" >/dev/null
done
in_bare sh -c 'dpkg -i /root/old/*.deb' >"$work/install.log" 2>&1 || { cat "$work/install.log"; fail "not installed"; }

mkfifo "$BARE/root/lines"
in_bare sh -c 'vorlix shell </root/lines >/root/answers' &
exec 3>"$BARE/root/lines"
echo 'v_Set Name Meier' >&3
in_bare sh -c 'dpkg -i /root/new/*.deb' >"$work/install.log" 2>&1 || { cat "$work/install.log"; fail "not upgraded"; }
echo 'v_Get Name [40] => value=Meier' >&3
exec 3>&-
wait
grep -q '=> 0 value="Meier"' "$BARE/root/answers" || fail "the upgrade has ended a server that ran"

in_bare sh -c 'cd /usr/share/doc/vorlix && for s in examples/*.vx; do vorlix run $s >/dev/null || exit 1; done' ||
  fail "the examples do not run"
in_bare vorlix doctor >"$work/doctor" || { cat "$work/doctor"; fail "the doctor finds fault with it"; }
gcc -std=c11 -I"$FILES/include" examples/hosts/host.c -o "$BARE/root/host" -L"$(dirname "$FILES"/lib/*/libvorlix.so)" -lvorlix
for host in /root/host "python3 -c \"import vorlix; s = vorlix.Server(lang='C'); print(s.fmt_Date(19991231, 0, 10, '%d.%m.%Y').result); s.close()\""; do
  in_bare sh -c "cd /usr/share/doc/vorlix && $host" </dev/null >"$work/host" || fail "$host fails"
  [[ -s $work/host ]] || fail "$host prints nothing"
done

in_bare dpkg --purge python3-vorlix libvorlix-dev libvorlix3 vorlix >"$work/install.log" 2>&1 ||
  { cat "$work/install.log"; fail "not removed"; }
installed_files | diff "$work/before" - || fail "something is left behind"
