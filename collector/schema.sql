-- Tables with counts and HyperLogLog sketches for each day, and the functions that add a log file to them.
-- psql runs this file at every start. It creates missing tables and upgrades an older schema.
\set ON_ERROR_STOP on
BEGIN;
SET LOCAL client_min_messages = warning;
SET LOCAL check_function_bodies = off; -- some functions read temporary tables
SELECT pg_advisory_xact_lock(hashtext('collector.schema'));
CREATE EXTENSION IF NOT EXISTS hll;
CREATE SCHEMA IF NOT EXISTS collector;
SET LOCAL search_path = collector, public;
CREATE TABLE IF NOT EXISTS setting (name text PRIMARY KEY, value text NOT NULL);

-- To change the tables, add the step "IF stored < 2 THEN ..." after the first step and set "newest" to 2.
DO $$
DECLARE
    newest CONSTANT int := 1;
    stored int := coalesce((SELECT value::int FROM setting WHERE name = 'schema'), 0);
BEGIN
    IF stored > newest THEN
        RAISE EXCEPTION 'the database has schema %, newer than this collector''s %: update the collector',
            stored, newest;
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
        CREATE TABLE period_cache (first date, last date, threshold int, body json NOT NULL,
            PRIMARY KEY (first, last, threshold));
    END IF;
    INSERT INTO setting VALUES ('schema', newest) ON CONFLICT (name) DO UPDATE SET value = excluded.value;
END $$;

-- A machine that is hashed with two keys would be counted twice.
CREATE OR REPLACE FUNCTION check_key(fingerprint text) RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    INSERT INTO setting VALUES ('key', fingerprint) ON CONFLICT DO NOTHING;
    IF (SELECT value FROM setting WHERE name = 'key') <> fingerprint THEN
        RAISE EXCEPTION 'the key is not the one that this database was filled with';
    END IF;
END $$;

-- Temporary tables are not written to the write-ahead log, so the log contains no hashes of machines.
CREATE OR REPLACE FUNCTION stage() RETURNS void LANGUAGE plpgsql AS $$
BEGIN
    CREATE TEMP TABLE staged_hit (kind int, machine bigint, regular boolean) ON COMMIT DROP;
    CREATE TEMP TABLE staged_kind (
        kind int, day date, product text, category text, label text, version text, os text) ON COMMIT DROP;
    CREATE TEMP TABLE staged_refusal (day date, reason text, hits bigint) ON COMMIT DROP;
END $$;

-- Keeps 1,000 different texts of the column target for each combination of the columns in scope. Texts that the table
-- known_in already has on that day come first, then texts with most hits. All others become "(other)".
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

-- Adds the staged rows to the tables. The lock lets one receiver merge at a time, which prevents deadlocks.
-- Hash aggregation is off: it would keep a sketch of full size for every group in memory.
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
    DELETE FROM period_cache WHERE last >= (SELECT min(day) FROM counted);
    INSERT INTO sample_day AS t SELECT DISTINCT day, rate FROM counted
        ON CONFLICT (day) DO UPDATE SET rate = least(t.rate, excluded.rate);
END $$;

-- The first day that is stored. Days are in UTC.
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
    DELETE FROM period_cache WHERE (current_date - last) % 30 <> 0 OR last < first_day();
END $$;

-- Folds small cells. A cell is a name in a group, with its hits and machines. In each group, cells with fewer machines
-- than the threshold become "(other)". If "(other)" has fewer machines than the threshold too, the next smallest cells
-- are added until it reaches the threshold. Otherwise a reader could compute a hidden cell from a shown sum.
CREATE OR REPLACE FUNCTION fold(threshold int)
RETURNS TABLE (grp text[], name text[], shown text[], hits bigint, machines hll, regular hll) LANGUAGE sql AS $$
    WITH sized AS (SELECT *, hll_cardinality(c.machines) AS size FROM cell c),
    joined AS (
        SELECT *, min(size) OVER (PARTITION BY s.grp) AS smallest, row_number() OVER by_size AS place,
               hll_cardinality(hll_union_agg(s.machines) OVER by_size) AS size_up_to_here
        FROM sized s WINDOW by_size AS (PARTITION BY s.grp ORDER BY s.size, s.name ROWS UNBOUNDED PRECEDING)),
    judged AS (
        SELECT *, size < threshold OR smallest < threshold
                  AND lag(size_up_to_here) OVER (PARTITION BY j.grp ORDER BY j.place) < threshold AS is_folded
        FROM joined j)
    SELECT j.grp, j.name, CASE WHEN is_folded THEN ARRAY['(other)', ''] ELSE j.name END, j.hits, j.machines, j.regular
    FROM judged j
$$;

-- The cells after folding. Each has at least as many machines as the threshold.
CREATE OR REPLACE FUNCTION shown(threshold int)
RETURNS TABLE (grp text[], name text[], hits bigint, machines bigint, regular bigint) LANGUAGE sql AS $$
    SELECT grp, shown, hits, round(machines)::bigint,
           CASE WHEN regular >= threshold AND machines - regular >= threshold THEN round(regular)::bigint END
    FROM (SELECT f.grp, f.shown, sum(f.hits)::bigint AS hits, hll_cardinality(hll_union_agg(f.machines)) AS machines,
                 hll_cardinality(hll_union_agg(f.regular)) AS regular
          FROM fold(threshold) f GROUP BY f.grp, f.shown) AS total
    WHERE machines >= threshold
$$;

-- The report for the days from first to last. If last is today, it also has figures for each day. report.py uses "used"
-- to find listed names that nobody uses.
CREATE OR REPLACE FUNCTION compute_period(first date, last date, threshold int) RETURNS json LANGUAGE plpgsql
SET enable_hashagg = off SET work_mem = '64MB' AS $$
DECLARE
    body jsonb;
BEGIN
    CREATE TEMP TABLE cell (grp text[], name text[], hits bigint, machines hll, regular hll) ON COMMIT DROP;
    INSERT INTO cell SELECT ARRAY[product], ARRAY[category, label], sum(hits), hll_union_agg(machines),
        hll_union_agg(regular) FROM feature_day WHERE day BETWEEN first AND last GROUP BY product, category, label;
    body := jsonb_build_object('from', first, 'to', last,
        'used', (SELECT coalesce(jsonb_agg(DISTINCT jsonb_build_array(grp[1], name[1])), '[]') FROM cell));
    CREATE TEMP TABLE feature ON COMMIT DROP AS SELECT * FROM shown(threshold);
    CREATE TEMP TABLE feature_name ON COMMIT DROP AS
        SELECT grp[1] AS product, name[1] AS category, name[2] AS label, grp || shown AS grp FROM fold(threshold);

    TRUNCATE cell;
    INSERT INTO cell SELECT n.grp, ARRAY[day::text, ''], sum(hits), hll_union_agg(machines), hll_empty(12, 5, 0, 1)
        FROM feature_day JOIN feature_name n USING (product, category, label)
        WHERE day BETWEEN first AND last AND last = current_date GROUP BY n.grp, day;
    CREATE TEMP TABLE feature_days ON COMMIT DROP AS
        SELECT grp, jsonb_agg(jsonb_build_array(name[1], hits, machines) ORDER BY name[1] = '(other)', name) AS days
        FROM shown(threshold) GROUP BY grp;
    TRUNCATE cell;
    INSERT INTO cell SELECT n.grp, ARRAY[version, ''], 0, hll_union_agg(machines), hll_empty(12, 5, 0, 1)
        FROM version_day JOIN feature_name n USING (product, category, label)
        WHERE day BETWEEN first AND last GROUP BY n.grp, version;
    CREATE TEMP TABLE feature_versions ON COMMIT DROP AS
        SELECT grp, jsonb_agg(jsonb_build_object('version', name[1], 'machines', machines)
                              ORDER BY machines DESC, name) AS versions FROM shown(threshold) GROUP BY grp;
    body := body || jsonb_build_object('features', (
        SELECT coalesce(jsonb_agg(jsonb_build_object('product', f.grp[1], 'category', f.name[1],
            'label', nullif(f.name[2], ''), 'hits', hits, 'machines', machines, 'regular_machines', regular,
            'versions', coalesce(versions, '[]'), 'days', coalesce(days, '[]'))
            ORDER BY machines DESC, f.grp, f.name), '[]')
        FROM feature f LEFT JOIN feature_days d ON d.grp = f.grp || f.name
                       LEFT JOIN feature_versions v ON v.grp = f.grp || f.name));

    -- Regular users are shown for all systems of a product or for none. Otherwise a reader could compute a hidden
    -- number from the product's total.
    TRUNCATE cell;
    INSERT INTO cell SELECT ARRAY[product], ARRAY[os, ''], 0, hll_union_agg(machines), hll_union_agg(regular)
        FROM installation_day WHERE day BETWEEN first AND last GROUP BY product, os;
    body := body || jsonb_build_object('installations', (
        SELECT coalesce(jsonb_agg(jsonb_build_object('product', grp[1], 'os', name[1], 'machines', machines,
            'regular_machines', CASE WHEN all_shown THEN regular END) ORDER BY machines DESC, grp, name), '[]')
        FROM (SELECT *, bool_and(regular IS NOT NULL) OVER (PARTITION BY grp) AS all_shown FROM shown(threshold)) s));
    body := body || jsonb_build_object('products', (
        SELECT coalesce(jsonb_agg(jsonb_build_object('product', product, 'machines', round(machines),
            'regular_machines', CASE WHEN regular >= threshold AND machines - regular >= threshold
                                THEN round(regular) END) ORDER BY machines DESC, product), '[]')
        FROM (SELECT grp[1] AS product, hll_cardinality(hll_union_agg(cell.machines)) AS machines,
                     hll_cardinality(hll_union_agg(cell.regular)) AS regular FROM cell GROUP BY grp) AS total
        WHERE machines >= threshold));
    DROP TABLE cell, feature, feature_name, feature_days, feature_versions;
    RETURN body;
END $$;

-- compute_period with a cache. A merge deletes each cached period that ends on or after the first merged day.
CREATE OR REPLACE FUNCTION period(first_day date, last_day date, least_machines int) RETURNS json LANGUAGE plpgsql AS $$
BEGIN
    -- Prevents a merge during the computation. Otherwise an obsolete result could be cached.
    PERFORM pg_advisory_xact_lock_shared(hashtext('collector.merge'));
    INSERT INTO period_cache
        SELECT first_day, last_day, least_machines, compute_period(first_day, last_day, least_machines)
        WHERE NOT EXISTS (SELECT FROM period_cache
                          WHERE (first, last, threshold) = (first_day, last_day, least_machines))
        ON CONFLICT DO NOTHING;
    RETURN (SELECT body FROM period_cache WHERE (first, last, threshold) = (first_day, last_day, least_machines));
END $$;
COMMIT;
