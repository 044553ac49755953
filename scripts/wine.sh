#!/usr/bin/env bash
# Runs one program for Windows under Wine without a display: CMake's emulator for the cross build.
#
# The prefix is made by the first call and kept below the build folder; OSTREL_WINE_PREFIX names another one.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
prefix=${OSTREL_WINE_PREFIX:-$root/build/windows/wine}
dependencies=${OSTREL_WINDOWS_PREFIX:-$("$root/scripts/windows-deps.sh" --print-prefix)}

windows_path() { printf 'Z:%s' "${1//\//\\}"; }

export WINEPREFIX=$prefix
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=d'
WINEPATH="$(windows_path "$dependencies/bin");$(windows_path "${OSTREL_DLL_DIR:-$root/build/windows/src}")"
export WINEPATH
unset DISPLAY

# Without address randomisation no start ever fails to map its shared page.
wine() { setarch x86_64 -R /usr/lib/wine/wine64 "$@"; }
quiet() { "$@" </dev/null >/dev/null 2>&1; }

# The server inherits the streams of whoever starts it and would hold the test driver's pipes open for ever.
make_prefix() {
    mkdir -p "$prefix"
    quiet wineserver -p
    quiet wine wineboot -i
    # With the default debugger a crashed process may exit with 0, and its test would pass.
    quiet wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d '' /f
    # Windows without a display server.
    quiet wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
    quiet wine winecfg -v win10
    quiet wineserver -k -w || true
    quiet wineserver -p
    quiet wine wineboot
    touch "$prefix/.ready"
}

if [ ! -e "$prefix/.ready" ]; then
    mkdir -p "$(dirname "$prefix")"
    exec 9>"$prefix.lock"
    flock 9
    [ -e "$prefix/.ready" ] || make_prefix 9>&-
    exec 9>&-
fi

[ $# -gt 0 ] || exit 0
exec setarch x86_64 -R /usr/lib/wine/wine64 "$@"
