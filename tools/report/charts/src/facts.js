// The cells of the page: numbers by time, file, session and key of a kind of event.

// The names of a key's parts, for each kind of event.
const PARTS = {
  error: ["severity", "code", "class", "api"],
  stream: ["event", "type", "format", "rate", "channels", "samples", "interleaved"],
  latency: [],
  trace: ["api"],
  call: ["api", "result", "failed"],
  number: ["name", "method"],
  text: ["name", "text"],
  other: ["event"],
};

const COLUMNS = ["start", "file", "session", "key"];

// Objects with the parts of their key, the numbers of `measures`, and start, file and session.
function cellsOf(kind, { keys, measures, cells, title }) {
  const names = PARTS[kind];
  return cells.map((row) => {
    const cell = { kind, title, bin: row[0], file: row[1], session: row[2], parts: keys[row[3]] };
    names.forEach((name, i) => { cell[name] = cell.parts[i]; });
    measures.forEach((name, i) => { cell[name] = row[COLUMNS.length + i]; });
    return cell;
  });
}

export function load(data) {
  const cells = Object.entries(data.kinds).flatMap(([kind, found]) => cellsOf(kind, found));
  return { ...data, cells };
}

const root = (session) => session.split(".", 1)[0];

// A filter's session may be a root, which then includes the sessions below it.
function sessionsOf(facts, chosen) {
  if (chosen === "" || !facts.sessions) return null;
  return new Set([...facts.sessions.keys()].filter(
    (i) => facts.sessions[i] === chosen || root(facts.sessions[i]) === chosen));
}

// `filter` has texts: `file` and `session` are numbers of files and names of sessions, `from` and
// `to` are times in milliseconds. An empty text includes all.
export function select(facts, filter) {
  const sessions = sessionsOf(facts, filter.session);
  return facts.cells.filter((cell) =>
    (filter.file === "" || cell.file === Number(filter.file)) &&
    (filter.class === "" || cell.class === filter.class) &&
    (filter.from === "" || cell.bin >= Number(filter.from)) &&
    (filter.to === "" || cell.bin < Number(filter.to)) &&
    (!sessions || sessions.has(cell.session)));
}

const least = (a, b) => (a === null || a === undefined ? b : b === null || b < a ? b : a);
const most = (a, b) => (a === null || a === undefined ? b : b === null || b < a ? a : b);

// Sums over cells.
export class Sum {
  constructor(cell) {
    Object.assign(this, { first: cell, reports: 0, events: 0, total: 0, weight: 0, notFinite: 0,
                          failed: 0, lowest: null, highest: null, start: null, end: null,
                          sessions: new Set(), files: new Set() });
  }

  add(cell) {
    this.reports += cell.reports;
    this.events += cell.events;
    this.total += cell.total ?? 0;
    this.weight += cell.weight ?? cell.reports;
    this.notFinite += cell.not_finite ?? 0;
    this.failed += cell.failed ? cell.reports : 0;
    for (const [name, choose] of [["lowest", least], ["start", least], ["highest", most],
                                  ["end", most]]) {
      if (cell[name] !== undefined && cell[name] !== null) {
        this[name] = choose(this[name], cell[name]);
      }
    }
    this.sessions.add(cell.session);
    this.files.add(cell.file);
  }

  get mean() { return this.weight ? this.total / this.weight : null; }

  get rate() { return this.reports ? this.failed / this.reports : null; }

  // The value of a named number.
  valueBy(method) {
    if (method === "AVG") return this.mean;
    if (method === "SUM" || method === "COUNT") return this.total;
    return { MAX: this.highest, MIN: this.lowest }[method] ?? null;
  }
}

// Sums for each group of cells. `keyOf` returns an array of texts, numbers and booleans.
export function group(cells, keyOf) {
  const groups = new Map();
  for (const cell of cells) {
    const key = keyOf(cell);
    const text = JSON.stringify(key);
    if (!groups.has(text)) groups.set(text, { key, sum: new Sum(cell) });
    groups.get(text).sum.add(cell);
  }
  return [...groups.values()];
}

export function compare(a, b) {
  if (!Array.isArray(a)) return a < b ? -1 : Number(a > b);
  for (let i = 0; i < a.length; i += 1) {
    const order = compare(a[i], b[i]);
    if (order) return order;
  }
  return 0;
}

// Sorted by what `orderOf` returns for each, ascending.
export const sortBy = (list, orderOf) => list.map((each) => ({ each, order: orderOf(each) }))
  .sort((a, b) => compare(a.order, b.order)).map(({ each }) => each);

export { root };
