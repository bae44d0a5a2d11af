#!/bin/bash
# A recording plays again, and so does the bundle of it where none of its files is left: record.sh BUILD SCRIPT...
set -euo pipefail
export PATH=$1:$PATH LANG=C
unset ZENDLANG LC_ALL LC_CTYPE LC_COLLATE VORLIX_RECORD_MAX
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail=0

# Traces are told, and drown the output of a failure.
recorded() { VORLIX_RECORD=$1 VORLIX_FLAGS='*3' VORLIX_DEBUG=3 "${@:2}" >/dev/null 2>"$work/errors"; }

# What only recordings have a use for is played and printed as it stands.
cat >"$work/exact.vx" <<'END'
server LANG=C
file /nowhere/a.dic "[catalog]\nA=B\n[a.d]\nPATH=d\nFTYP=D\nFVTYP=CYMD\nFLEN=10\nFFMT=%d.%m.%Y\n"
dict_Open X /nowhere/a.dic 1 => 0 rc_p=0
clock "2024-02-29 23:59:30"
dict_VarFilterInit D01B d "\$DATE" => 0 eof_p=0
dict_FilterInit format => 0
dict_FilterNext [1] [20] => 18 xdict="" val="29.02.2024" eof_p=0
dict_FilterToXbuf [99] => 0 xbuf="ND~0~10~29.02.2024\$"
place v_Set &t:"a"[9] t:"b"[1] => 0
place v_Get t:"a"[1] &t:""[3] => 0 value="b"
place v_Set t:"a"[1] +"b" i:-1 => 8
place nothing r:1.5 +2 r:0x0000ff000000000000000000 => 7
file /nowhere/a.dic absent
dict_OpenModel Y /nowhere/../nowhere/a.dic => 0 rc_p=-2
END
# Calls that no function takes have no file and no dialog to tell of.
cat >>"$work/exact.vx" <<'END'
place dict_Open t:"a"[1] => 9
place ini_Open t:"a"[1] t:"b"[1] &r:1 => 8 hdl=1
place dll_SetDebugFlags => 9
file no/x nowhere
mdf_Get no/x a * "Kept"[1] 1 => 0 xbuf="K" rc_p=-2
END
vorlix run "$work/exact.vx" | sed 's/  # .*//' | diff "$work/exact.vx" - || fail=1

says() { grep -q "$1" "$work/told" || { echo "nothing says: $1"; fail=1; }; }

# A disk that is full; a language that is not there; a file that is taken; a last line that has no end.
printf 'v_Set a %03000d\n' 1 >"$work/long.vx"
(ulimit -f 2 && VORLIX_RECORD=$work/full.vx vorlix run -q "$work/long.vx" 2>"$work/told") || fail=1
says 'the recording ends here: File too large'
vorlix run -q "$work/full.vx" || fail=1
cut=$work/cut$'\xff'.vx  # names of files have any byte
LANG=xx_YY VORLIX_RECORD=$cut vorlix call v_Set a b >/dev/null 2>&1 || fail=1
VORLIX_RECORD=$cut vorlix call v_Set a b >/dev/null 2>"$work/told" || fail=1
says 'gives each server a file of its own'
printf 'nosuch "' >>"$cut"
vorlix run -q "$cut" 2>"$work/told" || fail=1
says 'its last line has no end'

# An archive that is damaged, and one that reaches for other files.
vorlix bundle "$cut" >/dev/null 2>&1
head -c -6 "$cut.tar.gz" >"$work/damaged.tar.gz" && printf 'sixsix' >>"$work/damaged.tar.gz"
vorlix run "$work/damaged.tar.gz" 2>"$work/told" && fail=1
says 'damaged, or cut off'
printf 'server LANG=C\nini_SetString S e v %s\ndll_SetDebugFlags D3 %s\nwrite %s x\n' "$work"/{a,b,c}.evil >"$work/recording.vx"
tar -C "$work" -czf "$work/evil.tar.gz" ./recording.vx
vorlix run -q "$work/evil.tar.gz" 2>"$work/told" && fail=1
says 'reaches no file outside of it'
if compgen -G "$work/*.evil"; then fail=1; fi

for script in "$@"; do
  for languages in "" "--lang de_DE"; do
    [[ -z $languages || $script == *09-session* ]] || continue
    rm -rf "$work"/r.vx*
    # shellcheck disable=SC2086
    recorded "$work/r.vx" vorlix $languages run "$script" || { echo "$script does not run"; fail=1; continue; }
    vorlix bundle "$work/r.vx" >/dev/null
    for played in "$work/r.vx" "$work/r.vx.tar.gz"; do
      if vorlix run --keep-going "$played" 2>"$work/told" >/dev/null; then continue; fi
      echo "$script: its ${played#"$work"/} does not play:"
      grep -a '^vorlix: ' "$work/told" | head -5
      fail=1
    done
  done
done

exit $fail
