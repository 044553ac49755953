#!/usr/bin/env bash
# Keeps nginx and the database running and loads what arrived, until it is interrupted. Started by run.sh, as the user
# who owns the data folder, with the settings in the environment and the filters as arguments.
set -euo pipefail
# Every background process leads its own process group: Ctrl-C reaches this script alone, and a group can be killed.
set -m
umask 077

readonly programs=/usr/lib/postgresql/15/bin
export PYTHONDONTWRITEBYTECODE=1 TZ=UTC
filters=() stopping='' nginx='' postgres='' schema='' announced=''
for filter in "$@"; do filters+=(--filter "$filter"); done
readonly load=(python3 "$RUN/load.py" --data "$DATA" --sample "$SAMPLE" "${filters[@]}")
readonly report=(python3 "$RUN/report.py" --data "$DATA" --threshold "$THRESHOLD" --interval "$INTERVAL"
    "${filters[@]}")

say() { echo "collector: $*" >&2; }
running() { [[ -n $1 ]] && kill -0 "$1" 2>/dev/null; }

# start SIGNAL COMMAND...: in the background; the kernel sends it SIGNAL if this script is killed.
start() {
    local signal=$1
    shift
    setpriv --pdeathsig "$signal" -- "$@" </dev/null &
}

# finish COMMAND...: runs it to its end, or until the collector has to stop.
finish() {
    "$@" </dev/null &
    local child=$! status=0
    wait "$child" || status=$?
    [[ -z $stopping ]] || { kill "$child" && wait "$child"; } 2>/dev/null || true
    return "$status"
}

pause() {
    sleep "$1" &
    wait $! || true
}

# wait_for SECONDS PID: false if the process is still there.
wait_for() {
    local tenths
    for ((tenths = $1 * 10; tenths; --tenths)); do
        running "$2" || return 0
        sleep 0.1
    done
    return 1
}

start_nginx() {
    local expressions=(-e "s|@RUN@|$RUN|g; s|@HITS@|$DATA/hits|g; s|@PAGE@|$DATA/page|g; s|@LISTEN@|$LISTEN|g"
        -e "s|@PORT@|$PORT|g; s|@PAGE_PORT@|$PAGE_PORT|g; s|@SAMPLE@|$(awk "BEGIN { print $SAMPLE * 100 }")|g")
    [[ $SAMPLE == 1 ]] || expressions+=(-e '/; #sample:$/d; s/#sample://')
    sed "${expressions[@]}" "$RUN/nginx.conf.in" >"$RUN/nginx.conf"
    start QUIT nginx -p "$RUN" -e stderr -c "$RUN/nginx.conf" -g 'daemon off;'
    nginx=$!
}

# Workers of a killed nginx go on with the old file and keep the port.
restart_nginx() {
    [[ -z $nginx ]] || { say "nginx has ended: starting it again"; kill -KILL -- "-$nginx" 2>/dev/null || true; }
    rotate
    start_nginx
}

# Gives the current log file to the loader. Without nginx the signal goes nowhere.
rotate() {
    [[ -s $DATA/hits/hits.log ]] || return 0
    mv -- "$DATA/hits/hits.log" "$DATA/hits/hits-$(date +%s%N).log"
    ! running "$nginx" || kill -USR1 "$nginx"
}

start_postgres() {
    [[ -z $postgres ]] || say "the database has ended: starting it again"
    start INT "$programs/postgres" -D "$DATA/database" -k "$RUN" -c listen_addresses= -c wal_level=minimal \
        -c max_wal_senders=0 -c log_min_error_statement=panic -c log_error_verbosity=terse >>"$DATA/postgres.log" 2>&1
    postgres=$!
}

prepare_database() {
    unset "${!PG@}"
    export PGHOST=$RUN PGPORT=5432 PGUSER=collector PGDATABASE=postgres
    [[ ! -d $DATA/database ]] || return 0
    rm -rf -- "$DATA/database.new"
    "$programs/initdb" -D "$DATA/database.new" -U collector -A trust -E UTF8 --locale=C >"$DATA/postgres.log" 2>&1 ||
        { cat "$DATA/postgres.log" >&2 && exit 1; }
    mv -- "$DATA/database.new" "$DATA/database"
}

# A restarted database needs a moment; a remote one may be away for longer. Hits are taken all the while.
apply_schema() {
    local tries
    for ((tries = 0; tries < 100; ++tries)); do
        [[ -z $stopping ]] || return 1
        ! pg_isready -q || break
        pause 0.1
    done
    finish psql -XqAtw -v VERBOSITY=terse -o /dev/null -f "$RUN/schema.sql" && schema=yes
}

supervise() {
    running "$nginx" || restart_nginx
    [[ -z $own_database ]] || running "$postgres" || start_postgres
}

count() {
    [[ -n $schema ]] || apply_schema || { say "the database is not ready: hits wait in files"; return 0; }
    finish "${load[@]}" || true
    finish "${report[@]}" || true
    [[ -z $announced && -e $DATA/page/index.html ]] || return 0
    say "page at http://127.0.0.1:$PAGE_PORT/"
    announced=yes
}

# nginx answers and writes what it has taken; what is counted within 30 s is counted, the rest waits for the next start.
stop() {
    trap '' TERM INT HUP
    stopping=''
    # The group, too: workers outlive a killed master.
    [[ -z $nginx ]] || { kill -QUIT "$nginx" && wait_for 10 "$nginx"; kill -KILL -- "-$nginx"; } 2>/dev/null || true
    nginx=''
    rotate
    [[ -z $schema ]] || { timeout 30 "${load[@]}" && timeout 30 "${report[@]}"; } || true
    running "$postgres" && { kill -INT "$postgres"; wait_for 30 "$postgres" || kill -QUIT "$postgres"; }
    rm -rf -- "$RUN" "$DATA/run"
}

# All children inherit it: a process that holds it after a kill still uses the folder.
exec {lock}>"$DATA/lock"
flock -w 20 "$lock" || { say "another collector runs in $DATA"; rm -rf -- "$RUN"; exit 1; }
trap stop EXIT
# What a killed collector left behind. The link also shows others the way to the database's socket.
previous=$(readlink "$DATA/run" || true)
[[ $previous != /tmp/ostrel-collector.* ]] || rm -rf -- "$previous"
ln -sfn -- "$RUN" "$DATA/run"
trap 'stopping=yes' TERM INT HUP
ulimit -n "$(ulimit -Hn)"
mkdir -p -- "$DATA/hits" "$DATA/page"
own_database=yes
[[ -z ${PGHOST-}${PGHOSTADDR-}${PGSERVICE-} ]] || own_database=''

rotate
start_nginx
pause 0.3
running "$nginx" || { say "nginx did not start"; exit 1; }
say "hits to http://$LISTEN:$PORT/collect"
[[ -z $own_database ]] || prepare_database
while [[ -z $stopping ]]; do
    supervise
    rotate
    count
    for ((second = 0; second < INTERVAL; ++second)); do
        [[ -z $stopping ]] || break
        supervise
        pause 1
    done
done
