// Makes the tables of the page searchable and sortable, and draws the charts. Anyone can send names, so names are added
// to the page as text only, never as HTML.
"use strict";
(() => {
    const report = JSON.parse(document.getElementById("data").textContent);
    const periods = [report, ...report.earlier];
    const element = id => document.getElementById(id);
    const format = number => number == null ? "–" : number.toLocaleString("en");
    const nameOf = feature => feature.category + (feature.label ? "." + feature.label : "");
    const keyOf = feature => JSON.stringify([feature.product, feature.category, feature.label]);
    const charts = {};
    let selected = null, sorting = {column: "machines", descending: true};

    function make(tag, text, className) {
        const node = document.createElement(tag);
        if (text != null)
            node.append(text);
        if (className)
            node.className = className;
        return node;
    }

    function cell(content, className) {
        if (typeof content === "string")
            content = make("bdi", content);
        return make("td", typeof content === "object" && content ? content : format(content),
                    className ?? (content instanceof Node ? "" : "number"));
    }

    function fill(id, cells) {
        element(id).tBodies[0].replaceChildren(...cells.map(row => {
            const line = make("tr");
            line.append(...row);
            return line;
        }));
    }

    const period = () => periods[element("period").selectedIndex];
    const ofProduct = items => items.filter(item => item.product === element("product").value);
    const matches = text => text.toLowerCase().includes(element("search").value.trim().toLowerCase());

    function machinesOf(features, feature) {
        return features.get(keyOf(feature))?.machines ?? null;
    }

    // The features of the chosen product and period, with the calculated columns of the table.
    function rows() {
        const before = periods[element("period").selectedIndex + 1];
        const earlier = new Map((before?.features ?? []).map(feature => [keyOf(feature), feature]));
        const all = ofProduct(period().products)[0]?.machines;
        return ofProduct(period().features).map(feature => ({
            ...feature, name: nameOf(feature), share: all ? Math.min(1, feature.machines / all) : null,
            before: machinesOf(earlier, feature),
        }));
    }

    function sorted(features) {
        const {column, descending} = sorting;
        const value = feature => feature[column] ?? -1;
        const order = (a, b) => typeof value(a) === "string" ? value(a).localeCompare(value(b)) : value(a) - value(b);
        return features.sort((a, b) => descending ? order(b, a) : order(a, b));
    }

    function shareCell(share) {
        if (share == null)
            return cell(null);
        const meter = make("meter");
        meter.value = share;
        meter.setAttribute("aria-hidden", "true");
        const node = make("td", Math.round(share * 100) + " % ", "number");
        node.append(meter);
        return node;
    }

    function featureRow(feature) {
        const button = make("button", make("bdi", feature.name));
        button.addEventListener("click", () => select(feature));
        const versions = feature.versions.map(v => `${v.version} (${format(v.machines)})`).join(", ");
        return [cell(feature.product, "product"), cell(button, "name"), cell(feature.machines),
                shareCell(feature.share), cell(feature.before, "number wide"), cell(feature.regular_machines, "number wide"),
                cell(feature.hits, "number wide"), cell(versions, "wide")];
    }

    function showFeatures() {
        const shown = sorted(rows()).filter(feature => matches(feature.name));
        fill("features", shown.map(featureRow));
        [...element("features").tBodies[0].rows].forEach((line, index) => {
            if (keyOf(shown[index]) === selected)
                line.setAttribute("aria-current", "true");
        });
        element("features").caption.textContent =
            `From ${period().from} to ${period().to}: ${shown.length} features. ` +
            "“Before”: machines in the 30 days before. “–”: no number, or too few machines to show it.";
    }

    function showOthers() {
        fill("unused", ofProduct(period().unused).filter(item => matches(item.name))
            .map(item => [cell(item.product, "product"), cell(item.name)]));
        fill("installations", ofProduct(period().installations)
            .map(item => [cell(item.product, "product"), cell(item.os), cell(item.machines),
                          cell(item.regular_machines)]));
        const product = ofProduct(period().products)[0];
        const facts = {"Machines": product?.machines, "Regular users": product?.regular_machines,
                       "Features used": rows().length, "Listed names unused": ofProduct(period().unused).length};
        element("summary").replaceChildren(...Object.entries(facts).map(([name, value]) => {
            const pair = make("div");
            pair.append(make("dt", name), make("dd", format(value)));
            return pair;
        }));
    }

    const color = name => getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim();
    const shorten = text => text.length > 28 ? text.slice(0, 27) + "…" : text;

    function draw(id, type, labels, datasets, options, description) {
        charts[id]?.destroy();
        element(id).setAttribute("aria-label", description);
        const axis = {ticks: {color: color("quiet")}, grid: {color: color("line")}, beginAtZero: true};
        charts[id] = new Chart(element(id), {
            type, data: {labels, datasets},
            options: {
                animation: false, maintainAspectRatio: false, ...options,
                scales: {x: axis, y: {...axis}, ...(datasets.length > 1 ? {hits: {...axis, position: "right"}} : {})},
                plugins: {legend: {display: datasets.length > 1, labels: {color: color("text")}}},
            },
        });
    }

    const line = (label, data, name, more) => ({
        label, data, borderColor: color(name), backgroundColor: color(name), borderWidth: 2, pointRadius: 2,
        maxBarThickness: 28, ...more});

    function showRanking() {
        const top = rows().sort((a, b) => b.machines - a.machines).slice(0, 15);
        draw("most", "bar", top.map(feature => shorten(feature.name)),
             [line("machines", top.map(feature => feature.machines), "accent")], {indexAxis: "y"},
             "Bar chart: machines for each of the 15 most used features. The table below has the figures.");
    }

    function showDetail() {
        const feature = rows().find(item => keyOf(item) === selected);
        element("detail").hidden = !feature;
        if (!feature)
            return;
        element("name").textContent = feature.name;
        const latest = report.features.find(item => keyOf(item) === selected);
        const days = (latest?.days ?? []).filter(day => day[0] !== "(other)");
        const months = periods.map(item =>
            [item.from + " – " + item.to, item.features.find(each => keyOf(each) === selected)]).reverse();
        draw("days", "line", days.map(day => day[0]),
             [line("machines", days.map(day => day[2]), "accent"),
              line("hits", days.map(day => day[1]), "second", {yAxisID: "hits", borderDash: [5, 3]})], {},
             "Line chart: machines and hits on each of the last 30 days. The table of figures has the values.");
        draw("months", "bar", months.map(month => month[0].slice(0, 10)),
             [line("machines", months.map(month => month[1]?.machines ?? null), "accent")], {},
             "Bar chart: machines in each period of 30 days, labelled with its first day. " +
             "The table of figures has the values.");
        fill("versions", feature.versions.map(item => [cell(item.version), cell(item.machines)]));
        fill("figures", [...(latest?.days ?? []).map(day => [cell(day[0]), cell(day[2]), cell(day[1])]),
                         ...months.map(([name, item]) => [cell(name), cell(item?.machines), cell(item?.hits)])]);
    }

    function select(feature) {
        selected = keyOf(feature);
        showFeatures();
        showDetail();
        element("detail").scrollIntoView({block: "nearest"});
    }

    function showAll() {
        const features = rows();
        if (!features.some(feature => keyOf(feature) === selected))
            selected = features.length ? keyOf(features[0]) : null;
        showFeatures();
        showOthers();
        showRanking();
        showDetail();
    }

    function makeSortable() {
        const columns = [, "name", "machines", "share", "before", "regular_machines", "hits"];
        [...element("features").tHead.rows[0].cells].forEach((head, index) => {
            const column = columns[index];
            if (!column)
                return;
            const button = make("button", head.textContent);
            head.replaceChildren(button);
            const mark = () => head.setAttribute("aria-sort", sorting.column !== column ? "none" :
                                                 sorting.descending ? "descending" : "ascending");
            const show = () => {
                mark();
                button.textContent = button.textContent.replace(/ [▲▼]$/, "") +
                    (sorting.column !== column ? "" : sorting.descending ? " ▼" : " ▲");
            };
            button.addEventListener("click", () => {
                sorting = {column, descending: sorting.column === column ? !sorting.descending : column !== "name"};
                document.dispatchEvent(new Event("sorted"));
                showFeatures();
            });
            document.addEventListener("sorted", show);
            show();
        });
    }

    function age(time) {
        const minutes = Math.round((Date.now() - Date.parse(time)) / 60000);
        return minutes < 120 ? `${minutes} min ago` : minutes < 2880 ? `${Math.round(minutes / 60)} h ago`
                                                    : `${Math.round(minutes / 1440)} days ago`;
    }

    function showFreshness() {
        const warnings = [];
        if (Date.now() - Date.parse(report.generated) > (3 * report.interval + 60) * 1000)
            warnings.push(`This page was updated ${age(report.generated)}: is the collector running?`);
        if (report.backlog_files > 2)
            warnings.push(`${report.backlog_files} log files are not loaded yet: the database is unavailable or too slow.`);
        if (report.disk.free < report.disk.total / 10)
            warnings.push("The disk is more than 90 % full. If it is full, hits are lost.");
        element("warnings").textContent = warnings.join(" ");
        element("warnings").hidden = !warnings.length;
        element("generated").textContent = age(report.generated);
        if (report.last_load)
            element("loaded").textContent = age(report.last_load);
    }

    function start() {
        const products = new Set(periods.flatMap(item => [...item.products, ...item.unused].map(each => each.product)));
        element("product").append(...[...products].map(product => new Option(product, product)));
        element("period").append(...periods.map((item, index) =>
            new Option((index ? "" : "Last 30 days: ") + `${item.from} – ${item.to}`)));
        document.body.classList.add("live");
        document.querySelectorAll(".controls, .scripted").forEach(node => { node.hidden = false; });
        for (const id of ["product", "period"])
            element(id).addEventListener("change", showAll);
        element("search").addEventListener("input", () => { showFeatures(); showOthers(); });
        matchMedia("(prefers-color-scheme: dark)").addEventListener("change", showAll);
        makeSortable();
        showFreshness();
        showAll();
        setInterval(showFreshness, 60000);
    }

    start();
})();
