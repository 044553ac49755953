#!/usr/bin/env bash
# Checks a built DLL: its exports, its hardening, the DLLs that it needs, and that it contains no path of the build
# machine.
set -euo pipefail

usage() {
    cat <<END
Usage: ${0##*/} [--update] DLL [FOLDER...]

Checks the exports and the hardening of DLL and which DLLs it needs. DLL must not
contain the path of any FOLDER.

  --update  overwrite cmake/exports-windows.txt; review the differences
  --help    print this text
END
}

list=$(dirname -- "${BASH_SOURCE[0]}")/../cmake/exports-windows.txt
update=no
case ${1-} in
--help) usage && exit ;;
'') usage >&2 && exit 2 ;;
esac
[[ $1 != --update ]] || { update=yes && shift; }
dll=$1
shift
dump=$(x86_64-w64-mingw32-objdump -p "$dll")
faults=0

fault() {
    echo "$1"
    faults=1
}

exports() { sed -n '/^\[Ordinal\/Name Pointer\] Table/,/^$/s/^\t\[ *[0-9]*\] //p' <<<"$dump" | LC_ALL=C sort; }

if [[ $update == yes ]]; then
    exports >"$list"
fi
diff -u "$list" <(exports) || fault "the exports (lines with +) differ from the reviewed list (lines with -)"
for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
    grep -q "^\s*$flag\$" <<<"$dump" || fault "$flag is off"
done
grep -qE '^Time/Date\s+Thu Jan  1 00:00:00 1970$' <<<"$dump" || fault "the DLL contains its build time"
# Allowed are DLLs of Windows and the DLLs that are installed beside ours.
system='(advapi32|bcrypt|crypt32|kernel32|msvcrt|secur32|shell32|user32|winhttp|ws2_32)\.dll'
beside='(liblog4cplusu|libgcc_s_seh-1|libstdc\+\+-6|libwinpthread-1)\.dll'
sed -n 's/^\tDLL Name: //p' <<<"$dump" | grep -viE "^($system|$beside)\$" && fault "the DLLs above are not allowed"
for folder in "$@"; do
    ! grep -qaF "$folder" "$dll" || fault "the DLL contains the path $folder"
done
exit $faults
