#!/usr/bin/env bash
# Installs what is missing, prepares the data folder, gives up root's rights and starts the collector.
set -euo pipefail

here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=scripts/common.sh
source "$here/../scripts/common.sh"
readonly account=ostrel-collector

usage() {
    cat <<END
Usage: ${0##*/} --data DIR [OPTION]...

Receives hits, counts them in PostgreSQL, and shows the counts on a page, until
Ctrl-C or SIGTERM. As root it runs everything as the owner of DIR, or if DIR is
new, as the system user "$account".

  --data DIR           folder for everything that is kept
  --listen ADDRESS     where hits are taken (127.0.0.1)
  --port N             ... and the port (8089): POST http://ADDRESS:N/collect
  --page-port N        port of the page on 127.0.0.1 (8090)
  --interval SECONDS   time between two loads (60)
  --threshold N        fewest machines that a shown number stands for (20)
  --filter FILE        event filter: its names count for every product
  --filter PRODUCT=FILE  ... for one product; may be repeated
  --key FILE           key for machine ids, shared by all receivers of a
                       database; kept as DIR/key (default: a random one)
  --sample SHARE       keep this share of the machines, such as 0.1 (1)
  --help               print this text

With PGHOST, PGHOSTADDR or PGSERVICE set, hits are counted in that server, which
the other variables of libpq describe. Otherwise the collector creates a cluster
in DIR.
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
[[ -z $key || -s $key ]] || die "no key in $key"

# as_user COMMAND...: with the rights that the collector will have.
as_user() {
    if ((EUID)); then "$@"; else setpriv --reuid="$user" --regid="$group" --clear-groups -- "$@"; fi
}

# A folder with other things in it is refused: its mode and owner are not ours to change.
prepare_folder() {
    [[ $data != *[[:space:]\;\{\}\"\'\\@\|\$]* ]] || die "nginx's configuration cannot hold a folder with this name"
    mkdir -p -- "$data"
    data=$(realpath -- "$data")
    [[ -e $data/receiver || -z $(ls -A -- "$data") ]] || die "$data is neither empty nor a collector's"
    user=$(stat -c %u -- "$data")
    if ((EUID == 0 && user == 0)); then
        id "$account" &>/dev/null || useradd --system --user-group --no-create-home --shell /usr/sbin/nologin "$account"
        chown -- "$account:" "$data"
        user=$(id -u "$account")
    fi
    group=$(stat -c %g -- "$data")
    chmod 0700 -- "$data"
    as_user test -w "$data" || die "user $user cannot write to $data: look at the folders above it"
}

# write NAME: standard input becomes that file of the data folder, completely or not at all.
# shellcheck disable=SC2016 # the inner shell expands it
write() { as_user bash -c 'umask 077 && cat >"$1.tmp" && mv -- "$1.tmp" "$1"' bash "$data/$1"; }

prepare_identity() {
    [[ -s $data/receiver ]] || od -An -N16 -tx1 /dev/urandom | tr -d ' \n' | write receiver
    if [[ -s $data/key ]]; then
        [[ -z $key ]] || cmp -s -- "$key" "$data/key" || die "$data/key is another key than $key"
    elif [[ -n $key ]]; then
        write key <"$key"
    else
        od -An -N32 -tx1 /dev/urandom | tr -d ' \n' | write key
    fi
}

# The unprivileged user may not be able to read this folder or the filters, so they are copied. In /tmp, because the
# path of a socket has at most 107 bytes.
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
