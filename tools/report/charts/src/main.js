// Draws the page's charts, and draws them again when the reader's window changes its width or turns
// from light to dark.
import embed from "vega-embed";

import { drawings } from "./drawings.js";
import { config, palettes } from "./theme.js";

// The page has all that is drawn; there is nothing to be loaded from anywhere.
const loader = {
  load: () => Promise.reject(new Error("nothing is loaded")),
  sanitize: () => Promise.reject(new Error("nothing is linked to")),
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

const charts = JSON.parse(document.getElementById("data").textContent);
let views = [];
let width;
let times = 0;

async function draw(place, chart) {
  const built = drawings[chart.kind](chart, palettes(), place.clientWidth);
  for (const spec of Array.isArray(built) ? built : [built]) {
    const view = place.appendChild(document.createElement("div"));
    const description = spec.title ? `${chart.title}: ${spec.title}` : chart.title;
    const whole = { ...spec, description, autosize: { type: "fit-x", contains: "padding" } };
    views.push(await embed(view, whole, { ...options, config: config() }));
  }
}

async function drawAll() {
  for (const view of views) view.finalize();
  views = [];
  width = innerWidth;
  for (const place of document.querySelectorAll("[data-chart]")) {
    const chart = charts[place.dataset.chart];
    place.replaceChildren();
    place.classList.toggle("multiple", chart.kind === "multiples");
    await draw(place, chart);
  }
  times += 1;
  document.documentElement.dataset.drawn = String(times);
}

// One after the other, so that two changes in a row do not mix.
let last = drawAll();
const drawAgain = () => { last = last.then(drawAll); };

matchMedia("(prefers-color-scheme: dark)").addEventListener("change", drawAgain);
let waiting;
addEventListener("resize", () => {
  clearTimeout(waiting);
  // Touch screens change the height with every turn of scrolling.
  if (innerWidth !== width) waiting = setTimeout(drawAgain, RESIZED);
});
