#!/usr/bin/env bash
# Runs one program for Windows under Wine without a display: CMake's emulator for the cross build.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

usage() {
    cat <<END
Usage: ${0##*/} [[--direct] PROGRAM [ARGUMENT...] | --end | --data]

Makes the Wine prefix when it is not there yet, then runs the program in it.

  --direct  let the program use the caller's streams and process number; its
            output may then stay open longer than the program runs
  --end   end what still runs in the prefix, its server included
  --data  print the prefix's folder for the data of its user
  --help  print this text

  OSTREL_WINE_PREFIX  another prefix than build/windows/wine; made as its copy
                      where that is there
  OSTREL_DLL_DIR      the only folder to look for DLLs in; without it, those of
                      the build and of its libraries
END
}

readonly template=$root/build/windows/wine
prefix=${OSTREL_WINE_PREFIX:-$template}

data_folder() { echo "$prefix/drive_c/users/$(id -un)/AppData/Local"; }
windows_path() { printf 'Z:%s' "${1//\//\\}"; }
dll_path() {
    [[ -z ${OSTREL_DLL_DIR-} ]] || { windows_path "$OSTREL_DLL_DIR" && return; }
    windows_path "${OSTREL_WINDOWS_PREFIX:-$("$root/scripts/windows-deps.sh" --print-prefix)}/bin"
    printf ';'
    windows_path "$root/build/windows/src"
}

export WINEPREFIX=$prefix
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES='mscoree=;mshtml=;winemenubuilder.exe=d'
# In the C locale, which a bare machine has, Wine could make no file whose name is not ASCII.
export LC_ALL=C.UTF-8
# Wine itself would take the one for a proxy that the machine names, and look for its server below the other.
unset DISPLAY http_proxy TMPDIR

# Without address randomisation no start ever fails to map its shared page.
wine() { setarch x86_64 -R /usr/lib/wine/wine64 "$@"; }
quiet() { "$@" </dev/null >/dev/null 2>&1; }

# Started by the first program instead, server and services would inherit its streams and hold the test driver's
# pipes open. From a background job, where interrupts are ignored, it would inherit that, and --end interrupts it.
start_server() {
    if quiet env --default-signal=INT wineserver -p; then quiet wine wineboot; fi
}

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
    start_server
    touch "$prefix/.ready"
}

# Everything but the registry is only read, and its user starts without data.
copy_template() {
    cp -al "$template" "$prefix"
    rm "$prefix"/*.reg
    cp "$template"/*.reg "$prefix"
    rm -rf "$(data_folder)"
    mkdir "$(data_folder)"
}

provide_prefix() {
    mkdir -p "$(dirname "$prefix")"
    exec 9>"$prefix.lock"
    flock 9
    if [[ ! -e $prefix/.ready ]]; then
        if [[ -e $template/.ready ]]; then copy_template 9>&-; else make_prefix 9>&-; fi
    fi
    exec 9>&-
}

case ${1-} in
--help) usage && exit ;;
--end) quiet wineserver -k -w || true
       exit ;;
esac
[[ -e $prefix/.ready ]] || provide_prefix
case ${1-} in
'') exit ;;
--data) data_folder && exit ;;
esac
start_server
WINEPATH=$(dll_path)
export WINEPATH
[[ ${1-} != --direct ]] || exec setarch x86_64 -R /usr/lib/wine/wine64 "${@:2}"
# Wine's helpers, such as its desktop, outlive the program that needed them first, with its streams: whoever reads these
# must not wait for that.
output=$(mktemp)
trap 'rm -f "$output"' EXIT
status=0
wine "$@" >"$output" 2>&1 || status=$?
cat "$output"
exit $status
