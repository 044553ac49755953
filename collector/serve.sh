#!/usr/bin/env bash
# Runs nginx and the database, and loads the received hits, until it is interrupted. run.sh starts this script as the
# owner of the data folder. Settings are environment variables, filters are arguments.
set -euo pipefail
# Every background process leads its own process group. So only this script receives Ctrl-C, and it can kill a group.
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

# start SIGNAL COMMAND...: runs the command in the background. If this script is killed, the kernel sends the command
# SIGNAL.
start() {
    local signal=$1
    shift
    setpriv --pdeathsig "$signal" -- "$@" </dev/null &
}

# finish COMMAND...: runs the command and waits for it. Kills it if the collector must stop.
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

# wait_for SECONDS PID: waits until the process has exited. Fails after SECONDS.
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

# After a kill of nginx, its workers still write to the old log file and use the port, so they are killed too.
restart_nginx() {
    [[ -z $nginx ]] || { say "nginx has ended: starting it again"; kill -KILL -- "-$nginx" 2>/dev/null || true; }
    rotate
    start_nginx
}

# Renames the current log file for the loader. The signal tells nginx to open a new one.
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

# Waits up to ten seconds for the database and creates the schema. Hits are received meanwhile, and also if this fails.
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

# nginx answers its open requests and writes its log. Hits that are not loaded within 30 s are loaded at the next start.
stop() {
    trap '' TERM INT HUP
    stopping=''
    # Also kills the group, because workers stay alive if the master process was killed.
    [[ -z $nginx ]] || { kill -QUIT "$nginx" && wait_for 10 "$nginx"; kill -KILL -- "-$nginx"; } 2>/dev/null || true
    nginx=''
    rotate
    [[ -z $schema ]] || { timeout 30 "${load[@]}" && timeout 30 "${report[@]}"; } || true
    running "$postgres" && { kill -INT "$postgres"; wait_for 30 "$postgres" || kill -QUIT "$postgres"; }
    rm -rf -- "$RUN" "$DATA/run"
}

# All child processes inherit the lock. If this script is killed, the folder stays locked until they have exited.
exec {lock}>"$DATA/lock"
flock -w 20 "$lock" || { say "another collector runs in $DATA"; rm -rf -- "$RUN"; exit 1; }
trap stop EXIT
# Removes the files of a killed collector. DATA/run is a link to the folder with the database's socket.
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
# nginx writes this file once it has opened its ports. If a port is in use, nginx exits after 2.5 seconds.
until [[ -e $RUN/nginx.pid ]] || ! running "$nginx"; do pause 0.1; done
[[ -e $RUN/nginx.pid ]] || { say "nginx did not start"; exit 1; }
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
