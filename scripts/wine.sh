#!/usr/bin/env bash
# Runs a Windows program under Wine without a display. CMake uses this script as the emulator of the cross build.
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

usage() {
    cat <<END
Usage: ${0##*/} [[--direct] PROGRAM [ARGUMENT...] | --end | --data]

Creates the Wine prefix if it does not exist, then runs the program in it.

  --direct  exec the program, so that it has the streams and the process id of
            this script. Processes of Wine may keep the output open after the
            program has exited.
  --end     stop all processes of the prefix, and its server
  --data    print the data folder of the prefix's user
  --help    print this text

  OSTREL_WINE_PREFIX  the prefix (build/windows/wine). If build/windows/wine
                      exists, a new prefix is created as its copy.
  OSTREL_DLL_DIR      folder with the DLLs that the program needs. If it is not
                      set, the DLL folders of the build and of its libraries are
                      used.
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
# In the C locale, which is the default of a minimal system, Wine cannot create files with a non-ASCII name.
export LC_ALL=C.UTF-8
# If http_proxy is set, Wine uses it as the system's proxy. If TMPDIR is set, Wine looks for its wineserver there.
unset DISPLAY http_proxy TMPDIR

# With address randomisation, Wine's start sometimes fails to map its shared page.
wine() { setarch x86_64 -R /usr/lib/wine/wine64 "$@"; }
quiet() { "$@" </dev/null >/dev/null 2>&1; }

# Starts Wine's server and services before the program. Otherwise they would inherit the program's streams and keep the
# pipes of ctest open. A background job ignores SIGINT, but --end stops the server with SIGINT: restore the default.
start_server() {
    if quiet env --default-signal=INT wineserver -p; then quiet wine wineboot; fi
}

make_prefix() {
    mkdir -p "$prefix"
    quiet wineserver -p
    quiet wine wineboot -i
    # With the default debugger, a crashed process may exit with 0. Its test would pass.
    quiet wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d '' /f
    # The null driver lets programs create windows without a display server.
    quiet wine reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
    quiet wine winecfg -v win10
    quiet wineserver -k -w || true
    start_server
    touch "$prefix/.ready"
}

# Wine writes to the registry files, so they are copied. The other files are only read, so hard links are enough. The
# new user has an empty data folder.
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
# Wine's helper processes keep the program's streams open after the program has exited. So the output is written to a
# file: a reader of our output must not wait for these processes.
output=$(mktemp)
trap 'rm -f "$output"' EXIT
status=0
wine "$@" >"$output" 2>&1 || status=$?
cat "$output"
exit $status
