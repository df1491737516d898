// Tests of reports in a browser.
//
// Usage: node --test, with the environment variables
//   REPORT_COMMAND  the command that makes a report
//   BROWSER_DRIVER  the directory in which the browser's driver is installed
//   SCREENSHOTS     a directory for screenshots
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { createServer } from "node:http";
import { createRequire } from "node:module";
import { tmpdir } from "node:os";
import { join, resolve } from "node:path";
import { after, before, describe, test } from "node:test";
import { fileURLToPath, pathToFileURL } from "node:url";

import "./views.test.mjs";

const command = resolve(process.env.REPORT_COMMAND);
const screenshots = resolve(process.env.SCREENSHOTS);
const driver = createRequire(join(resolve(process.env.BROWSER_DRIVER), "package.json"));
const { chromium } = driver("playwright-core");
const makeEvents = fileURLToPath(new URL("../sample_events.py", import.meta.url));
const flags = ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
               "--disable-background-networking", "--disable-component-update", "--disable-sync"];
const HOSTILE = "</script><script>window.hurt = 1</script>";
const READABLE = 4.5; // the least contrast of small texts by accessibility guidelines

const directory = mkdtempSync(join(tmpdir(), "kiv-report-"));
const file = (name) => join(directory, name);
const hosts = [];
let browser;
let listener;

function report(name, ...events) {
  const page = file(`${name}.html`);
  execFileSync(command, ["-o", page, "--title", `About ${HOSTILE}`, ...events],
               { stdio: ["ignore", "ignore", "pipe"] });
  return pathToFileURL(page).href;
}

// Opens a page. `noted` collects everything that a page should not do.
async function open(url, { scheme = "light", width = 1280 } = {}) {
  const page = await browser.newPage();
  await page.setViewportSize({ width, height: 900 });
  await page.emulateMedia({ colorScheme: scheme });
  const noted = [];
  page.on("console", (message) => noted.push(`${message.type()}: ${message.text()}`));
  page.on("pageerror", (error) => noted.push(`error: ${error.message}`));
  page.on("dialog", (dialog) => noted.push(`dialog: ${dialog.message()}`));
  page.on("request", (request) => request.url() !== url && noted.push(`to ${request.url()}`));
  await page.goto(url);
  await page.waitForSelector("html[data-drawn]", { timeout: 30_000 });
  return { page, noted };
}

before(async () => {
  mkdirSync(screenshots, { recursive: true });
  execFileSync("python3", [makeEvents, file("busy.jsonl"), file("hostile.jsonl")]);
  writeFileSync(file("one.jsonl"), JSON.stringify({
    event: "wexo_kiv_error_code", start_time_since_epoch: 1, end_time_since_epoch: 2,
    aggregated_count: 3, aggregation_method: "COUNT", kiv_session_id: "a", kiv_class: "Mixer",
    kiv_api: "", kiv_error_code: "kiv.X", severity: 9,
  }));
  writeFileSync(file("large.jsonl"), Array.from({ length: 3 }, () => JSON.stringify({
    event: "wexo_kiv_error_code", start_time_since_epoch: 1, end_time_since_epoch: 2,
    aggregated_count: 83_466_828 + 2, aggregation_method: "COUNT", kiv_session_id: "a",
    kiv_class: "Mixer", kiv_api: "", kiv_error_code: "kiv.X", severity: 2,
  })).join("\n"));
  // A file for each process of the lab, as from three hosts.
  for (const line of readFileSync(file("busy.jsonl"), "utf8").trim().split("\n")) {
    const host = Number.parseInt(JSON.parse(line).kiv_session_id.slice(0, 8), 16);
    hosts[host] = (hosts[host] ?? "") + `${line}\n`;
  }
  hosts.forEach((lines, i) => writeFileSync(file(`host-${i}.jsonl`), lines));
  browser = await chromium.launchPersistentContext(file("profile"), {
    executablePath: "/usr/bin/chromium", headless: true, args: flags,
  });
  listener = createServer();
  await new Promise((listening) => listener.listen(0, "127.0.0.1", listening));
});

after(async () => {
  await browser?.close();
  listener?.close();
  rmSync(directory, { recursive: true });
});

const total = (list, of) => list.reduce((sum, each) => sum + of(each), 0);

// Changes something and waits for the charts to be drawn again.
async function redrawn(page, change) {
  const times = await page.evaluate(() => document.documentElement.dataset.drawn);
  await change();
  await page.waitForFunction((before) => document.documentElement.dataset.drawn !== before, times);
}

// The number of marks of each kind in each chart.
const seen = () => Object.fromEntries(
  [...document.querySelectorAll("[data-chart]")].map((chart) => [chart.dataset.chart, {
    rects: chart.querySelectorAll(".mark-rect.role-mark path").length,
    rules: chart.querySelectorAll(".mark-rule.role-mark line").length,
    lines: chart.querySelectorAll(".mark-line.role-mark path").length,
    symbols: chart.querySelectorAll(".mark-symbol.role-mark path:not([opacity='0'])").length,
    texts: chart.querySelectorAll(".mark-text.role-mark text").length,
  }]));

const none = { rects: 0, rules: 0, lines: 0, symbols: 0, texts: 0 };
const expected = {
  bars: (chart) => ({ ...none, rects: chart.rows.length, texts: chart.bars.length }),
  timeline: (chart) => ({ ...none, rects: chart.rows.length }),
  rates: (chart) => ({ ...none, rects: chart.rows.length, texts: chart.rows.length }),
  latencies: (chart) => ({ ...none, rules: chart.rows.length, symbols: chart.rows.length,
                           texts: chart.rows.length }),
  lines: (chart) => ({ ...none, lines: chart.parts.length, symbols: chart.rows.length }),
  multiples: (chart) => ({ ...none, lines: chart.parts.length, symbols: chart.rows.length }),
};

const dataOf = (page) => page.evaluate(() => window.drawn);

// Pairs of labels of one axis or legend that cover each other.
const overlaps = () => {
  const found = [];
  for (const group of document.querySelectorAll(".role-axis-label, .role-legend-label")) {
    const labels = [...group.querySelectorAll("text")]
      .filter((text) => text.textContent && text.getAttribute("opacity") !== "0")
      .map((text) => ({ text: text.textContent, box: text.getBoundingClientRect() }));
    for (const [i, a] of labels.entries()) {
      for (const b of labels.slice(i + 1)) {
        const apart = a.box.right <= b.box.left || b.box.right <= a.box.left ||
          a.box.bottom <= b.box.top + 1 || b.box.bottom <= a.box.top + 1;
        if (!apart) found.push(`${a.text} | ${b.text}`);
      }
    }
  }
  return found;
};

// All texts with their contrast to the background, the lowest first.
const contrasts = () => {
  const channels = (colour) => colour.match(/[\d.]+/g).slice(0, 3).map(Number);
  const luminance = (colour) => channels(colour)
    .map((c) => c / 255)
    .map((c) => (c <= 0.03928 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4))
    .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
  const behind = (element) => {
    for (let e = element; e; e = e.parentElement) {
      const colour = getComputedStyle(e).backgroundColor;
      if (!/^rgba\(.*, 0\)$/.test(colour)) return colour;
    }
    return "rgb(255, 255, 255)";
  };
  const list = [];
  const texts = "h1, h2, header p, nav a, label, button, dt, dd, figcaption, .note, " +
    "summary, td *, th, svg text";
  for (const element of document.querySelectorAll(texts)) {
    if (!element.textContent.trim() || !element.checkVisibility()) continue;
    const style = getComputedStyle(element);
    const [a, b] = [luminance(element.closest("svg") ? style.fill : style.color),
                    luminance(behind(element))];
    list.push({ text: element.textContent.slice(0, 40),
                contrast: (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05) });
  }
  return list.sort((a, b) => a.contrast - b.contrast);
};

describe("a report of a busy lab, with hostile texts", () => {
  let url;
  let page;
  let noted;
  before(async () => {
    url = report("busy", file("busy.jsonl"), file("hostile.jsonl"));
    ({ page, noted } = await open(url));
  });

  for (const scheme of ["light", "dark"]) {
    test(`can be read in ${scheme}`, async () => {
      const { page, noted } = await open(url, { scheme });
      await page.screenshot({ path: join(screenshots, `${scheme}.png`), fullPage: true });
      await page.evaluate(() => {
        for (const folded of document.querySelectorAll("details")) folded.open = true;
      });
      const all = await page.evaluate(contrasts);
      assert.ok(all.length > 500);
      assert.deepEqual(all.filter(({ contrast }) => contrast < READABLE), []);
      assert.deepEqual(noted, []);
    });
  }

  test("draws every datum of every chart", async () => {
    const data = await dataOf(page);
    assert.deepEqual(Object.keys(data).sort(), [
      "calls", "errors-by-api", "errors-by-class", "errors-by-code", "errors-by-file",
      "errors-over-time", "failure-rates", "kinds", "kinds-over-time",
      "latencies", "latencies-over-time", "numbers-over-time", "streams", "texts", "top-errors",
    ]);
    assert.deepEqual(await page.evaluate(seen), Object.fromEntries(
      Object.entries(data).map(([name, chart]) => [name, expected[chart.kind](chart)])));
  });

  test("draws bars as long as their numbers are large", async () => {
    const { kinds } = await dataOf(page);
    const widths = await page.evaluate(() => [
      ...document.querySelectorAll("[data-chart=kinds] .mark-rect.role-mark path"),
    ].map((bar) => bar.getBBox().width));
    const scale = total(widths, (each) => each) / total(kinds.rows, (row) => row.reports);
    assert.ok(scale > 0);
    for (const [i, row] of kinds.rows.entries()) {
      assert.ok(Math.abs(widths[i] - row.reports * scale) < 0.5, `${row.bar}: ${widths[i]}`);
    }
  });

  test("draws bars over time at their time and as high as their numbers", async () => {
    const chart = (await dataOf(page))["errors-over-time"];
    const boxes = await page.evaluate(() => [
      ...document.querySelectorAll("[data-chart=errors-over-time] .mark-rect.role-mark path"),
    ].map((bar) => { const { x, height } = bar.getBBox(); return { x, height }; }));
    const scale = total(boxes, (box) => box.height) / total(chart.rows, (row) => row.value);
    const rank = (row) => chart.parts.indexOf(row.part);
    const rows = [...chart.rows].sort((a, b) => a.start - b.start || rank(a) - rank(b));
    const perMs = (boxes.at(-1).x - boxes[0].x) / (rows.at(-1).start - rows[0].start);
    assert.ok(scale > 0 && perMs > 0);
    for (const [i, row] of rows.entries()) {
      assert.ok(Math.abs(boxes[i].height - row.value * scale) < 0.5);
      assert.ok(Math.abs(boxes[i].x - boxes[0].x - (row.start - rows[0].start) * perMs) < 0.5);
    }
  });

  test("has a table behind every chart", async () => {
    const counts = await page.evaluate(() => [...document.querySelectorAll("figure")].map(
      (figure) => ({
        name: figure.id,
        charts: figure.querySelectorAll("[data-chart]").length,
        folded: figure.querySelectorAll("details table").length,
        tables: figure.querySelectorAll("table").length,
        rows: figure.querySelectorAll("tbody tr").length,
      })));
    assert.ok(counts.length > 12);
    for (const { name, charts, folded, tables, rows } of counts) {
      assert.deepEqual({ name, folded, tables }, { name, folded: charts, tables: 1 });
      assert.ok(rows > 0);
    }
  });

  for (const width of [1600, 320, 420, 800, 1280]) {
    test(`has labels that do not overlap at a width of ${width} pixels`, async () => {
      await redrawn(page, () => page.setViewportSize({ width, height: 900 }));
      assert.deepEqual(await page.evaluate(overlaps), []);
      assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= innerWidth));
      const outside = await page.evaluate(() => [...document.querySelectorAll("svg text")]
        .filter((text) => text.textContent && text.getAttribute("opacity") !== "0")
        .filter((text) => {
          const figure = text.closest("figure").getBoundingClientRect();
          const box = text.getBoundingClientRect();
          return box.left < figure.left || box.right > figure.right;
        }).map((text) => text.textContent));
      assert.deepEqual(outside, []);
    });
  }

  test("shows reported texts as text only", async () => {
    const found = await page.evaluate(() => ({
      hurt: window.hurt,
      title: document.title,
      images: document.images.length,
      scripts: document.scripts.length,
      handlers: document.querySelectorAll("[onload], [onerror]").length,
      links: [...document.links].filter((link) => !link.hash).length,
    }));
    assert.deepEqual(found, { hurt: undefined, title: `About ${HOSTILE}`, images: 0, scripts: 2,
                              handlers: 0, links: 0 });
    const labels = await page.locator("[data-chart=errors-by-code] .role-axis-label text")
      .allTextContents();
    assert.ok(labels.includes(HOSTILE));
  });

  test("shows a hostile text in a tooltip as text", async () => {
    const data = (await dataOf(page))["errors-by-code"];
    const row = data.rows.findIndex(({ bar }) => bar === HOSTILE);
    await page.locator("[data-chart=errors-by-code] .mark-rect.role-mark path").nth(row).hover();
    await page.waitForSelector("#vg-tooltip-element.visible");
    const tip = await page.locator("#vg-tooltip-element").innerText();
    assert.ok(tip.includes(HOSTILE), tip);
    assert.equal(await page.evaluate(() => window.hurt), undefined);
  });

  test("follows a change between light and dark", async () => {
    const fill = () => page.locator("[data-chart=kinds] .mark-rect.role-mark path").first()
      .getAttribute("fill");
    const light = await fill();
    await redrawn(page, () => page.emulateMedia({ colorScheme: "dark" }));
    assert.notEqual(await fill(), light);
    await redrawn(page, () => page.emulateMedia({ colorScheme: "light" }));
    assert.equal(await fill(), light);
  });

  test("writes nothing to the console and requests nothing", () => {
    assert.deepEqual(noted, []);
  });

  test("has a policy that allows no other script and no requests", async () => {
    let asked = 0;
    listener.on("request", (request, response) => { asked += 1; response.end(); });
    const address = `http://127.0.0.1:${listener.address().port}`;
    const blocked = await page.evaluate(async (there) => {
      const violations = [];
      addEventListener("securitypolicyviolation",
                       (event) => violations.push(event.effectiveDirective));
      const script = document.createElement("script");
      script.textContent = "window.hurt = 1";
      document.body.append(script);
      document.body.append(Object.assign(new Image(), { src: `${there}/picture` }));
      const fetched = await fetch(`${there}/data`).then(() => true, () => false);
      await new Promise((later) => { setTimeout(later, 100); });
      return { fetched, hurt: window.hurt, violations: violations.sort() };
    }, address);
    assert.deepEqual(blocked, { fetched: false, hurt: undefined,
                                violations: ["connect-src", "img-src", "script-src-elem"] });
    assert.equal(asked, 0);
  });
});

test("a report of a single event has its charts", async () => {
  const { page, noted } = await open(report("one", file("one.jsonl")));
  const data = await dataOf(page);
  assert.deepEqual(await page.evaluate(seen), Object.fromEntries(
    Object.entries(data).map(([name, chart]) => [name, expected[chart.kind](chart)])));
  assert.deepEqual(noted, []);
});

test("numbers fit their tiles at every width", async () => {
  const { page } = await open(report("large", file("large.jsonl")));
  assert.equal(await page.locator("[data-tile=reports] dd").first().innerText(), "250,400,490");
  for (const number of [null, "9,223,372,036,854,775,807"]) {
    if (number) {
      await page.evaluate((text) => {
        for (const each of document.querySelectorAll(".tile dd:first-of-type")) {
          Object.assign(each, { textContent: text, className: "longest" });
        }
      }, number);
    }
    for (const width of [320, 360, 420, 600, 768, 800, 1024, 1280, 1600]) {
      await page.setViewportSize({ width, height: 900 });
      const cut = await page.evaluate(() => [...document.querySelectorAll(".tile dd")]
        .filter((each) => {
          const range = document.createRange();
          range.selectNodeContents(each);
          const text = range.getBoundingClientRect();
          const tile = each.parentElement.getBoundingClientRect();
          return text.right > tile.right || each.scrollWidth > each.clientWidth ||
            tile.right > innerWidth;
        }).map((each) => each.textContent));
      assert.deepEqual(cut, [], `${width} pixels wide`);
    }
  }
});

// Tables by the id of their figure, and the tiles, without those that no filter changes.
const shownNow = () => ({
  tables: Object.fromEntries([...document.querySelectorAll("figure")]
    .filter((figure) => !figure.hidden && figure.id !== "files")
    .map((figure) => [figure.id, [...figure.querySelectorAll("tbody tr")].map(
      (row) => [...row.cells].map((cell) => cell.textContent))])),
  rest: Object.fromEntries([...document.querySelectorAll("figure")]
    .filter((figure) => !figure.hidden)
    .map((figure) => [figure.id, figure.querySelector(".rest").textContent])),
  tiles: [...document.querySelectorAll(".tile")].map((tile) => tile.innerText),
  sections: [...document.querySelectorAll("nav a")].filter((link) => !link.hidden)
    .map((link) => link.textContent),
  drawn: window.drawn,
});

const filterBy = (page, name, value) =>
  redrawn(page, () => page.locator(`.filter [name=${name}]`).selectOption(value));

describe("a report of three hosts", () => {
  let page;
  let noted;
  const paths = [0, 1, 2].map((i) => file(`host-${i}.jsonl`));
  before(async () => { ({ page, noted } = await open(report("hosts", ...paths))); });

  for (const scheme of ["light", "dark"]) {
    test(`is shown in ${scheme}, divided by file`, async () => {
      const { page } = await open(pathToFileURL(file("hosts.html")).href, { scheme });
      await filterBy(page, "divide", "file");
      await page.screenshot({ path: join(screenshots, `hosts-${scheme}.png`), fullPage: true });
    });
  }

  // The command makes the tables of a page, and the script makes those of a selection.
  for (const host of [0, 1, 2]) {
    test(`filtered by file ${host} has the numbers of a report of that file`, async () => {
      const alone = await open(report(`host-${host}`, paths[host]));
      const expected = await alone.page.evaluate(shownNow);
      await filterBy(page, "file", String(host));
      const found = await page.evaluate(shownNow);
      assert.deepEqual(Object.keys(found.tables).length, 18);
      // The names of files differ, because a single file needs no directory.
      const names = (text) => JSON.parse(JSON.stringify(text).replaceAll(/host-\d[.]jsonl/g, "host"));
      assert.deepEqual(names(found), names(expected));
    });
  }

  test("filtered by a session has the numbers of that session", async () => {
    await filterBy(page, "file", "");
    const { tables } = await page.evaluate(shownNow);
    const session = await page.locator(".filter [name=session] option").nth(1).getAttribute("value");
    const host = Number.parseInt(session.slice(0, 8), 16);
    await filterBy(page, "session", session);
    const bySession = await page.evaluate(shownNow);
    await filterBy(page, "session", "");
    await filterBy(page, "file", String(host));
    assert.deepEqual(bySession, await page.evaluate(shownNow));
    assert.notDeepEqual(bySession.tables, tables);
  });

  test("filtered by class has the errors of that class only", async () => {
    await filterBy(page, "file", "");
    const all = await page.evaluate(shownNow);
    await filterBy(page, "class", "Mixer");
    const found = await page.evaluate(shownNow);
    assert.deepEqual(found.sections, ["Errors", "All reports", "Files that were read"]);
    assert.deepEqual(found.tables["top-errors"],
                     all.tables["top-errors"].filter((row) => row[2] === "Mixer"));
    assert.deepEqual(found.tables["errors-by-class"].map((row) => row[0]), ["Mixer", "Mixer"]);
    await filterBy(page, "class", "");
  });

  test("filtered by time has the reports of that time only", async () => {
    const all = await page.evaluate(shownNow);
    const at = (text) => Date.parse(`${text.replace(" ", "T")}Z`);
    const [from, to] = [at("2025-06-15 12:05:00"), at("2025-06-15 12:07:30")];
    await filterBy(page, "from", String(from));
    await filterBy(page, "to", String(to));
    const found = await page.evaluate(shownNow);
    const within = (row) => at(row[0]) >= from && at(row[1]) <= to;
    for (const name of ["errors-over-time", "latencies-over-time", "failure-rates-over-time"]) {
      assert.deepEqual(found.tables[name], all.tables[name].filter(within), name);
      assert.ok(found.tables[name].length > 4);
    }
    const sum = (rows, column) => total(rows, (row) => Number(row[column].replaceAll(",", "")));
    assert.equal(sum(found.tables["errors-by-file"], 2),
                 sum(found.tables["errors-over-time"], 3));
  });

  test("shows everything again, as it was", async () => {
    const fresh = await open(pathToFileURL(file("hosts.html")).href);
    await redrawn(page, () => page.locator(".filter button").click());
    assert.deepEqual(await page.evaluate(shownNow), await fresh.page.evaluate(shownNow));
  });

  test("divides every chart by file", async () => {
    const kinds = await dataOf(page);
    await filterBy(page, "divide", "file");
    const files = await dataOf(page);
    assert.deepEqual(Object.keys(files), Object.keys(kinds));
    const hostsIn = (text) => new Set(JSON.stringify(text).match(/host-\d/g)).size;
    const legends = new Set(["errors-over-time", "top-errors", "kinds", "streams", "calls"].map(
      (name) => JSON.stringify(files[name].parts)));
    assert.deepEqual(legends.size, 1, "A file has the same colour in all charts.");
    for (const [name, chart] of Object.entries(files)) {
      // The small charts of named numbers and the bars of APIs show the first few only.
      assert.ok(hostsIn(chart) === 3 || ["numbers-over-time"].includes(name), name);
      const measure = (each) => total(each.rows, (row) => row.reports ?? 0);
      assert.equal(measure(chart), measure(kinds[name]), name);
    }
    assert.deepEqual(await page.evaluate(seen), Object.fromEntries(
      Object.entries(files).map(([name, chart]) => [name, expected[chart.kind](chart)])));
    assert.deepEqual(await page.evaluate(overlaps), []);
    await filterBy(page, "divide", "");
  });

  test("writes nothing to the console and requests nothing", () => {
    assert.deepEqual(noted, []);
  });
});
