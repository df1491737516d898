// The charts and tables of the page, made from cells. A chart has `data` for drawings.js, or none, and
// `rows` of formatted texts for its table.
import { group, root, sortBy } from "./facts.js";
import * as texts from "./texts.js";

const MOST_BARS = 12;
const MOST_PARTS = 6;
const MOST_LINES = 6;
const MOST_ROWS = 200;
const OTHERS = -1; // in place of a file

const cut = (rows, reports) => ({
  rows: rows.slice(0, MOST_ROWS),
  rest: rows.length > MOST_ROWS
    ? `${texts.count(rows.length - MOST_ROWS)} more, with ` +
      `${texts.plural(reports.slice(MOST_ROWS).reduce((sum, n) => sum + n, 0), "report")} in all`
    : "",
});

// Makes labels from names. Different names get different labels, even if they look alike.
function labels(form) {
  const made = new Map();
  const taken = new Map();
  return (name) => {
    const key = JSON.stringify(name);
    if (!made.has(key)) {
      const label = form(name);
      const times = (taken.get(label) ?? 0) + 1;
      taken.set(label, times);
      made.set(key, times === 1 ? label : `${label} (${times})`);
    }
    return made.get(key);
  };
}

function ranked(cells, nameOf) {
  const groups = group(cells, (cell) => [nameOf(cell)]);
  return sortBy(groups, ({ key, sum }) => [-sum.reports, key[0]]).map(({ key }) => key[0]);
}

// The most frequent names. One more takes no more space than a bar that says so.
function chosen(names, most) {
  return names.length <= most + 1 ? [names, 0] : [names.slice(0, most), names.length - most];
}

// Data of a chart of bars that are divided into parts. `order` lists all parts, if it is known; with
// `all`, the legend shows them even if they are absent.
export function bars(cells, { bar, part, barForm = texts.display, partForm = texts.display, order,
                              all = false }) {
  const [shownBars, otherBars] = chosen(ranked(cells, bar), MOST_BARS);
  const [shownParts, otherParts] = order ? [order, 0] : chosen(ranked(cells, part), MOST_PARTS);
  const barLabel = labels(barForm);
  const partLabel = labels(partForm);
  const barNames = new Map(shownBars.map((name) => [JSON.stringify(name), barLabel(name)]));
  const partNames = new Map(shownParts.map((name) => [JSON.stringify(name), partLabel(name)]));
  const restOfBars = `${texts.count(otherBars)} others`;
  const restOfParts = `${texts.count(otherParts)} others`;
  const rows = group(cells, (cell) => [
    barNames.get(JSON.stringify(bar(cell))) ?? restOfBars,
    partNames.get(JSON.stringify(part(cell))) ?? restOfParts]);
  const reports = new Map(rows.map(({ key, sum }) => [JSON.stringify(key), sum.reports]));
  const allBars = [...barNames.values(), ...(otherBars ? [restOfBars] : [])];
  const present = new Set(rows.map(({ key }) => key[1]));
  const allParts = [...partNames.values(), ...(otherParts ? [restOfParts] : [])]
    .filter((name) => all || present.has(name));
  return {
    bars: allBars,
    others: otherParts ? restOfParts : null,
    parts: allParts,
    rows: allBars.flatMap((barName) => allParts
      .filter((partName) => reports.has(JSON.stringify([barName, partName])))
      .map((partName) => ({ bar: barName, part: partName,
                            reports: reports.get(JSON.stringify([barName, partName])) }))),
  };
}

// All views of the selected cells. `page` has the width of a bin, the domain of time and the names of
// the files; `byFile` divides every chart by file.
class Views {
  constructor(page, cells, byFile) {
    Object.assign(this, { page, cells, byFile, charts: {} });
    this.fileLabel = labels((file) => texts.display(page.files[file]));
    page.files.forEach((_, i) => this.fileLabel(i));
    // The same files in all charts and under every filter, so that each keeps its colour.
    const files = ranked(page.cells, (cell) => cell.file);
    const [mostReports, others] = chosen(files, MOST_PARTS);
    this.shownFiles = [...mostReports].sort((a, b) => a - b);
    this.others = others ? `${texts.count(others)} others` : null;
    if (others) this.shownFiles.push(OTHERS);
    const severities = new Set(this.of("error").map((cell) => cell.severity));
    this.severities = [...severities].sort((a, b) => b - a);
  }

  of(kind) { return this.cells.filter((cell) => cell.kind === kind); }

  // The file of a cell, or OTHERS if it is not one of those with the most reports.
  filePart(cell) { return this.shownFiles.includes(cell.file) ? cell.file : OTHERS; }

  partLabel(file) { return file === OTHERS ? this.others : this.fileLabel(file); }

  add(name, data, rows, reports = []) {
    this.charts[name] = { data, ...cut(rows, reports) };
  }

  // Bars, divided by file if that is asked for.
  bars(cells, options) {
    if (!this.byFile) return bars(cells, options);
    const byFile = { part: (cell) => this.filePart(cell), partForm: (file) => this.partLabel(file),
                     order: this.shownFiles, all: true };
    return { ...bars(cells, { ...options, ...byFile }), others: this.others, partTitle: "File" };
  }

  timelineData(rows, order, all) {
    const present = new Set(rows.map((row) => row.part));
    return { width: this.page.width, domain: this.page.domain, others: all ? this.others : null,
             parts: order.filter((part) => all || present.has(part)), rows };
  }

  // A chart over time with the value `valueOf` of each part and bin, and its table.
  overTime(name, cells, { part, label, order, valueOf, form, ownParts = false, ...data }) {
    const byFile = this.byFile && !ownParts;
    const partOf = byFile ? (cell) => this.filePart(cell) : part;
    const labelOf = byFile ? (file) => this.partLabel(file) : label;
    const ordered = byFile ? this.shownFiles : order;
    const ranks = new Map(ordered.map((each, i) => [JSON.stringify(each), i]));
    const rank = (key) => ranks.get(JSON.stringify(key));
    const end = (start) => start + this.page.width;
    const groups = (of) => group(cells, (cell) => [cell.bin, of(cell)]);
    const drawn = sortBy(groups(partOf).filter(({ key }) => rank(key[1]) !== undefined),
                         ({ key }) => [key[0], rank(key[1])]);
    const rows = drawn.map(({ key, sum }) => ({ start: key[0], end: end(key[0]),
                                                part: labelOf(key[1]), value: valueOf(sum, key[1]) }));
    const tableRanks = new Map(order.map((each, i) => [JSON.stringify(each), i]));
    const tableRank = (key) => tableRanks.get(JSON.stringify(key));
    const table = sortBy(groups(part).filter(({ key }) => tableRank(key[1]) !== undefined),
                         ({ key }) => [key[0], tableRank(key[1])])
      .map(({ key, sum }) => [texts.time(key[0]), texts.time(end(key[0])), label(key[1]),
                              form(valueOf(sum, key[1]))]);
    const left = table.length - MOST_ROWS;
    this.charts[name] = {
      data: { ...data, ...(byFile ? { partTitle: "File", palette: undefined } : {}),
              ...this.timelineData(rows, ordered.map(labelOf), byFile) },
      rows: left > 0 ? table.slice(left) : table,
      rest: left > 0 ? `${texts.count(left)} earlier` : "",
    };
  }

  kinds() {
    const cells = this.cells;
    const titles = [...new Set(cells.map((cell) => cell.title))];
    const groups = group(cells, (cell) => [cell.title]);
    const sums = new Map(groups.map(({ key, sum }) => [key[0], sum]));
    const data = this.byFile
      ? this.bars(cells, { bar: (cell) => cell.title, part: () => "" })
      : { bars: titles, parts: [],
          rows: titles.map((bar) => ({ bar, reports: sums.get(bar).reports,
                                       events: sums.get(bar).events })) };
    this.add("kinds", { kind: "bars", axis: "Reports", ...data }, titles.map((title) => [
      title, texts.count(sums.get(title).reports), texts.count(sums.get(title).events)]));
    this.overTime("kinds-over-time", cells, {
      kind: "timeline", partTitle: "Kind", part: (cell) => cell.title, label: (title) => title,
      order: titles, valueOf: (sum) => sum.reports, form: texts.count });
    const others = sortBy(group(this.of("other"), (cell) => [cell.event]),
                          ({ key, sum }) => [-sum.reports, key[0]]);
    this.add("others", null, others.map(({ key, sum }) => [texts.display(key[0]),
                                                           texts.count(sum.reports)]),
             others.map(({ sum }) => sum.reports));
  }

  errors() {
    const cells = this.of("error");
    const severity = { part: (cell) => cell.severity, partForm: texts.severity,
                       order: this.severities };
    const coloured = { kind: "bars", partTitle: "Severity",
                       ...(this.byFile ? {} : { palette: "severity" }) };
    const times = (sum) => [texts.time(sum.start), texts.time(sum.end)];
    const sessions = (sum) => (this.page.sessions ? texts.count(sum.sessions.size) : "–");
    this.overTime("errors-over-time", cells, {
      kind: "timeline", palette: "severity", partTitle: "Severity", part: (cell) => cell.severity,
      label: texts.severity, order: this.severities, valueOf: (sum) => sum.reports,
      form: texts.count });

    const top = sortBy(group(cells, (cell) => cell.parts),
                       ({ key, sum }) => [-sum.reports, -key[0], ...key]);
    this.add("top-errors", { ...coloured, ...this.bars(cells, {
      ...severity, bar: (cell) => cell.parts,
      barForm: ([, code, name, api]) => texts.display(`${code} ${name}.${api}`) }) },
    top.map(({ key, sum }) => [
      texts.severity(key[0]), ...key.slice(1).map(texts.display), texts.count(sum.reports),
      texts.count(sum.files.size), sessions(sum), ...times(sum)]),
    top.map(({ sum }) => sum.reports));

    const files = sortBy(group(cells, (cell) => [cell.file, cell.severity]),
                         ({ key, sum }) => [-sum.reports, this.page.files[key[0]], -key[1]]);
    this.add("errors-by-file", { ...coloured, palette: "severity", ...bars(cells, {
      ...severity, bar: (cell) => cell.file, barForm: this.fileLabel }) },
    files.map(({ key, sum }) => [texts.display(this.page.files[key[0]]), texts.severity(key[1]),
                                 texts.count(sum.reports), ...times(sum)]),
    files.map(({ sum }) => sum.reports));

    for (const name of ["code", "class", "api"]) {
      const found = sortBy(group(cells, (cell) => [cell[name], cell.severity]),
                           ({ key, sum }) => [-sum.reports, ...key]);
      this.add(`errors-by-${name}`, { ...coloured, ...this.bars(cells, {
        ...severity, bar: (cell) => cell[name] }) },
      found.map(({ key, sum }) => [texts.display(key[0]), texts.severity(key[1]),
                                   texts.count(sum.reports)]),
      found.map(({ sum }) => sum.reports));
    }
  }

  // The key of a line or bar: its name, and its file if charts are divided by file.
  withFile(nameOf) {
    return this.byFile ? (cell) => [nameOf(cell), cell.file] : (cell) => [nameOf(cell)];
  }

  withFileLabel(form) {
    return labels(([name, file]) =>
      (file === undefined ? form(name) : `${form(name)} · ${this.fileLabel(file)}`));
  }

  traces() {
    const cells = this.of("trace");
    const byTime = (keyOf) => sortBy(group(cells, keyOf),
                                     ({ key, sum }) => [-sum.total, ...key]);
    const named = (cell) => cell.api;
    const label = this.withFileLabel(texts.display);
    const drawn = byTime(this.withFile(named)).slice(0, MOST_BARS);
    const found = byTime((cell) => [cell.api]);
    this.add("latencies", { kind: "latencies", rows: drawn.map(({ key, sum }) => ({
      api: label(key), calls: sum.reports, mean: sum.mean, lowest: sum.lowest,
      highest: sum.highest })) },
    found.map(({ key, sum }) => [
      texts.display(key[0]), texts.count(sum.reports), texts.microseconds(sum.mean),
      texts.number(sum.lowest), texts.number(sum.highest), texts.duration(sum.total / 1000)]),
    found.map(({ sum }) => sum.reports));
    this.courses("latencies-over-time", cells, {
      kind: "lines", axis: "Mean latency (µs, logarithmic)", named,
      drawn: drawn.slice(0, MOST_LINES).map(({ key }) => key), label,
      listed: found.slice(0, MOST_LINES).map(({ key }) => key[0]), listedLabel: texts.display,
      valueOf: (sum) => sum.mean, form: texts.microseconds });
  }

  // A chart of lines over time: of the keys `drawn` in the chart, and of the names `listed` in the
  // table.
  courses(name, cells, { named, drawn, label, listed, listedLabel, valueOf, form, ...data }) {
    this.overTime(name, cells, { ...data, part: named, label: listedLabel, order: listed, valueOf,
                                 form, ownParts: true });
    const table = this.charts[name];
    this.overTime(name, cells, { ...data, part: this.withFile(named), label, order: drawn, valueOf,
                                 form, ownParts: true });
    this.charts[name] = { ...this.charts[name], rows: table.rows, rest: table.rest };
  }

  calls() {
    const cells = this.of("call");
    const byFailures = (keyOf) => sortBy(group(cells, keyOf),
                                         ({ key, sum }) => [-sum.failed, -sum.reports, ...key]);
    const named = (cell) => cell.api;
    const label = this.withFileLabel(texts.display);
    const drawn = byFailures(this.withFile(named)).slice(0, MOST_BARS);
    const found = byFailures((cell) => [cell.api]);
    this.add("failure-rates", { kind: "rates", rows: drawn.map(({ key, sum }) => ({
      api: label(key), calls: sum.reports, failed: sum.failed, rate: sum.rate })) },
    found.map(({ key, sum }) => [texts.display(key[0]), texts.count(sum.reports),
                                 texts.count(sum.failed), texts.share(sum.rate)]),
    found.map(({ sum }) => sum.reports));
    const results = sortBy(group(cells, (cell) => [cell.api, cell.result]),
                           ({ key, sum }) => [-sum.reports, ...key]);
    this.add("calls", { kind: "bars", axis: "Calls", partTitle: "Result", ...this.bars(cells, {
      bar: (cell) => cell.api, part: (cell) => cell.result }) },
    results.map(({ key, sum }) => [...key.map(texts.display), texts.count(sum.reports)]),
    results.map(({ sum }) => sum.reports));
    this.courses("failure-rates-over-time", cells, {
      kind: "lines", axis: "Failure rate", share: true, named,
      drawn: drawn.slice(0, MOST_LINES).map(({ key }) => key), label,
      listed: found.slice(0, MOST_LINES).map(({ key }) => key[0]), listedLabel: texts.display,
      valueOf: (sum) => sum.rate, form: texts.share });
  }

  streams() {
    const cells = this.of("stream");
    const found = sortBy(group(cells, (cell) => cell.parts),
                         ({ key, sum }) => [-sum.reports, ...key]);
    this.add("streams", { kind: "bars", partTitle: "Type", ...this.bars(cells, {
      bar: (cell) => cell.event, part: (cell) => cell.type, partForm: texts.streamType }) },
    found.map(({ key: [event, type, format, rate, channels, samples, interleaved], sum }) => [
      texts.display(event), texts.streamType(type), texts.pcmFormat(format), texts.number(rate),
      texts.number(channels), texts.number(samples), texts.yesOrNo(interleaved),
      texts.count(sum.reports)]),
    found.map(({ sum }) => sum.reports));
  }

  audioLatencies() {
    const groups = group(this.of("latency"), () => []);
    this.add("audio-latencies", null, groups.map(({ sum }) => [texts.count(sum.reports),
                                                               texts.count(sum.events)]));
  }

  numbers() {
    const cells = this.of("number");
    const rank = (keyOf) => sortBy(group(cells, keyOf), ({ key, sum }) => [-sum.reports, ...key]);
    const found = rank((cell) => cell.parts);
    this.add("numbers", null, found.map(({ key: [name, method], sum }) => [
      texts.display(name), texts.display(method), texts.number(sum.valueBy(method)),
      texts.count(sum.reports), texts.count(sum.events), texts.number(sum.lowest),
      texts.number(sum.highest), texts.count(sum.notFinite)]),
    found.map(({ sum }) => sum.reports));
    const form = ([name, method]) => `${texts.display(name)} (${texts.display(method)})`;
    const named = (cell) => cell.parts;
    const finite = cells.filter((cell) => cell.weight > 0);
    this.courses("numbers-over-time", finite, {
      kind: "multiples", named, label: this.withFileLabel(form), listedLabel: form,
      drawn: rank(this.withFile(named)).slice(0, MOST_LINES).map(({ key }) => key),
      listed: found.slice(0, MOST_LINES).map(({ key }) => key),
      valueOf: (sum) => sum.valueBy(sum.first.method), form: texts.number });
  }

  texts() {
    const cells = this.of("text");
    const found = sortBy(group(cells, (cell) => cell.parts),
                         ({ key, sum }) => [-sum.reports, ...key]);
    const data = this.bars(cells, { bar: (cell) => cell.parts, part: () => "",
                                    barForm: (key) => key.map(texts.display).join(" = ") });
    this.add("texts", { kind: "bars", ...data, parts: this.byFile ? data.parts : [] },
             found.map(({ key, sum }) => [...key.map(texts.display), texts.count(sum.reports)]),
             found.map(({ sum }) => sum.reports));
  }

  // Values and hints of the tiles.
  tiles() {
    const sum = (cells, valueOf) => cells.reduce((all, cell) => all + valueOf(cell), 0);
    const reports = (cells) => sum(cells, (cell) => cell.reports);
    const errors = this.of("error");
    const bySeverity = (found) => reports(errors.filter((cell) => found(cell.severity)));
    const others = bySeverity((n) => ![1, 2, 3].includes(n));
    const calls = this.of("call");
    const failed = reports(calls.filter((cell) => cell.failed));
    const made = reports(calls);
    const sessions = [...new Set(this.cells.map((cell) => cell.session))]
      .map((i) => this.page.sessions?.[i] ?? "");
    const traced = this.of("trace");
    const apis = new Set(traced.map((cell) => cell.api)).size;
    return {
      reports: [reports(this.cells),
                `in ${texts.plural(sum(this.cells, (cell) => cell.events), "event")}`],
      fatal: [bySeverity((n) => n === 3), ""],
      error: [bySeverity((n) => n === 2), ""],
      warning: [bySeverity((n) => n === 1), others ? `and ${texts.plural(others, "other")}` : ""],
      failed: [failed, made ? `${texts.share(failed / made)} of ${texts.count(made)}` : ""],
      traces: [reports(traced), `of ${texts.plural(apis, "API")}`],
      streams: [reports(this.of("stream")), ""],
      ...(this.page.sessions
        ? { sessions: [sessions.length, `of ${texts.plural(new Set(sessions.map(root)).size, "root session")}`] }
        : {}),
    };
  }
}

export function views(page, cells, byFile) {
  const made = new Views(page, cells, byFile);
  for (const section of ["kinds", "errors", "traces", "calls", "streams", "audioLatencies",
                         "numbers", "texts"]) made[section]();
  return { charts: made.charts, tiles: made.tiles() };
}
