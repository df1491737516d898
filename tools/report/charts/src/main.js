// Draws the page's charts, and draws them again when the filter, the width of the window or the color
// scheme changes.
import embed from "vega-embed";

import { drawings } from "./drawings.js";
import { load, select } from "./facts.js";
import { makeFilter } from "./filter.js";
import { config, palettes } from "./theme.js";
import * as texts from "./texts.js";
import { views } from "./views.js";

// The page has all data; the charts load nothing.
const loader = {
  load: () => Promise.reject(new Error("charts load nothing")),
  sanitize: () => Promise.reject(new Error("charts have no links")),
};

const options = {
  actions: false,
  ast: true, // so that expressions need no eval, which the page's policy forbids
  defaultStyle: false,
  loader,
  renderer: "svg",
  tooltip: { disableDefaultStyle: true },
};

const RESIZED = 150; // milliseconds without a change of size
const EVERYTHING = { file: "", class: "", session: "", from: "", to: "", divide: "" };

const facts = load(JSON.parse(document.getElementById("data").textContent));
let filter = EVERYTHING;
let shown = [];
let width;
let times = 0;

async function draw(place, title, chart) {
  const built = drawings[chart.kind](chart, palettes(), place.clientWidth);
  for (const spec of Array.isArray(built) ? built : [built]) {
    const view = place.appendChild(document.createElement("div"));
    const description = spec.title ? `${title}: ${spec.title.text}` : title;
    const whole = { ...spec, description, autosize: { type: "fit-x", contains: "padding" } };
    shown.push(await embed(view, whole, { ...options, config: config() }));
  }
}

// The tables as the page came with them: they are exact, also for numbers beyond a script's.
const original = new Map([...document.querySelectorAll("figure")].map((figure) => [figure, {
  rows: [...figure.querySelectorAll("tbody tr")],
  rest: figure.querySelector(".rest")?.textContent ?? "",
}]));

function severityBadge(text) {
  const badge = document.createElement("span");
  badge.className = `badge ${text.toLowerCase().split(" ")[0]}`;
  badge.textContent = text;
  return badge;
}

function tableRow(headers, cells) {
  const row = document.createElement("tr");
  for (const [i, text] of cells.entries()) {
    const cell = row.insertCell();
    cell.className = headers[i].className;
    if (headers[i].dataset.form === "severity") {
      cell.append(severityBadge(text));
    } else {
      cell.appendChild(document.createElement("bdi")).textContent = text;
    }
  }
  return row;
}

const unfiltered = () => ["file", "class", "session", "from", "to"].every((name) => !filter[name]);

function fillTable(figure, chart) {
  const headers = [...figure.querySelectorAll("th")];
  const { rows, rest } = unfiltered() || !chart ? original.get(figure)
    : { rows: chart.rows.map((cells) => tableRow(headers, cells)), rest: chart.rest };
  figure.querySelector("tbody").replaceChildren(...rows);
  figure.querySelector(".rest").textContent = rest;
  const summary = figure.querySelector("summary");
  if (summary) summary.textContent = `Table: ${texts.plural(rows.length, "row")}`;
}

function fillTiles(tiles) {
  for (const tile of document.querySelectorAll("[data-tile]")) {
    const values = tiles[tile.dataset.tile];
    if (!values) continue;
    const [value, hint] = values;
    const number = tile.querySelector("dd");
    number.textContent = texts.count(value);
    number.className = number.textContent.length > 19 ? "longest"
      : number.textContent.length > 13 ? "long" : "value";
    tile.querySelector(".hint").textContent = hint;
    tile.className = `tile ${value ? tile.dataset.tone : ""}`.trim();
  }
}

// Hides figures without data, sections without figures, and the links to them.
function hideEmpty(figure, empty) {
  figure.hidden = empty;
  const section = figure.closest("section");
  section.hidden = [...section.querySelectorAll("figure")].every((each) => each.hidden);
  document.querySelector(`nav a[href="#${section.id}"]`).hidden = section.hidden;
}

async function drawAll() {
  for (const view of shown) view.finalize();
  shown = [];
  width = innerWidth;
  const { charts, tiles } = views(facts, select(facts, filter), filter.divide === "file");
  fillTiles(tiles);
  for (const figure of document.querySelectorAll("figure")) {
    const chart = charts[figure.id];
    const empty = Boolean(chart) && chart.rows.length === 0;
    hideEmpty(figure, empty);
    fillTable(figure, chart);
    const place = figure.querySelector("[data-chart]");
    place?.replaceChildren();
    if (!place || empty) continue;
    place.classList.toggle("multiple", chart.data.kind === "multiples");
    await draw(place, figure.querySelector("figcaption").textContent, chart.data);
  }
  // For tests.
  window.drawn = Object.fromEntries(Object.entries(charts).filter(([name, chart]) =>
    chart.data && chart.rows.length && document.querySelector(`[data-chart="${name}"]`))
    .map(([name, chart]) => [name, chart.data]));
  times += 1;
  document.documentElement.dataset.drawn = String(times);
}

// One after the other: two drawings at the same time would mix.
let last = facts.cells.length ? drawAll() : Promise.resolve();
const drawAgain = () => { last = last.then(drawAll); };

if (facts.cells.length) {
  makeFilter(facts, (changed) => {
    filter = changed;
    drawAgain();
  });
}
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", drawAgain);
let waiting;
addEventListener("resize", () => {
  clearTimeout(waiting);
  // Touch screens change the height whenever the reader scrolls back.
  if (innerWidth !== width) waiting = setTimeout(drawAgain, RESIZED);
});
