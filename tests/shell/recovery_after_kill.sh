#!/usr/bin/env bash
# The real window, killed a few seconds after an edit, gives the edit back:
# start loadcal on a private X server, type a circuit, wait for the recovery
# copy, kill -9, start again, answer the restore question with Enter, save
# under a new name, and read the archive back with `loadcal convert`.
#
# usage: recovery_after_kill.sh LOADCAL WORK_PARENT
# Needs Xvfb and xdotool. Every wait is bounded; the X server and the
# programs it started are ended however the script ends.
set -euo pipefail

exe=$1
work=$(mktemp -d "$2/recovery-after-kill.XXXXXX")
xvfb_pid=""
app_pid=""

cleanup() {
    [ -n "$app_pid" ] && kill -9 "$app_pid" 2>/dev/null
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    wait 2>/dev/null
    rm -rf "$work"
}
trap cleanup EXIT

fail() {
    echo "FAIL: $*" >&2
    if [ -n "${DISPLAY:-}" ]; then
        xdotool search --name '.' getwindowname %@ 2>/dev/null | sed 's/^/  window: /' >&2 || true
    fi
    exit 1
}

# until SECONDS COMMAND...: runs COMMAND every 0.2 s until it succeeds.
until_ok() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@" >/dev/null 2>&1; do
        [ "$SECONDS" -lt "$deadline" ] || return 1
        sleep 0.2
    done
}

# The settings folder lies one folder above the program: a link of the
# program of its own gives the test a settings folder of its own.
mkdir "$work/bin"
ln "$exe" "$work/bin/loadcal" 2>/dev/null || cp "$exe" "$work/bin/loadcal"
settings="$work/DQCal"

# An X server on a free display; it writes the display's number when ready.
Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
xvfb_pid=$!
until_ok 20 test -s "$work/display" || fail "Xvfb did not start: $(cat "$work/xvfb.log")"
export DISPLAY=":$(head -n1 "$work/display")"

start_window() {
    env -u QT_QPA_PLATFORM -u WAYLAND_DISPLAY LANG=C.UTF-8 ASAN_OPTIONS=detect_leaks=0 \
        "$work/bin/loadcal" </dev/null >>"$work/loadcal.log" 2>&1 &
    app_pid=$!
}

# focus TITLE-REGEX: waits for a window and gives it the keyboard (there is
# no window manager to do that).
focus() {
    local id
    id=$(timeout 30 xdotool search --sync --onlyvisible --name "$1" | head -n1) ||
        fail "no window \"$1\""
    xdotool windowfocus --sync "$id"
    echo "$id"
}

copies() { compgen -G "$settings/recovery-*.LDC"; }

# 1. An edit: click the entry row's first cell (circuit number, right of the
# supply tree) and type at once.
start_window
main=$(focus '^需要系数法负荷计算『未命名』$')
xdotool mousemove --window "$main" 215 98 click 1
xdotool type --delay 20 'PUMP-7'
xdotool key Return
until_ok 15 copies || fail "no recovery copy in $settings after the edit"

# 2. Killed without a chance to clean up.
kill -9 "$app_pid"
wait "$app_pid" 2>/dev/null || true
app_pid=""
copies >/dev/null || fail "the recovery copy did not survive the kill"

# 3. The next start asks; Enter is the default answer, Yes.
start_window
focus '^恢复文档$' >/dev/null
xdotool key Return
# The restored document is modified: the title carries the "*" mark.
main=$(focus '^需要系数法负荷计算『未命名』[*]$')

# 4. Saved under a new name through the save dialog.
xdotool key ctrl+s
focus '^(Save As|另存为)$' >/dev/null
xdotool type --delay 10 "$work/saved.LDC"
xdotool key Return
until_ok 15 test -s "$work/saved.LDC" || fail "the restored document was not saved"
until_ok 10 bash -c "! compgen -G '$settings/recovery-*'" ||
    fail "the recovery copy outlived the save: $(ls "$settings")"

# 5. A normal end, then the archive read back by the command line.
focus '^需要系数法负荷计算『' >/dev/null
xdotool key Escape
until_ok 20 bash -c "! kill -0 $app_pid" || fail "the window did not end on Escape"
app_pid=""
"$exe" convert "$work/saved.LDC" "$work/saved.json" || fail "convert failed"
grep -q '"circuitNo": "PUMP-7"' "$work/saved.json" ||
    fail "the edit is not in the saved archive: $(cat "$work/saved.json")"
echo "restored and saved: $(grep -c '"circuitNo"' "$work/saved.json") circuit(s)"
