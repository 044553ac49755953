-- Counts and sketches for each day, and the functions that add a log file to them.
-- Run by psql at every start: creates what is missing and brings an older schema up to date.
\set ON_ERROR_STOP on
BEGIN;
SET LOCAL client_min_messages = warning;
SELECT pg_advisory_xact_lock(hashtext('collector.schema'));
CREATE EXTENSION IF NOT EXISTS hll;
CREATE SCHEMA IF NOT EXISTS collector;
SET LOCAL search_path = collector, public;
CREATE TABLE IF NOT EXISTS setting (name text PRIMARY KEY, value text NOT NULL);

-- Upgrade steps: "IF stored < 2 THEN ..." follows the first one, and "newest" becomes 2.
DO $$
DECLARE
    newest CONSTANT int := 1;
    stored int := coalesce((SELECT value::int FROM setting WHERE name = 'schema'), 0);
BEGIN
    IF stored > newest THEN
        RAISE EXCEPTION 'the database has schema %, newer than this collector''s %: update the collector', stored, newest;
    END IF;
    IF stored < 1 THEN
        CREATE TABLE feature_day (
            day date, product text, category text, label text,
            hits bigint NOT NULL, machines hll NOT NULL, regular hll NOT NULL,
            PRIMARY KEY (day, product, category, label));
        CREATE TABLE version_day (
            day date, product text, category text, label text, version text,
            machines hll NOT NULL,
            PRIMARY KEY (day, product, category, label, version));
        CREATE TABLE installation_day (
            day date, product text, os text,
            machines hll NOT NULL, regular hll NOT NULL,
            PRIMARY KEY (day, product, os));
        CREATE TABLE refused_day (day date, reason text, hits bigint NOT NULL, PRIMARY KEY (day, reason));
        CREATE TABLE sample_day (day date PRIMARY KEY, rate real NOT NULL);
        CREATE TABLE loaded_file (
            receiver text, content text, loaded timestamptz NOT NULL DEFAULT now(),
            PRIMARY KEY (receiver, content));
    END IF;
    INSERT INTO setting VALUES ('schema', newest) ON CONFLICT (name) DO UPDATE SET value = excluded.value;
END $$;

-- One machine hashed with two keys would count as two.
CREATE OR REPLACE FUNCTION check_key(fingerprint text) RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    INSERT INTO setting VALUES ('key', fingerprint) ON CONFLICT DO NOTHING;
    IF (SELECT value FROM setting WHERE name = 'key') <> fingerprint THEN
        RAISE EXCEPTION 'the key is not the one that this database was filled with';
    END IF;
END $$;

-- Temporary tables are not in the write-ahead log, so no machine's hash gets there.
CREATE OR REPLACE FUNCTION stage() RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    CREATE TEMP TABLE staged_hit (kind int, machine bigint, regular boolean) ON COMMIT DROP;
    CREATE TEMP TABLE staged_kind (
        kind int, day date, product text, category text, label text, version text, os text) ON COMMIT DROP;
    CREATE TEMP TABLE staged_refusal (day date, reason text, hits bigint) ON COMMIT DROP;
END $$;

-- Keeps 1,000 different texts of a column for each combination of the scope's columns: those that the table of the
-- day knows, then those with most hits. The others become "(other)".
CREATE OR REPLACE FUNCTION cap(target text, scope text[], known_in regclass) RETURNS void LANGUAGE plpgsql AS $$
DECLARE
    columns text := array_to_string(scope, ', ');
    same text := (SELECT string_agg(format('c.%1$I = r.%1$I', name), ' AND ') FROM unnest(scope || target) AS name);
BEGIN
    EXECUTE format($sql$
        UPDATE counted c SET %1$I = '(other)' FROM (
            SELECT *, row_number() OVER (PARTITION BY %2$s ORDER BY known DESC, hits DESC, %1$I) AS place FROM (
                SELECT %2$s, %1$I, bool_or(known) AS known, sum(hits) AS hits FROM (
                    SELECT %2$s, %1$I, false AS known, hits FROM counted
                    UNION ALL
                    SELECT DISTINCT %2$s, %1$I, true, 0 FROM %3$s WHERE day IN (SELECT DISTINCT day FROM counted)
                ) AS occurrence WHERE %1$I <> '(other)' GROUP BY %2$s, %1$I
            ) AS text
        ) AS r WHERE r.place > 1000 AND %4$s $sql$, target, columns, known_in, same);
END $$;

-- Adds the staged rows to the tables. Receivers take turns, so no two of them wait for each other's rows.
-- Grouping sorts: a hash table would hold a sketch of full size for every group.
CREATE OR REPLACE FUNCTION merge(rate real) RETURNS void LANGUAGE plpgsql
SET enable_hashagg = off SET work_mem = '64MB' AS $$
BEGIN
    PERFORM pg_advisory_xact_lock(hashtext('collector.merge'));
    CREATE TEMP TABLE counted ON COMMIT DROP AS
        SELECT day, product, category, label, version, os, hits, machines, regular FROM staged_kind JOIN (
            SELECT kind, count(*) AS hits,
                   hll_add_agg(machine::hll_hashval, 12, 5, 0, 1) AS machines,
                   coalesce(hll_add_agg(machine::hll_hashval, 12, 5, 0, 1) FILTER (WHERE regular),
                            hll_empty(12, 5, 0, 1)) AS regular
            FROM staged_hit GROUP BY kind) AS sketch USING (kind);
    PERFORM cap('product', ARRAY['day'], 'feature_day');
    PERFORM cap('label', ARRAY['day', 'product', 'category'], 'feature_day');
    PERFORM cap('version', ARRAY['day', 'product', 'category'], 'version_day');
    PERFORM cap('os', ARRAY['day', 'product'], 'installation_day');

    INSERT INTO feature_day AS t
        SELECT day, product, category, label, sum(hits), hll_union_agg(machines), hll_union_agg(regular)
        FROM counted GROUP BY 1, 2, 3, 4
        ON CONFLICT (day, product, category, label) DO UPDATE SET hits = t.hits + excluded.hits,
            machines = t.machines || excluded.machines, regular = t.regular || excluded.regular;
    INSERT INTO version_day AS t
        SELECT day, product, category, label, version, hll_union_agg(machines)
        FROM counted GROUP BY 1, 2, 3, 4, 5
        ON CONFLICT (day, product, category, label, version)
        DO UPDATE SET machines = t.machines || excluded.machines;
    INSERT INTO installation_day AS t
        SELECT day, product, os, hll_union_agg(machines), hll_union_agg(regular) FROM counted GROUP BY 1, 2, 3
        ON CONFLICT (day, product, os) DO UPDATE SET
            machines = t.machines || excluded.machines, regular = t.regular || excluded.regular;
    INSERT INTO refused_day AS t SELECT day, reason, sum(hits) FROM staged_refusal GROUP BY 1, 2
        ON CONFLICT (day, reason) DO UPDATE SET hits = t.hits + excluded.hits;
    INSERT INTO sample_day AS t SELECT DISTINCT day, rate FROM counted
        ON CONFLICT (day) DO UPDATE SET rate = least(t.rate, excluded.rate);
END $$;

-- The first day that is kept. Days are those of UTC.
CREATE OR REPLACE FUNCTION first_day() RETURNS date LANGUAGE sql STABLE AS
    $$ SELECT (current_date - interval '13 months')::date $$;

CREATE OR REPLACE FUNCTION retire() RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    DELETE FROM feature_day WHERE day < first_day();
    DELETE FROM version_day WHERE day < first_day();
    DELETE FROM installation_day WHERE day < first_day();
    DELETE FROM refused_day WHERE day < first_day();
    DELETE FROM sample_day WHERE day < first_day();
    DELETE FROM loaded_file WHERE loaded < first_day();
END $$;
COMMIT;
