// Tests of the page's script without a browser.
import assert from "node:assert/strict";
import { describe, test } from "node:test";

import { group, load, select } from "../../../../tools/report/charts/src/facts.js";
import * as texts from "../../../../tools/report/charts/src/texts.js";
import { bars, views } from "../../../../tools/report/charts/src/views.js";

const NOTHING_CHOSEN = { file: "", class: "", session: "", from: "", to: "" };

// Bars of [bar, part, reports].
const barsOf = (counts, options = {}) => bars(
  counts.map(([bar, part, reports]) => ({ bar, part, reports, events: 1 })),
  { bar: (cell) => cell.bar, part: (cell) => cell.part, ...options });

const names = (number) => Array.from({ length: number }, (_, i) => `name ${String(i).padStart(2, "0")}`);

describe("bars", () => {
  test("beyond the twelfth become one", () => {
    const data = barsOf(names(40).map((name, i) => [name, "part", 100 - i]));
    assert.deepEqual(data.bars, [...names(12), "28 others"]);
    const rest = Array.from({ length: 28 }, (_, i) => 88 - i).reduce((a, b) => a + b);
    assert.deepEqual(data.rows.at(-1), { bar: "28 others", part: "part", reports: rest });
  });

  test("of which there are only thirteen are all shown", () => {
    assert.deepEqual(barsOf(names(13).map((name) => [name, "part", 1])).bars, names(13));
  });

  test("have one part for those beyond the sixth", () => {
    const data = barsOf(names(9).map((part, i) => ["bar", part, 100 - i]));
    assert.deepEqual(data.parts, [...names(6), "3 others"]);
    assert.equal(data.rows.at(-1).reports, 94 + 93 + 92);
    assert.equal(data.others, "3 others");
  });

  test("with names that look alike stay apart", () => {
    const long = "x".repeat(400);
    const data = barsOf([[`${long}1`, "", 2], [`${long}2`, "", 1]]);
    assert.equal(new Set(data.bars).size, 2);
    assert.deepEqual(data.rows.map((row) => row.reports), [2, 1]);
  });
});

describe("a selection", () => {
  const facts = load({
    files: ["a", "b"], sessions: ["r", "r.x", "rr.x"], width: 10, domain: [0, 100],
    kinds: { error: { title: "errors", keys: [[2, "kiv.X", "Mixer", "open"], [2, "kiv.X", "", ""]],
                      measures: ["reports", "events", "start", "end"],
                      cells: [[0, 0, 0, 0, 1, 1, 0, 5], [10, 0, 1, 0, 2, 1, 9, 15],
                              [20, 1, 2, 1, 4, 1, 19, 25]] } },
  });
  const reports = (filter) => select(facts, { ...NOTHING_CHOSEN, ...filter })
    .reduce((sum, cell) => sum + cell.reports, 0);

  test("includes all by default", () => assert.equal(reports({}), 7));
  test("is by file", () => assert.equal(reports({ file: "0" }), 3));
  test("is by class", () => assert.equal(reports({ class: "Mixer" }), 3));
  test("is by the beginning of bins", () => assert.equal(reports({ from: "10" }), 6));
  test("is by the end of bins", () => assert.equal(reports({ to: "10" }), 1));
  test("by a root session includes its children only", () => assert.equal(reports({ session: "r" }), 3));
  test("by a session includes itself only", () => assert.equal(reports({ session: "r.x" }), 2));
  test("keeps the first and last times of its cells", () => {
    const [{ sum }] = group(select(facts, { ...NOTHING_CHOSEN, class: "Mixer" }), () => []);
    assert.deepEqual([sum.start, sum.end, sum.reports], [0, 15, 3]);
  });
});

describe("charts of many files", () => {
  const cells = names(10).map((_, file) => [0, file, 0, 0, 100 - file, 1, 0, 5]);
  const facts = load({
    files: names(10), sessions: ["r"], width: 10, domain: [0, 100],
    kinds: { error: { title: "errors", keys: [[2, "kiv.X", "Mixer", "open"]],
                      measures: ["reports", "events", "start", "end"], cells } } });

  test("show those with the most reports, and the others as one", () => {
    const { charts } = views(facts, facts.cells, true);
    for (const name of ["errors-over-time", "errors-by-code", "kinds"]) {
      assert.deepEqual(charts[name].data.parts, [...names(6), "4 others"], name);
      assert.equal(charts[name].data.others, "4 others");
    }
    assert.equal(charts["errors-by-code"].data.rows.at(-1).reports, 94 + 93 + 92 + 91);
  });

  test("keep their parts under a filter", () => {
    const { charts } = views(facts, select(facts, { ...NOTHING_CHOSEN, file: "8" }), true);
    assert.deepEqual(charts["errors-by-code"].data.parts, [...names(6), "4 others"]);
    assert.deepEqual(charts["errors-by-code"].data.rows.map((row) => [row.part, row.reports]),
                     [["4 others", 92]]);
  });
});

describe("texts", () => {
  test("are escaped where they are invisible", () => {
    assert.equal(texts.display("a\u202eb\n\ud800 \u0007"), "a\\u202eb\\n\\ud800 \\x07");
    assert.equal(texts.display(""), "(empty)");
  });

  test("of durations have two units at most", () => {
    for (const [milliseconds, text] of [
      [0, "0 ms"], [25, "25 ms"], [1500, "1.5 s"], [60_000, "1 min"], [3_599_600, "1 h"],
      [12_000_000, "3 h 20 min"], [90_061_000, "1 d 1 h"]]) {
      assert.equal(texts.duration(milliseconds), text);
    }
  });
});
