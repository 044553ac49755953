#!/usr/bin/env bash
# Installs missing packages, prepares the data folder, drops root privileges and starts the collector.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/common.sh
source "$here/../scripts/common.sh"
readonly account=ostrel-collector
PATH=$PATH:/usr/sbin # nginx and useradd are there; on Debian, only root's login shell has it in the PATH

usage() {
    cat <<END
Usage: ${0##*/} --data DIR [OPTION]...

Receives hits, counts them in PostgreSQL, and shows the counts on a page, until
Ctrl-C or SIGTERM. If root starts it, all processes run as the owner of DIR, or
as the system user "$account" if DIR is new or belongs to root.

  --data DIR           folder for all data
  --listen ADDRESS     address that receives hits (127.0.0.1)
  --port N             port that receives hits (8089): http://ADDRESS:N/collect
  --page-port N        port of the page on 127.0.0.1 (8090)
  --interval SECONDS   time between two loads (60)
  --threshold N        fewest machines for which a number is shown (20)
  --filter FILE        event filter: its names are counted for every product
  --filter PRODUCT=FILE  event filter for one product; repeat it for others
  --key FILE           key for hashing machine ids; copied to DIR/key. All
                       receivers of a database need the same key. Without
                       FILE, a random key is created.
  --sample SHARE       count only this share of the machines, such as 0.1 (1)
  --help               print this text

If PGHOST, PGHOSTADDR or PGSERVICE is set, hits are counted in that PostgreSQL
server. The other environment variables of libpq apply too. Otherwise the
collector creates a database cluster in DIR.
END
}

positive() { [[ $2 =~ ^[1-9][0-9]{0,8}$ ]] || die "$1 needs a positive number, not \"$2\""; }

data='' key='' filters=()
export LISTEN=127.0.0.1 PORT=8089 PAGE_PORT=8090 INTERVAL=60 THRESHOLD=20 SAMPLE=1
while (($#)); do
    [[ $1 != --help ]] || { usage && exit; }
    (($# > 1)) || die "$1 needs a value, or is unknown (see --help)"
    case $1 in
    --data) data=$2 ;;
    --listen) LISTEN=$2 ;;
    --port) positive "$1" "$2" && PORT=$2 ;;
    --page-port) positive "$1" "$2" && PAGE_PORT=$2 ;;
    --interval) positive "$1" "$2" && INTERVAL=$2 ;;
    --threshold) positive "$1" "$2" && THRESHOLD=$2 ;;
    --filter) filters+=("$2") ;;
    --key) key=$2 ;;
    --sample) [[ $2 =~ ^(0\.[0-9]{1,4}|1)$ && $2 =~ [1-9] ]] || die "--sample needs a number up to 1, such as 0.1"
              SAMPLE=$2 ;;
    *) die "unknown option: $1 (see --help)" ;;
    esac
    shift 2
done
[[ -n $data ]] || die "--data is missing (see --help)"
[[ $LISTEN != *:* || $LISTEN == \[* ]] || LISTEN="[$LISTEN]"
[[ -z $key || -s $key ]] || die "the key file $key is missing or empty"

# as_user COMMAND...: runs the command as the user of the collector.
as_user() {
    if ((EUID)); then "$@"; else setpriv --reuid="$user" --regid="$group" --clear-groups -- "$@"; fi
}

# Refuses a folder with foreign files, because this script changes the folder's mode and owner.
prepare_folder() {
    [[ $data != *[[:space:]\;\{\}\"\'\\@\|\$]* ]] || die "--data must not contain spaces or any of ; { } \" ' \\ @ | \$"
    mkdir -p -- "$data"
    data=$(realpath -- "$data")
    [[ -e $data/receiver || -z $(ls -A -- "$data") ]] || die "$data is neither empty nor a data folder of a collector"
    user=$(stat -c %u -- "$data")
    if ((EUID == 0 && user == 0)); then
        id "$account" &>/dev/null || useradd --system --user-group --no-create-home --shell /usr/sbin/nologin "$account"
        chown -- "$account:" "$data"
        user=$(id -u "$account")
    fi
    group=$(stat -c %g -- "$data")
    chmod 0700 -- "$data"
    as_user test -w "$data" || die "user $user cannot write to $data: check the permissions of its parent folders"
}

# write NAME: writes standard input to a temporary file and renames it to NAME in the data folder.
# shellcheck disable=SC2016 # the inner shell expands it
write() { as_user bash -c 'umask 077 && cat >"$1.tmp" && mv -- "$1.tmp" "$1"' bash "$data/$1"; }

prepare_identity() {
    [[ -s $data/receiver ]] || od -An -N16 -tx1 /dev/urandom | tr -d ' \n' | write receiver
    if [[ -s $data/key ]]; then
        [[ -z $key ]] || cmp -s -- "$key" "$data/key" || die "$data/key and $key contain different keys"
    elif [[ -n $key ]]; then
        write key <"$key"
    else
        od -An -N32 -tx1 /dev/urandom | tr -d ' \n' | write key
    fi
}

# The user of the collector may lack permission to read this folder or the filters, so they are copied. The copies are
# in /tmp, because the path of a socket has at most 107 bytes.
copy_program() {
    local number filter
    run=$(mktemp -d /tmp/ostrel-collector.XXXXXX)
    cp -- "$here"/*.py "$here"/*.sql "$here"/*.sh "$here"/*.in "$here"/page.html "$here"/page.js "$run"
    for number in "${!filters[@]}"; do
        filter=${filters[number]}
        cp -- "${filter##*=}" "$run/filter-$number.xml" || die "cannot read the filter ${filter##*=}"
        [[ $filter == *=* ]] && filter=${filter%=*}= || filter=
        filters[number]=$filter$run/filter-$number.xml
    done
    chmod -R u+rwX,go= -- "$run"
    ((EUID)) || chown -R -- "$user:$group" "$run"
}

"$here/../scripts/bootstrap.sh" collector
prepare_folder
prepare_identity
copy_program
export DATA=$data RUN=$run HOME=$data
cd /
if ((EUID)); then exec bash "$run/serve.sh" "${filters[@]}"; fi
exec setpriv --reuid="$user" --regid="$group" --clear-groups -- bash "$run/serve.sh" "${filters[@]}"
